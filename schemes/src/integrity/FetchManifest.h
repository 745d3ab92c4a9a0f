#pragma once

#include "integrity/ContentManifest.h"
#include "staging/FetchPlan.h"

#include <QElapsedTimer>
#include <QHash>

namespace zel {

/// What a fetch gets to know for the manifest of its resource, until that is published. One thread
/// at a time.
class FetchManifest
{
public:
    explicit FetchManifest(const FetchPlan &plan);

    /// The transfer begins, or begins anew, with so many bytes that were here already.
    void begin(qint64 doneBytes);
    /// So many bytes are here now.
    void advance(qint64 doneBytes) { here = doneBytes; }
    /// The sums of the blocks of a file, by its path below the resource's folder. A file without
    /// any gets them from the first verification.
    void setSums(const QByteArray &path, const QList<QByteArray> &sums);

    /// Drops the manifest of what is being replaced. Nothing happens if the plan names no place for
    /// manifests.
    Error removeFormer() const;
    /// Writes the manifest of what was put at its place under these names.
    Error write(const QList<QByteArray> &names) const;

private:
    ContentManifest head() const;

    const FetchPlan plan;
    QElapsedTimer time;
    qint64 before = 0; ///< bytes that this fetch found
    qint64 here = 0;
    QHash<QByteArray, QList<QByteArray>> sumsByPath;
};

} // namespace zel
