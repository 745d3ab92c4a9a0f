#pragma once

#include "folder/RemoteListing.h"
#include "staging/StagedTree.h"
#include "staging/StagingArea.h"
#include "threads/Mutex.h"

#include <QCoreApplication>

#include <filesystem>
#include <memory>
#include <optional>

namespace zel {

/// How the files of one folder lie in its staging place: those that are whole under their own
/// names, those that have only begun beside the folder, so that no file there is ever in doubt.
///
/// Members that say so may be called on several threads at a time, each for another file.
class FolderStaging
{
    Q_DECLARE_TR_FUNCTIONS(zel::FolderStaging)

public:
    /// The place was opened for this state of the listing, which is borrowed for as long as the
    /// object lives.
    FolderStaging(std::unique_ptr<StagingArea> area, const RemoteListing &listing);

    StagingArea &area() { return *place; }

    /// Makes all folders, and drops files that are not as long as `sizes` says, as well as those of
    /// which it says nothing: nobody knows whether they are whole.
    Error prepare(const std::map<QString, qint64> &sizes);
    /// Bytes of a whole file; empty for one that is still to be fetched.
    std::optional<qint64> wholeSize(const QString &path) const;
    /// Bytes that are here of a file that has only begun.
    qint64 begunBytes(const QString &path) const;

    /// The part of a file that came in this state of it; what came in others is dropped. Without a
    /// state nothing is known to be of it. Any thread.
    Result<std::unique_ptr<StagedFile>> openPart(const QString &path, const QString &state) const;
    /// The part is the whole file. Any thread.
    Error finish(const RemoteFile &file, const QString &state, const QDateTime &modified,
                 const QList<QByteArray> &sums);

    /// Code 6, and nothing is staged any more, unless all files of the listing are here, each as
    /// long as it is to be, and nothing else.
    Error checkWhole();
    /// Brings the folder to the disk and to its place in the cache.
    Error publish();
    /// As the place does it. A file that became shorter is not whole any more.
    void giveRoomBack(const Error &reason);

private:
    Error sync();
    bool isWantedSize(const QString &path, qint64 size) const;
    bool isComplete() const;
    std::filesystem::path targetOf(const QString &path) const;
    std::filesystem::path partsDirectory() const;
    std::filesystem::path partOf(const QString &path, const QString &state) const;
    void dropOtherParts(const QString &path, const std::filesystem::path &kept) const;

    std::unique_ptr<StagingArea> place;
    const RemoteListing &listing;
    std::map<QString, qint64> wantedSizes; ///< from before the first byte on, where they are known
    StagedTree tree;
    /// Guards the sizes and the sums while files are being finished.
    Mutex mutex { "the sums of a staged folder" };
    std::map<QString, qint64> wholeSizes;
};

} // namespace zel
