#include "platform/TreeSurvey.h"

#include "platform/PosixFile.h"

#include <QFile>

#include <algorithm>

#include <dirent.h>
#include <fcntl.h>

namespace zel {

using namespace posix;

namespace {

class Surveyor
{
public:
    explicit Surveyor(const TreeSurvey::Question &question)
        : question(question)
    {
    }

    void enter(const FolderStream &folder, const QByteArray &path);

    TreeSurvey::Outcome outcome;

private:
    void ask(const FolderStream &folder, const posix::Entry &entry, const QByteArray &path);
    void measure(const FolderStream &folder, const posix::Entry &entry, TreeSurvey::Entry *sum);
    void measureFolder(const FolderStream &folder, TreeSurvey::Entry *sum);

    const TreeSurvey::Question &question;
};

void add(const struct stat &status, TreeSurvey::Entry *sum)
{
    // The change of the entry itself: no program can set it, and a rename counts.
    const qint64 changed = qint64(status.st_ctim.tv_sec) * 1000 + status.st_ctim.tv_nsec / 1000000;
    sum->newestChange = std::max(sum->newestChange, changed);
    sum->files += S_ISDIR(status.st_mode) ? 0 : 1;
    if (S_ISREG(status.st_mode))
        sum->bytes += status.st_size;
}

void Surveyor::enter(const FolderStream &folder, const QByteArray &path)
{
    std::vector<posix::Entry> entries;
    if (!folder.isOpen() || folder.readEntries(&entries) != 0) {
        outcome.unreadable.append(path);
        return;
    }
    for (const posix::Entry &entry : entries)
        ask(folder, entry, path.isEmpty() ? entry.name : joined(path, entry.name));
}

void Surveyor::ask(const FolderStream &folder, const posix::Entry &entry, const QByteArray &path)
{
    const bool isFolder = entry.type == DT_DIR;
    const TreeSurvey::Step step = question(path, isFolder);
    if (step == TreeSurvey::Step::Skip)
        return;
    if (step == TreeSurvey::Step::Enter && isFolder) {
        enter(FolderStream(openFolderAt(folder.get(), entry.name)), path);
        return;
    }
    TreeSurvey::Entry sum;
    sum.path = path;
    sum.isFolder = isFolder;
    measure(folder, entry, &sum);
    outcome.entries.append(sum);
}

void Surveyor::measure(const FolderStream &folder, const posix::Entry &entry,
                       TreeSurvey::Entry *sum)
{
    if (entry.type == DT_DIR) {
        measureFolder(FolderStream(openFolderAt(folder.get(), entry.name)), sum);
        return;
    }
    struct stat status;
    const int flags = AT_SYMLINK_NOFOLLOW;
    if (::fstatat(folder.get(), entry.name.constData(), &status, flags) == 0)
        add(status, sum);
}

void Surveyor::measureFolder(const FolderStream &folder, TreeSurvey::Entry *sum)
{
    struct stat status;
    std::vector<posix::Entry> entries;
    if (!folder.isOpen() || ::fstat(folder.get(), &status) != 0
        || folder.readEntries(&entries) != 0) {
        // One for all folders in it, which come one after the other.
        if (outcome.unreadable.isEmpty() || outcome.unreadable.constLast() != sum->path)
            outcome.unreadable.append(sum->path);
        return;
    }
    add(status, sum);
    for (const posix::Entry &entry : entries)
        measure(folder, entry, sum);
}

} // namespace

TreeSurvey::Outcome TreeSurvey::make(const QString &folder, const Question &question)
{
    Surveyor surveyor(question);
    const FolderStream opened(openAt(AT_FDCWD, QFile::encodeName(folder), O_RDONLY | O_DIRECTORY));
    surveyor.outcome.exists = opened.isOpen();
    if (opened.isOpen())
        surveyor.enter(opened, QByteArray());
    return surveyor.outcome;
}

} // namespace zel
