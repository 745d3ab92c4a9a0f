#include "platform/TreeCopy.h"

#include "errors/Propagate.h"
#include "platform/FileCopy.h"
#include "platform/PosixFile.h"

#include <QFile>

#include <array>

#include <climits>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace zel {

using namespace posix;

namespace {

/// Whether a link's text keeps it inside the tree, `depth` levels below whose top it stands: no
/// root at its start and ".." only there, not more often than there are levels. Links that follow
/// this rule stay inside even if they lead through one another.
bool staysInside(const QByteArray &text, int depth)
{
    if (text.isEmpty() || text.startsWith('/'))
        return false;
    int levels = depth;
    bool isDescending = false;
    for (const QByteArray &part : text.split('/')) {
        if (part.isEmpty() || part == ".")
            continue;
        if (part != "..")
            isDescending = true;
        else if (isDescending || --levels < 0)
            return false;
    }
    return true;
}

bool isSameFile(const struct stat &left, const struct stat &right)
{
    return left.st_dev == right.st_dev && left.st_ino == right.st_ino;
}

/// Whether the folder is `other` or lies below it; climbs from it to the root. Links cannot deceive
/// this as they can deceive the text of paths.
bool isAtOrBelow(int folder, int other)
{
    struct stat wanted;
    struct stat here;
    if (::fstat(other, &wanted) != 0 || ::fstat(folder, &here) != 0)
        return false;
    Descriptor place;
    while (!isSameFile(here, wanted)) {
        Descriptor above
            = openAt(place.isOpen() ? place.get() : folder, "..", O_PATH | O_DIRECTORY);
        struct stat next;
        if (!above.isOpen() || ::fstat(above.get(), &next) != 0 || isSameFile(next, here))
            return false;
        here = next;
        place = std::move(above);
    }
    return true;
}

Error failure(const QByteArray &path, int error)
{
    return ZEL_ERROR(
        codeOf(error),
        TreeCopy::tr("Copying \"%1\" failed: %2").arg(shown(path), qt_error_string(error)));
}

/// One copy of a tree.
class Walk
{
public:
    /// Where the walk stands. Descriptors do the work, paths are for people.
    struct Place
    {
        const Descriptor &source;
        const Descriptor &target;
        QByteArray sourcePath;
        QByteArray targetPath;
        QByteArray relativePath; ///< empty at the top
        int depth = 0;
    };

    Walk(const TreeCopy::Options &options, const TreeCopy::Progress &progress)
        : options(options)
        , progress(progress)
    {
    }

    Error copyContent(const Place &place);
    void addWarningsTo(Error *error) const;

private:
    /// An entry under its old and its new name.
    struct Step
    {
        QByteArray name;
        QByteArray newName;
        QByteArray relativePath;
        QByteArray sourcePath;
        QByteArray targetPath;
    };

    Error copyEntry(const Place &place, const Entry &entry);
    Error makeStep(const Place &place, const QByteArray &name, Step *step) const;
    Error copyFolder(const Place &place, const Step &step);
    Error copyRegular(const Place &place, const Step &step);
    Error copyLink(const Place &place, const Step &step);
    void leaveOut(const Step &step, const QString &warning);
    bool report() const { return !progress || progress(copiedBytes); }

    const TreeCopy::Options &options;
    const TreeCopy::Progress &progress;
    qint64 copiedBytes = 0;
    QStringList warnings;
    qsizetype unnamedWarnings = 0;
};

Error Walk::copyContent(const Place &place)
{
    std::vector<Entry> entries;
    if (const int error = readEntries(place.source.get(), &entries))
        return ZEL_PASS(failure(place.sourcePath, error));
    Error error;
    for (const Entry &entry : entries)
        ZEL_TRY(error, copyEntry(place, entry));

    // Last of all, since every new entry has changed the time.
    if (const int failed = copyTimes(place.source.get(), place.target.get()))
        return ZEL_PASS(failure(place.targetPath, failed));
    return error;
}

Error Walk::copyEntry(const Place &place, const Entry &entry)
{
    if (!report())
        return ZEL_PASS(Error(ErrorCode::Canceled));
    Error error;
    Step step;
    ZEL_TRY(error, makeStep(place, entry.name, &step));
    if (options.accepts && !options.accepts(shown(step.relativePath))) {
        leaveOut(step, {});
        return error;
    }
    switch (entry.type) {
    case DT_REG:
        return ZEL_PASS(copyRegular(place, step));
    case DT_DIR:
        return options.isRecursive ? ZEL_PASS(copyFolder(place, step)) : error;
    case DT_LNK:
        return ZEL_PASS(copyLink(place, step));
    default:
        leaveOut(step, TreeCopy::tr("\"%1\" was left out: it is neither a file nor a folder."));
        return error;
    }
}

Error Walk::makeStep(const Place &place, const QByteArray &name, Step *step) const
{
    step->name = name;
    step->newName = name;
    step->relativePath = place.relativePath.isEmpty() ? name : joined(place.relativePath, name);
    step->sourcePath = joined(place.sourcePath, name);
    const QString newName = options.nameOf ? options.nameOf(shown(step->relativePath)) : QString();
    if (!newName.isEmpty())
        step->newName = QFile::encodeName(newName);
    if (step->newName.contains('/') || step->newName == "." || step->newName == "..") {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         TreeCopy::tr("\"%1\" is no name for a copy.").arg(newName));
    }
    step->targetPath = joined(place.targetPath, step->newName);
    return {};
}

Error Walk::copyFolder(const Place &place, const Step &step)
{
    const Descriptor source = openFolderAt(place.source.get(), step.name);
    struct stat status;
    if (!source.isOpen() || ::fstat(source.get(), &status) != 0)
        return ZEL_PASS(failure(step.sourcePath, errno));
    const mode_t mode = (status.st_mode & 0777) | S_IRWXU;
    const int made = ::mkdirat(place.target.get(), step.newName.constData(), mode);
    if (made != 0 && errno != EEXIST)
        return ZEL_PASS(failure(step.targetPath, errno));
    const Descriptor target = openFolderAt(place.target.get(), step.newName);
    if (!target.isOpen())
        return ZEL_PASS(failure(step.targetPath, errno));
    return ZEL_PASS(copyContent(
        { source, target, step.sourcePath, step.targetPath, step.relativePath, place.depth + 1 }));
}

Error Walk::copyRegular(const Place &place, const Step &step)
{
    const Descriptor source = openAt(place.source.get(), step.name, readFlags | O_NOFOLLOW);
    if (!source.isOpen())
        return ZEL_PASS(failure(step.sourcePath, errno));
    if (options.replacesFiles && ::unlinkat(place.target.get(), step.newName.constData(), 0) != 0
        && errno != ENOENT)
        return ZEL_PASS(failure(step.targetPath, errno));
    const auto advance = [this](qint64 bytes) {
        copiedBytes += bytes;
        return report();
    };
    // Not synced each: the whole tree is, at its end.
    const int error
        = copyToNewFile(source, place.target.get(), step.newName, FileCopySync::No, advance);
    if (error == ECANCELED)
        return ZEL_PASS(Error(ErrorCode::Canceled));
    if (error != 0)
        return ZEL_PASS(fileCopyFailure(step.sourcePath, step.targetPath, error));
    return {};
}

Error Walk::copyLink(const Place &place, const Step &step)
{
    std::array<char, PATH_MAX + 1> buffer;
    const ssize_t size
        = ::readlinkat(place.source.get(), step.name.constData(), buffer.data(), buffer.size());
    if (size < 0)
        return ZEL_PASS(failure(step.sourcePath, errno));
    const QByteArray text(buffer.data(), size);
    if (!staysInside(text, place.depth)) {
        leaveOut(step,
                 TreeCopy::tr("\"%1\" was left out: it is a link that leads out of the folder."));
        return {};
    }
    const char *newName = step.newName.constData();
    if (options.replacesFiles)
        ::unlinkat(place.target.get(), newName, 0); // what stays in the way fails the next call
    if (::symlinkat(text.constData(), place.target.get(), newName) != 0)
        return ZEL_PASS(failure(step.targetPath, errno));
    return {};
}

void Walk::leaveOut(const Step &step, const QString &warning)
{
    constexpr qsizetype mostWarnings = 20;
    if (options.skipped)
        options.skipped(shown(step.sourcePath));
    if (warning.isEmpty())
        return;
    if (warnings.size() < mostWarnings)
        warnings.append(warning.arg(shown(step.sourcePath)));
    else
        ++unnamedWarnings;
}

void Walk::addWarningsTo(Error *error) const
{
    error->addWarnings(warnings);
    if (unnamedWarnings > 0)
        error->addWarning(TreeCopy::tr("%1 more entries were left out.").arg(unnamedWarnings));
}

/// Opens the folder that is to take the copy, made if it is missing; then nothing has been written
/// yet. The source must not be around it.
Result<Descriptor> openTarget(const QByteArray &path, const Descriptor &source,
                              const QByteArray &sourcePath)
{
    struct stat status;
    if (::fstat(source.get(), &status) != 0)
        return ZEL_PASS(failure(sourcePath, errno));
    const bool isNew = ::mkdir(path.constData(), (status.st_mode & 0777) | S_IRWXU) == 0;
    if (!isNew && errno != EEXIST)
        return ZEL_PASS(failure(path, errno));
    Descriptor folder = openAt(AT_FDCWD, path, O_RDONLY | O_DIRECTORY);
    if (!folder.isOpen())
        return ZEL_PASS(failure(path, errno));
    if (!isAtOrBelow(folder.get(), source.get()))
        return folder;
    if (isNew)
        ::rmdir(path.constData());
    return ZEL_ERROR(ErrorCode::BadArgument,
                     TreeCopy::tr("\"%1\" cannot be copied into itself.").arg(shown(sourcePath)));
}

} // namespace

Error TreeCopy::copyTree(const QString &source, const QString &target, const Options &options,
                         const Progress &progress)
{
    const QByteArray sourcePath = QFile::encodeName(source);
    const QByteArray targetPath = QFile::encodeName(target);
    const Descriptor from = openAt(AT_FDCWD, sourcePath, O_RDONLY | O_DIRECTORY);
    if (!from.isOpen())
        return ZEL_PASS(failure(sourcePath, errno));
    // Open from the first byte on: it is told of every failure to bring one to the disk.
    ZEL_TRY_LET(const Descriptor to, openTarget(targetPath, from, sourcePath));

    Error error;
    Walk walk(options, progress);
    ZEL_TRY(error, walk.copyContent({ from, to, sourcePath, targetPath, {} }));
    // One wait for the whole tree: a wait for each file takes many times as long as the copy.
    if (::syncfs(to.get()) != 0)
        return ZEL_PASS(failure(targetPath, errno));
    walk.addWarningsTo(&error);
    return error;
}

} // namespace zel
