#pragma once

#include "folder/RemoteListing.h"
#include "http/HttpSettings.h"
#include "staging/FetchPlan.h"

#include <QCoreApplication>

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <vector>

namespace zel {

class FolderStaging;
class HttpSession;
class Task;

/// One copy of a folder of a server into the cache, on the thread that calls run().
///
/// Lists the folder, fetches what is not staged yet, as many files at a time as the settings allow
/// for one server, lists again, and publishes by one rename, only if the folder is whole and still
/// the same: a copy is never a mixture of two states. A file whose answer tells another size, time
/// or ETag than the listing is a source that changed.
///
/// Sizes that the listing does not tell are asked of the server first, for the progress and for the
/// room on the volume.
///
/// What is staged stays after a failure and after a cancel, but for what is given back after a want
/// of space, so that the volume has room for the database of the cache. A later fetch of the same
/// state takes files that are whole as they are, and goes on within those that have begun.
class FolderRetrieval
{
    Q_DECLARE_TR_FUNCTIONS(zel::FolderRetrieval)

public:
    /// Asks the source for its listing. Called twice, on the thread of run(); ends soon after
    /// `isCanceled` turns true.
    using Lister = std::function<Result<RemoteListing>(const std::function<bool()> &isCanceled)>;

    /// The task shows the progress, in bytes of all files, and is asked whether it is canceled; it
    /// is borrowed.
    FolderRetrieval(Task *task, const FetchPlan &plan, Lister lister, const HttpSettings &settings);
    ~FolderRetrieval();

    /// The lister's failures; code 6 if the source changed or a file is not what was promised, 7
    /// for want of space, 20 if canceled, 1 for what a server refuses. Failures name the file.
    Error run();

private:
    struct Piece
    {
        const RemoteFile *file;
        qint64 begun; ///< bytes that are here of it
    };

    Error copy();
    Error collect();
    Error fetchAll(const std::vector<Piece> &pieces, std::optional<qint64> total);
    Error fetch(const Piece &piece, HttpSession &session, const std::function<bool()> &shallStop);
    Error checkUnchanged();
    Error sourceChanged() const;
    bool isCanceled() const;

    Task *const task;
    const FetchPlan plan;
    const Lister lister;
    const HttpSettings settings;
    std::map<QString, qint64> sizes; ///< of all files whose size is known, by path
    RemoteListing listing;
    std::unique_ptr<FolderStaging> staging; ///< borrows the listing
    std::atomic<qint64> done { 0 }; ///< bytes of all files that are here
};

} // namespace zel
