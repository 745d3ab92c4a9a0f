#pragma once

#include "errors/Result.h"
#include "zacq/ZacqMetadata.h"

#include <QCoreApplication>

#include <memory>
#include <optional>

namespace zel::zacq {

/// Whether a ZACQ container lies at the path, in whichever form. The content decides, not the name.
/// With `isThorough` its manifest must also be valid and its sample in place; without, the first
/// bytes of a file, or the presence of a manifest in a folder, are enough.
ZEL_RESOURCE_MANAGER_EXPORT bool isZacqFile(const QString &path, bool isThorough);

/// A container for one sample. It comes in two forms; docs/zacq.md describes both to the byte.
///
/// File form: one file of a magic number, a manifest and the sample's bytes.
/// Folder form: a folder with the manifest "zacq.json" and the sample as a file below it.
/// Sparse form: a folder form whose sample has moved to a second folder, the target,
/// "zacq/NAME.zacq" in one of the folders around the container. The container's manifest points to
/// the target and the target's manifest back to the container; only if both agree does one count
/// for the other.
///
/// A manifest is foreign data: a path in it that leads out of the container, by "..", from the root
/// or through a link, makes the container invalid. Nothing but the container itself and the target
/// that names it as its owner is ever changed or removed.
/// Failures: code 4 for a container that is damaged or none, code 5 for a format version of the
/// future, code 1 for what the disk refuses, 7 where it tells that it lacks room. One thread at a
/// time for each object; nothing guards the folders against a second process: hold the cache's
/// lock.
class ZEL_RESOURCE_MANAGER_EXPORT Zacq
{
    Q_DECLARE_TR_FUNCTIONS(zel::zacq::Zacq)

public:
    /// What may be done with an open container.
    enum class Mode {
        ReadOnly = 0, ///< all that there is: operations that change one take a path
    };
    /// The form of a container.
    enum class Type {
        Unknown = 0, ///< not opened
        File = 1, ///< one file
        Folder = 2, ///< the sparse form as well
    };

    /// Opens nothing yet.
    explicit Zacq(const QString &path);
    ~Zacq();
    Zacq(const Zacq &) = delete;
    Zacq &operator=(const Zacq &) = delete;

    /// Reads the manifest, not the sample. May be called again to see what has changed.
    Error open(Mode mode);

    // After a successful open():
    Type getType() const; ///< of the container that is open
    /// The sample file's full path, spelled after the container's path as it was given. Code 4 if
    /// the sample is not in place, code 21 for the file form, in which the sample is no file.
    Result<QString> sampleFilePath() const;
    /// As the manifest tells it; valid until the next open().
    const ZacqMetadata &metadata() const;
    /// Writes the sample to a new file, from whichever form.
    Error extractSample(const QString &target) const;
    /// Reads the whole sample and compares it with the recorded hash: code 4 if they differ.
    Error verifyContent() const;

    /// Turns the folder form at `source` into the sparse form: moves the folder around its sample
    /// to `target`, a folder "zacq/NAME.zacq" in one of the folders around the source and on its
    /// volume. Code 2 for another target; code 4 if the target belongs to another container.
    ///
    /// Renames only. If it is interrupted, at whatever point, the source still opens and names its
    /// sample, and a repeat takes up where it ended. The target appears as the last step and is
    /// then whole. A target that an earlier container at `source` has left behind is replaced. An
    /// object that is open on `source` sees the new sample path when the call returns.
    Error makeSparseZacqBlocking(const QString &source, const QString &target);

    /// Whether the container at the path is a sparse one by its manifest, which is all that
    /// remove() needs. With `isThorough` the target must also be there, name the container as its
    /// owner and hold the sample.
    static bool isSparseZacq(const QString &path, bool isThorough);

    /// The target of a sparse container, which lies beside the container and goes with it. Empty
    /// for every other one, for one that cannot be read, and if the target does not name the
    /// container as its owner or lies in it.
    static QString sparseTarget(const QString &path);

    /// Bytes of the folder form's manifest; 0 where there is none. A conversion lengthens that of
    /// the container and adds that of the target.
    static qint64 manifestSize(const QString &path);

    /// What a conversion has moved: the content of a folder, or the sample alone where that lay
    /// beside the manifest.
    struct MovedContent
    {
        QString from; ///< the folder, seen from the container; empty for the container itself
        QString to; ///< the full path of the folder that has it now
    };
    /// Of a container that has a sparseTarget().
    static std::optional<MovedContent> movedContent(const QString &path);

    /// Removes the container, of whichever form, and the target of a sparse one if it names this
    /// container as its owner. Code 2 if there is no container at the path, or a link to one:
    /// nothing is removed then. The target first moves into the container, and the container then
    /// away from its path in one step: an interrupted call leaves the whole of it there, or nothing
    /// but a ".leftover-..." beside it, which goes with the folder around both.
    static Error remove(const QString &path);

private:
    class Private;
    const std::unique_ptr<Private> d;
};

} // namespace zel::zacq
