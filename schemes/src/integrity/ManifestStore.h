#pragma once

#include "integrity/ContentManifest.h"

#include <QMap>

namespace zel {

/// The manifests of a cache: a file for each resource in the folder "Manifests" beside the cache's
/// data, its name told by the resource's key. The database knows nothing of them.
///
/// A file is always whole: it is written beside its place, brought to the disk and renamed. The new
/// name is not waited for, so that the newest ones may be missing after a power cut. Those who put
/// one into its place or remove it take turns, so that nobody replaces what he has not seen; who
/// finds the others stuck does not wait for them. What is read is not trusted: whoever may write to
/// the cache may have written it. A value; any thread.
class ZEL_RESOURCE_SCHEMES_EXPORT ManifestStore
{
    Q_DECLARE_TR_FUNCTIONS(zel::ManifestStore)

public:
    /// More than this is not read; a folder of a hundred thousand files takes a fifth of it.
    static constexpr qint64 mostBytes = 128ll * 1024 * 1024;

    /// Touches nothing yet.
    static ManifestStore forCache(const QString &cacheDataDirectory);
    explicit ManifestStore(const QString &directory); ///< the folder itself

    /// Of the manifests; need not exist.
    const QString &directory() const { return folder; }
    /// Where the manifest of this resource is or would be.
    QString pathFor(const QString &referenceKey) const;

    /// No value if there is none. Code 1 if it cannot be read, 4 if it is too big, is no manifest,
    /// or is that of another resource.
    Result<std::optional<ContentManifest>> read(const QString &referenceKey) const;
    /// Replaces the one of the same resource. Makes the folder.
    Error write(const ContentManifest &manifest) const;
    /// The same, but only while the stored one is still of this fetch. False: it is not, and
    /// nothing was done.
    Result<bool> writeIfSameFetch(const ContentManifest &manifest) const;
    /// A success also if there is none.
    Error remove(const QString &referenceKey) const;
    /// Only while the stored one is still of this fetch. False: it is not, and nothing was done.
    Result<bool> removeIfSameFetch(const ContentManifest &manifest) const;
    /// Only while it was written before that moment. False: it was not, or it is gone.
    Result<bool> removeIfOlder(const QString &path, const QDateTime &moment) const;

    /// The paths of all files of manifests, in no order.
    QStringList paths() const;
    /// Why each file that has the name of a manifest is none or cannot be read, by its path. Reads
    /// all of them, and waits for none.
    QMap<QString, Error> failures() const;
    /// Removes what killed programs have left half written, if it is a day old.
    void removeRemains() const;
    /// Up to which resource names and sizes were last compared; empty if that is not known.
    QString comparedLast() const;
    /// Writes that down. Code 1 if it cannot be written.
    Error setComparedLast(const QString &referenceKey) const;
    /// As read(), of whatever resource; its key must fit the file's name.
    Result<ContentManifest> readPath(const QString &path) const;

private:
    static Error removeNow(const QString &path);
    Result<bool> isSameFetch(const ContentManifest &manifest) const;

    QString folder;
};

} // namespace zel
