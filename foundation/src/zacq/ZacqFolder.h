#pragma once

#include "zacq/ZacqManifest.h"

namespace zel::zacq {

/// The folder form on the disk: where a container's parts lie, and whether they may be believed.
class ZacqFolder
{
    Q_DECLARE_TR_FUNCTIONS(zel::zacq::ZacqFolder)

public:
    /// The path is kept as it was given but absolute; every answer is spelled after it.
    explicit ZacqFolder(const QString &path);

    const QString &path() const { return folderPath; }
    QString manifestPath() const;
    /// Where a conversion builds the target.
    QString stagingPath() const;

    /// Whether a manifest is there; it may still be invalid. A link is none.
    bool hasManifest() const;
    Result<ZacqManifest> readManifest() const;
    Error writeManifest(const ZacqManifest &manifest) const;

    /// Where the pointer leads from here, followed or not. Empty if there are not that many folders
    /// around the container.
    QString targetPath(const ZacqManifest::Pointer &pointer) const;
    /// Whether the pointer leads to a target that names this very container as its owner, with no
    /// link on the way.
    bool ownsTarget(const ZacqManifest::Pointer &pointer) const;
    /// What a target of this pointer must say of its owner.
    ZacqManifest::Owner ownerOf(const ZacqManifest::Pointer &pointer) const;

    /// The sample's full path: in the target, in a target under construction, or in the container
    /// itself. Empty if it is in none of them.
    QString findSample(const ZacqManifest &manifest) const;
    /// The same, looked for in the target alone.
    QString findSampleInTarget(const ZacqManifest &manifest) const;
    QString findSampleInStaging(const ZacqManifest &manifest) const;
    QString findOwnSample(const ZacqManifest &manifest) const;

private:
    QString folderPath;
};

} // namespace zel::zacq
