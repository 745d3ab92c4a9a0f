#pragma once

#include "integrity/ContentCheck.h"
#include "integrity/ContentSum.h"
#include "share/ShareListing.h"
#include "staging/StagedTree.h"
#include "staging/StagingArea.h"
#include "staging/TransferProgress.h"

#include <QCoreApplication>

#include <memory>
#include <vector>

namespace zel {

class Task;

/// One copy of a file or folder of a share into the cache, on the thread that calls run().
///
/// Lists the source, copies what is not staged yet, lists again, and publishes only if nothing has
/// changed in between: a copy is never a mixture of two states. Bytes that are staged stay after a
/// failure and after a cancel, for the next fetch to go on from; only after a want of space some of
/// them go, so that the volume has room for the database of the cache.
class ShareRetrieval
{
    Q_DECLARE_TR_FUNCTIONS(zel::ShareRetrieval)

public:
    /// The task shows the progress and is asked whether it is canceled; it is borrowed.
    ShareRetrieval(Task *task, const FetchPlan &plan, const QString &source,
                   const ExpectedContent &expected);

    /// Code 6 if the source changed or is not what was expected, 7 for want of space, 20 if
    /// canceled. A success has a warning if links that lead out of the folder were left out.
    Error run();

private:
    Error copy();
    Error checkExpected(const ShareListing &listing) const;
    Error collect(const ShareListing &listing);
    qint64 stagedBytes(const ShareListing &listing) const;
    Error copyEntry(const ShareListing::Entry &entry);
    Error copyLink(const ShareListing::Entry &entry) const;
    Error copyFile(const ShareListing::Entry &entry);
    Error copyBytes(const ShareListing::Entry &entry, StagedFile &file, ContentCheck &check,
                    BlockSums &sums);
    Error finishFile(const ShareListing::Entry &entry, StagedFile &file,
                     const ContentCheck &check) const;
    Error makeRight(const ShareListing &listing);
    Error checkUnchanged(const ShareListing &listing);
    Error sourceChanged() const;

    std::filesystem::path sourceOf(const ShareListing::Entry &entry) const;
    std::filesystem::path targetOf(const ShareListing::Entry &entry) const;
    bool isCanceled() const;

    Task *const task;
    const FetchPlan plan;
    const std::filesystem::path source;
    const ExpectedContent expected;
    std::unique_ptr<StagingArea> area;
    std::unique_ptr<TransferProgress> progress;
    StagedTree tree;
    std::vector<char> buffer;
    qint64 doneBytes = 0;
    bool isSingleFile = false;
};

} // namespace zel
