#pragma once

#include "StepLog.h"

#include <QString>

#include <map>
#include <memory>
#include <random>
#include <vector>

namespace zel::test {

/// What a disk keeps of the steps since the last syncs when the power is cut.
enum class Kept {
    Synced, ///< nothing but what was synced
    All, ///< everything, as after a kill
    Some, ///< a part by chance: of the bytes in any order and torn, of the names a first part
    Names, ///< all names and sizes; bytes that were not synced are zeros
    Small, ///< small files, all sizes, all names or most; of other bytes a part by chance
};

/// The folder of a cache on a disk whose power can be cut after any step.
///
/// Bytes are durable once their file was synced after they were written; a name, new or gone, once
/// one of the folders that it is in was. The sync of a whole file system makes all durable. A
/// rename is never half done, nor is an exchange. What is in a folder goes with the folder's name.
/// What was not synced may be on the disk in any mixture, but for names: these come in the order in
/// which they were made, as file systems with a journal keep them.
class DiskModel
{
public:
    /// What is in the folder now is on the disk for sure.
    explicit DiskModel(const QString &folder);
    ~DiskModel();

    void apply(const LoggedStep &step);

    /// Makes below `target` what a disk has after a cut now. What is there before goes.
    /// `isDatabase` tells of a path below the folder whether `database` rules it, not `data`.
    void writeTo(const QString &target, Kept data, Kept database, std::mt19937 &random) const;

private:
    struct Content;
    struct NameChange;
    using Names = std::map<QString, std::shared_ptr<Content>>;

    std::shared_ptr<Content> contentOf(const LoggedStep &step);
    QString relative(const QString &path) const;
    void takeOver(const QString &path);
    void change(NameChange change);
    void rename(const LoggedStep &step);
    void open(const LoggedStep &step);
    void writeBytes(const LoggedStep &step);
    void sync(const LoggedStep &step);
    void syncNames(const QString &folder, std::uint64_t covered);
    void syncAll(std::uint64_t covered);
    Names namesAfterCut(Kept kept, std::mt19937 &random) const;

    const QString folder;
    std::uint64_t stepsDone = 0;
    Names names; ///< as programs see them: every path below the folder
    std::vector<NameChange> changes; ///< all, in their order
    std::map<std::uint64_t, std::shared_ptr<Content>> byInode;
};

} // namespace zel::test
