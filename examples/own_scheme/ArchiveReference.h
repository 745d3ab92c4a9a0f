#pragma once

#include "references/ResourceReference.h"

namespace archive {

/// The number of the scheme, one of those that are kept for programs like this one.
constexpr auto archiveScheme = zel::ResourceReference::Host1;

/// "archive:FOLDER/ID" names the run ID of the archive in FOLDER: archive:/mnt/lab/2026/0042
///
/// What the run's file is called, only the archive's index knows. A reference asks neither the disk
/// nor the network, so it holds no more than its text does.
class ArchiveReference : public zel::ResourceReference
{
public:
    static zel::Result<QSharedPointer<zel::ResourceReference>> parse(const QString &text);
    /// The reference to another run of the archive.
    static zel::Result<QSharedPointer<zel::ResourceReference>> inFolder(const QString &folder,
                                                                        const QString &id);

    ArchiveReference(const QString &folder, const QString &id);

    QString folder() const { return folder_; }
    QString id() const { return id_; }

    QString referenceText(bool forDisplay) const override;

private:
    const QString folder_;
    const QString id_;
};

} // namespace archive
