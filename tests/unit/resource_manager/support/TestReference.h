#pragma once

#include "references/ResourceReference.h"

namespace zel::test {

/// A reference "<prefix>:<name>", whose display form is "the resource <name>". One whose name
/// starts with "known" can tell its path.
class TestReference : public ResourceReference
{
public:
    TestReference(Scheme scheme, const QString &prefix, const QString &name);

    QString name() const { return name_; }

    /// How often a key form was made, of whatever reference.
    static int keyFormsMade();

    QString referenceText(bool forDisplay) const override;
    std::optional<QString> referencePath() const override;
    std::optional<QString> referenceFullPath() const override;

private:
    QString prefix;
    QString name_;
};

/// Schemes of tests: "test" is Host1, "other" is Host2, and "near" stands for scheme File.
void registerTestSchemes(const QVersionNumber &version = QVersionNumber(1, 0));

/// The reference "test:<name>", or that of another prefix; the schemes must be registered.
QSharedPointer<ResourceReference> testReference(const QString &name,
                                                const QString &prefix = QStringLiteral("test"));

} // namespace zel::test
