#include "DiskModel.h"

#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <linux/fs.h>
#include <sys/stat.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using Kind = FileStep::Kind;

namespace {

constexpr qsizetype sectorSize = 512;
constexpr qsizetype mostBytesOfSmall = 4 * 1024;

/// Part of a file that was written, or its new size.
struct Written
{
    std::uint64_t step = 0;
    qsizetype offset = 0;
    QByteArray bytes = {};
    bool isResize = false;
};

void resize(QByteArray &content, qsizetype size)
{
    const qsizetype before = content.size();
    content.resize(size);
    if (size > before)
        std::fill(content.begin() + before, content.end(), '\0');
}

void put(QByteArray &content, const Written &written)
{
    if (written.isResize)
        return resize(content, written.offset);
    if (content.size() < written.offset + written.bytes.size())
        resize(content, written.offset + written.bytes.size());
    std::copy(written.bytes.begin(), written.bytes.end(), content.begin() + written.offset);
}

Written zeroed(Written written)
{
    written.bytes.fill('\0');
    return written;
}

/// The part of a write that came through: whole sectors from its beginning.
Written torn(Written written, std::mt19937 &random)
{
    const qsizetype sectors = written.bytes.size() / sectorSize + 1;
    written.bytes.truncate(qsizetype(random() % quint32(sectors)) * sectorSize);
    return written;
}

bool byChance(std::mt19937 &random)
{
    return random() % 2 == 0;
}

/// How many of the changes came through if those of the last moment may be lacking.
size_t mostOf(size_t changes, std::mt19937 &random)
{
    constexpr size_t latest = 8;
    return byChance(random) ? changes : changes - random() % std::min(latest, changes + 1);
}

/// SQLite recovers from all that disks do; the rest is ours to keep.
bool isDatabase(const QString &path)
{
    return path.contains(u".db"_s) || path.contains(u".sqlite"_s);
}

} // namespace

/// A file or folder under whatever name.
struct DiskModel::Content
{
    bool isFolder = false;
    QByteArray synced;
    std::vector<Written> written; ///< since the sync

    bool isSmall() const
    {
        qsizetype size = synced.size();
        for (const Written &part : written)
            size = std::max(size, part.offset + part.bytes.size());
        return size <= mostBytesOfSmall;
    }

    QByteArray afterCut(Kept kept, std::mt19937 &random) const
    {
        QByteArray content = synced;
        const bool isWhole = kept == Kept::All || (kept == Kept::Small && isSmall());
        for (const Written &part : written) {
            if (isWhole)
                put(content, part);
            else if (kept == Kept::Names)
                put(content, zeroed(part));
            else if (kept == Kept::Small)
                put(content, byChance(random) ? part : zeroed(part));
            else if (kept == Kept::Some && byChance(random))
                put(content, byChance(random) ? part : torn(part, random));
        }
        return content;
    }

    void sync(std::uint64_t covered)
    {
        while (!written.empty() && written.front().step < covered) {
            put(synced, written.front());
            written.erase(written.begin());
        }
    }
};

/// A name comes, goes, or both at once; or two change places.
struct DiskModel::NameChange
{
    QString gone = {};
    QString come = {};
    std::shared_ptr<Content> content = {}; ///< of `come`
    std::shared_ptr<Content> exchanged = {}; ///< of `gone`, if they change places
    std::uint64_t step = 0;
    bool isDurable = false;

    void applyTo(Names &names) const
    {
        if (gone.isEmpty()) {
            names[come] = content;
            return;
        }
        if (come.isEmpty()) {
            names.erase(gone);
            return;
        }
        Names arriving = taken(names, gone, come);
        arriving[come] = content;
        Names leaving = taken(names, come, gone); // or replaced by what arrives
        if (exchanged) {
            leaving[gone] = exchanged;
            arriving.merge(leaving);
        }
        for (auto &[path, moved] : arriving)
            names[path] = moved;
    }

    bool isIn(const QString &folder) const
    {
        const auto parentOf = [](const QString &path) {
            return path.contains(u'/') ? path.left(path.lastIndexOf(u'/')) : u""_s;
        };
        return (!gone.isEmpty() && parentOf(gone) == folder)
            || (!come.isEmpty() && parentOf(come) == folder);
    }

private:
    /// Takes a name out, with all that is in it if it is a folder, and gives it a new one.
    static Names taken(Names &names, const QString &from, const QString &to)
    {
        const QString inside = from + u'/';
        Names moved;
        for (auto name = names.begin(); name != names.end();) {
            const bool isMoved = name->first == from || name->first.startsWith(inside);
            if (isMoved)
                moved[to + name->first.mid(from.size())] = name->second;
            name = isMoved ? names.erase(name) : std::next(name);
        }
        return moved;
    }
};

DiskModel::DiskModel(const QString &folder)
    : folder(folder)
{
    QDirIterator all(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
    while (all.hasNext())
        takeOver(all.next());
}

DiskModel::~DiskModel() = default;

void DiskModel::apply(const LoggedStep &step)
{
    const QString path = relative(step.path);
    switch (step.kind()) {
    case Kind::Open:
        open(step);
        break;
    case Kind::Write:
    case Kind::Copy:
    case Kind::Resize:
        writeBytes(step);
        break;
    case Kind::Sync:
        sync(step);
        break;
    case Kind::SyncFileSystem:
        syncAll(step.head.coveredSteps);
        break;
    case Kind::Rename:
        rename(step);
        break;
    case Kind::MakeFolder: {
        if (path.isEmpty())
            break; // the folder itself
        auto folder = std::make_shared<Content>();
        folder->isFolder = true;
        change({ .come = path, .content = folder });
        break;
    }
    case Kind::Unlink:
    case Kind::RemoveFolder:
        change({ .gone = path });
        break;
    default:
        FAIL() << "a step that the model does not know: " << step.head.kind;
    }
    ++stepsDone;
}

QString DiskModel::relative(const QString &path) const
{
    return path.mid(folder.size() + 1);
}

void DiskModel::takeOver(const QString &path)
{
    struct stat info = {};
    ASSERT_EQ(::lstat(QFile::encodeName(path).constData(), &info), 0) << path.toStdString();
    auto content = std::make_shared<Content>();
    content->isFolder = S_ISDIR(info.st_mode);
    if (!content->isFolder)
        content->synced = readFile(path);
    byInode[info.st_ino] = content;
    change({ .come = relative(path), .content = content, .isDurable = true });
}

void DiskModel::change(NameChange change)
{
    change.step = stepsDone;
    change.applyTo(names);
    changes.push_back(std::move(change));
}

std::shared_ptr<DiskModel::Content> DiskModel::contentOf(const LoggedStep &step)
{
    // The number of a file that is gone is soon that of another, so the name is asked first.
    const auto named = names.find(relative(step.path));
    if (named != names.end())
        return named->second;
    const auto known = byInode.find(step.head.inode);
    return known == byInode.end() ? nullptr : known->second;
}

void DiskModel::rename(const LoggedStep &step)
{
    const QString from = relative(step.path);
    const QString to = relative(step.newPath);
    const bool isExchange = (step.head.flags & RENAME_EXCHANGE) != 0;
    ASSERT_TRUE(names.contains(from)) << from.toStdString();
    change({ .gone = from,
             .come = to,
             .content = names[from],
             .exchanged = isExchange ? names[to] : nullptr });
}

void DiskModel::open(const LoggedStep &step)
{
    const QString path = relative(step.path);
    if (!names.contains(path))
        change({ .come = path, .content = std::make_shared<Content>() });
    byInode[step.head.inode] = names[path];
    if ((step.head.flags & O_TRUNC) != 0)
        names[path]->written.push_back({ .step = stepsDone, .offset = 0, .isResize = true });
}

void DiskModel::writeBytes(const LoggedStep &step)
{
    const auto content = contentOf(step);
    ASSERT_TRUE(content) << step.path.toStdString();
    content->written.push_back({ .step = stepsDone,
                                 .offset = qsizetype(step.head.offset),
                                 .bytes = step.bytes,
                                 .isResize = step.kind() == Kind::Resize });
}

void DiskModel::sync(const LoggedStep &step)
{
    if (step.path == folder)
        return syncNames({}, step.head.coveredSteps);
    const auto content = contentOf(step);
    ASSERT_TRUE(content) << step.path.toStdString();
    if (content->isFolder)
        syncNames(relative(step.path), step.head.coveredSteps);
    else
        content->sync(step.head.coveredSteps);
}

void DiskModel::syncNames(const QString &folder, std::uint64_t covered)
{
    for (NameChange &change : changes)
        change.isDurable |= change.step < covered && change.isIn(folder);
}

void DiskModel::syncAll(std::uint64_t covered)
{
    for (NameChange &change : changes)
        change.isDurable |= change.step < covered;
    for (const auto &[path, content] : names)
        content->sync(covered);
}

DiskModel::Names DiskModel::namesAfterCut(Kept kept, std::mt19937 &random) const
{
    size_t first = 0; // those before it came through
    if (kept == Kept::All || kept == Kept::Names)
        first = changes.size();
    else if (kept == Kept::Small)
        first = mostOf(changes.size(), random);
    else if (kept == Kept::Some)
        first = random() % (changes.size() + 1);
    Names names;
    for (size_t i = 0; i < changes.size(); ++i) {
        if (i < first || changes[i].isDurable)
            changes[i].applyTo(names);
    }
    return names;
}

void DiskModel::writeTo(const QString &target, Kept data, Kept database, std::mt19937 &random) const
{
    QDir(target).removeRecursively();
    QDir().mkpath(target);
    const Names dataNames = namesAfterCut(data, random);
    const Names databaseNames = namesAfterCut(database, random);
    const auto make = [&](const QString &path, const Content &content, Kept kept) {
        const QString full = target + u'/' + path;
        if (!QFileInfo(full).dir().exists())
            return; // in a folder that is gone
        if (content.isFolder) {
            EXPECT_TRUE(QDir().mkdir(full)) << full.toStdString();
            return;
        }
        QFile file(full);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly)) << full.toStdString();
        file.write(content.afterCut(kept, random));
    };
    for (const auto &[path, content] : dataNames) {
        if (!isDatabase(path))
            make(path, *content, data);
    }
    for (const auto &[path, content] : databaseNames) {
        if (isDatabase(path))
            make(path, *content, database);
    }
}

} // namespace zel::test
