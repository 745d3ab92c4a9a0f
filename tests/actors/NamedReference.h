#pragma once

#include "errors/Result.h"
#include "references/ResourceReference.h"

#include <QSharedPointer>

namespace zel::test {

/// A reference of a scheme of the tests: "PREFIX:NAME", whose path is the name.
class NamedReference : public ResourceReference
{
public:
    /// Takes only texts that begin with `prefix`, its colon included, and have a name behind it.
    static Result<QSharedPointer<ResourceReference>> parse(Scheme scheme, QLatin1String prefix,
                                                           const QString &text);

    NamedReference(Scheme scheme, QLatin1String prefix, const QString &name)
        : ResourceReference(scheme)
        , prefix(prefix)
        , name(name)
    {
    }

    QString referenceText(bool) const override { return prefix + name; }
    std::optional<QString> referencePath() const override { return name; }

private:
    QLatin1String prefix;
    QString name;
};

} // namespace zel::test
