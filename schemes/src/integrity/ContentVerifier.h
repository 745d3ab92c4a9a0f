#pragma once

#include "integrity/ContentManifest.h"
#include "platform/NativeFile.h"

#include <filesystem>
#include <functional>
#include <optional>

namespace zel {

/// Compares what lies in the cache with its manifest: first names and sizes, which is cheap, then
/// the bytes. Changes nothing but the manifest that it holds. One thread at a time.
///
/// What the cache has moved out of a container with too long paths is looked for where it is now;
/// the container's own manifest, which that has rewritten, is not compared.
class ZEL_RESOURCE_SCHEMES_EXPORT ContentVerifier
{
    Q_DECLARE_TR_FUNCTIONS(zel::ContentVerifier)

public:
    /// What is wrong with a file.
    enum class Kind {
        Changed, ///< other bytes, or more of them
        Truncated, ///< fewer bytes
        Missing, ///< it is not there, or is something else than a file
        Unreadable, ///< the system refuses it
        Extra, ///< in the resource's folder, but not of the fetch; no damage
    };

    /// One file that is not as the manifest says.
    struct Finding
    {
        Kind kind = Kind::Changed; ///< what is wrong
        QByteArray path; ///< below the folder that the resource is in
        qint64 expectedSize = 0; ///< bytes, by the manifest
        qint64 foundSize = 0; ///< bytes, on the disk
        /// Of a change of bytes alone: where the first block that differs begins; else negative.
        qint64 offset = -1;
        QString reason; ///< of the unreadable: what the system says
    };

    /// Called after each piece with its length; false cuts the reading short.
    using GoesOn = std::function<bool(qint64 bytes)>;

    /// `folder` is the one that the resource is in.
    ContentVerifier(const ContentManifest &manifest, const QString &folder);

    /// Looks at names, types, sizes and times. Before anything else.
    void compare();
    /// Whether some file of the same size has another time than it had.
    bool hasOtherTimes() const;
    /// Whether the folder was made after the fetch and no file in it has size and time of the
    /// manifest: it holds something else then, which the manifest knows nothing of.
    bool isOfSomethingElse() const;
    /// How many bytes read() would read; those of one cut short before go on from there.
    qint64 bytesToRead(bool goesOnFromBefore) const;
    /// Reads what compare() found to be of the right size. Sums that are not known yet are taken
    /// down and marked, whatever the file's time: what has no sum cannot be said to have changed.
    /// False: it was cut short, and the manifest tells where.
    bool read(bool goesOnFromBefore, const GoesOn &goesOn);

    /// All of this run and, of files that were not read in this one, what is known to be changed.
    QList<Finding> findings() const;
    /// What to store afterwards.
    const ContentManifest &manifest() const { return current; }

private:
    struct Due
    {
        qsizetype index = 0; ///< of the file in the manifest
        qint64 modified = 0; ///< as it is now
    };
    enum class End { Done, CutShort };

    /// Files that lie elsewhere than their paths say.
    struct Moved
    {
        QByteArray from; ///< what their paths begin with, up to the last slash
        std::filesystem::path to; ///< the folder that has what follows
        QByteArray rewritten; ///< the path of a file that is not as it came
    };

    QList<QByteArray> topNames() const;
    void findMoved(const QString &folder);
    Error listMoved(QList<ContentManifest::File> &files) const;
    std::filesystem::path placeOf(const QByteArray &path) const;
    void compareFile(qsizetype index, const ContentManifest::File *found);
    qint64 readBefore(const ContentManifest::File &file) const;
    void forgetProgress();
    End readFile(const Due &due, const GoesOn &goesOn);
    End readBlocks(const Due &due, NativeFile &file, const GoesOn &goesOn);
    static Result<bool> readBlock(NativeFile &file, qint64 offset, qint64 length, QByteArray &sum,
                                  const GoesOn &goesOn);
    void checkBlock(ContentManifest::File &file, qint64 block, const QByteArray &sum);
    void note(Kind kind, const ContentManifest::File &file, qint64 foundSize, qint64 offset = -1,
              const QString &reason = {});

    ContentManifest current;
    std::filesystem::path folder;
    std::optional<Moved> moved;
    QList<Due> due;
    QList<Finding> found;
};

} // namespace zel
