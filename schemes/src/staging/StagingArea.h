#pragma once

#include "errors/Result.h"
#include "integrity/FetchManifest.h"
#include "platform/FileLock.h"
#include "staging/FetchPlan.h"
#include "staging/StagedFile.h"
#include "staging/StagingRecord.h"

#include <QCoreApplication>
#include <QString>

#include <filesystem>
#include <memory>
#include <optional>
#include <vector>

namespace zel {

/// The place where the bytes of one resource are collected until it is whole: a folder of its own
/// beside the cache's data directory, told by the reference and by the state of its source.
///
/// A fetch that finds what an earlier one of the same state has left goes on from there. The place
/// is locked for as long as the object lives, so that no two programs ever write to the same one:
/// one that finds it locked, by a program that was taken for dead, say, gets another one.
/// One thread at a time. None of the members may be called while the cache's semaphore is held.
class StagingArea
{
    Q_DECLARE_TR_FUNCTIONS(zel::StagingArea)

public:
    /// Opens the place and locks it. `validator` tells one state of the source from the next (an
    /// ETag, size and modification time); an empty one means that nothing does: the place is empty
    /// then. What other states of the resource have left is removed.
    static Result<std::unique_ptr<StagingArea>> open(const FetchPlan &plan,
                                                     const QString &validator);
    ~StagingArea();
    StagingArea(const StagingArea &) = delete;
    StagingArea &operator=(const StagingArea &) = delete;

    /// The folder that the resource and what comes along with it are collected in.
    std::filesystem::path contentDirectory() const;
    /// The resource itself in there, under the name that it has at the expected path.
    std::filesystem::path mainPath() const;
    /// The file that the resource becomes, with what it holds already.
    Result<std::unique_ptr<StagedFile>> openMainFile();

    /// Code 7 if the volume has no room for `bytes` more and for the cache's database, which lies
    /// there too; call it before the first byte. A volume that does not tell is large enough.
    Error requireSpace(qint64 bytes) const;

    /// Drops what was collected. Nobody goes on from what stays in spite of it.
    Error clear();

    /// Hands the outcome of a sync of all that was collected on. After a failure it is dropped:
    /// which bytes did not arrive nobody knows, files have their length without them, and the next
    /// sync would not tell again.
    Error keepIfSynced(const Error &synced);

    /// Call it when the fetch has ended: if for want of space, gives the last bytes back, as many
    /// as are needed to write down how it ended. Without that the database stays as it is, and no
    /// program can open the cache before somebody has made room. A volume may tell only when its
    /// bytes are waited for that there was no room for them. No file of the place may be open.
    /// True if bytes went.
    bool giveRoomBack(const Error &reason);

    /// Puts everything at its place in the cache and removes the staging place. All has been synced
    /// before (StagedFile::sync()). Others see nothing there or the whole, never a part of it.
    ///
    /// If the resource has become Ready meanwhile, what was collected here is dropped: another
    /// program was first, which is a success. Anything else that lies there is replaced.
    ///
    /// The manifest of the resource is written last. Nobody waits for one, so its failure is none
    /// of the fetch.
    Error publish();

    /// What is told to those who verify the resource later.
    FetchManifest &manifest() { return fetchManifest; }

    /// What is told to those who look.
    StagingRecord &record() { return currentRecord; }
    /// Writes the record; a failure is logged only, since the fetch does not need it. Waits for the
    /// disk if fewer bytes are durable than were before: the record of that time must not come
    /// back in a power cut, to vouch for bytes that came in the place of those.
    void saveRecord();
    /// No more than the first `bytes` bytes count as durable from now on. Call it before those
    /// behind them go.
    void trustAtMost(qint64 bytes);

private:
    StagingArea(const FetchPlan &plan, const QString &validator, const QString &folder,
                FileLock lock);

    static Result<std::unique_ptr<StagingArea>> openFree(const FetchPlan &plan,
                                                         const QString &validator,
                                                         const QString &name);
    Error prepare();
    Error goOnFrom(const StagingRecord &former);
    Error distrustAfterReboot(const StagingRecord &former);
    void removeOtherStates() const;
    Error clearContent() const;
    qint64 mainFileBytes() const;
    void replaceRecordDurably();
    bool isReadyAlready() const;
    Result<std::vector<std::filesystem::path>> stagedPaths() const;
    Error placeAll();
    Error place(const std::filesystem::path &staged, const std::filesystem::path &target);
    void distrust();

    FetchPlan plan;
    QString folder;
    FileLock lock;
    StagingRecord currentRecord;
    qint64 vouchedBytes = 0; ///< the most durable ones that a record on the disk may tell of
    FetchManifest fetchManifest;
    bool isRemoved = false;
};

} // namespace zel
