#include "DiskModel.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <utility>

#include <fcntl.h>
#include <linux/fs.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using Kind = FileStep::Kind;

namespace {

constexpr qsizetype sectorSize = 512;

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

    QByteArray afterCut(Kept kept, std::mt19937 &random) const
    {
        QByteArray content = synced;
        for (const Written &part : written) {
            if (kept == Kept::All)
                put(content, part);
            else if (kept == Kept::Names)
                put(content, zeroed(part));
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

/// A name comes, goes, or both at once.
struct DiskModel::NameChange
{
    QString gone = {};
    QString come = {};
    std::shared_ptr<Content> content = {}; ///< of `come`
    std::uint64_t step = 0;
    bool isDurable = false;

    void applyTo(Names &names) const
    {
        if (gone.isEmpty() || come.isEmpty()) {
            names.erase(gone);
        } else { // a folder takes along what is in it
            const QString inside = gone + u'/';
            Names moved;
            for (auto name = names.begin(); name != names.end();) {
                const bool isMoved = name->first == gone || name->first.startsWith(inside);
                if (isMoved)
                    moved[come + name->first.mid(gone.size())] = name->second;
                name = isMoved ? names.erase(name) : std::next(name);
            }
            for (auto &[path, content] : moved)
                names[path] = content;
        }
        if (!come.isEmpty())
            names[come] = content;
    }

    bool isIn(const QString &folder) const
    {
        const auto parentOf = [](const QString &path) {
            return path.contains(u'/') ? path.left(path.lastIndexOf(u'/')) : u""_s;
        };
        return (!gone.isEmpty() && parentOf(gone) == folder)
            || (!come.isEmpty() && parentOf(come) == folder);
    }
};

DiskModel::DiskModel(QString folder)
    : m_folder(std::move(folder))
{
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
        ASSERT_EQ(step.head.flags & RENAME_EXCHANGE, 0);
        change({ .gone = path, .come = relative(step.newPath), .content = m_names[path] });
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
    ++m_stepsDone;
}

QString DiskModel::relative(const QString &path) const
{
    return path.mid(m_folder.size() + 1);
}

void DiskModel::change(NameChange change)
{
    change.step = m_stepsDone;
    change.applyTo(m_names);
    m_changes.push_back(std::move(change));
}

std::shared_ptr<DiskModel::Content> DiskModel::contentOf(const LoggedStep &step)
{
    // The number of a file that is gone is soon that of another, so the name is asked first.
    const auto named = m_names.find(relative(step.path));
    if (named != m_names.end())
        return named->second;
    const auto known = m_byInode.find(step.head.inode);
    return known == m_byInode.end() ? nullptr : known->second;
}

void DiskModel::open(const LoggedStep &step)
{
    const QString path = relative(step.path);
    if (!m_names.contains(path))
        change({ .come = path, .content = std::make_shared<Content>() });
    m_byInode[step.head.inode] = m_names[path];
    if ((step.head.flags & O_TRUNC) != 0)
        m_names[path]->written.push_back({ .step = m_stepsDone, .offset = 0, .isResize = true });
}

void DiskModel::writeBytes(const LoggedStep &step)
{
    const auto content = contentOf(step);
    ASSERT_TRUE(content) << step.path.toStdString();
    content->written.push_back({ .step = m_stepsDone,
                                 .offset = qsizetype(step.head.offset),
                                 .bytes = step.bytes,
                                 .isResize = step.kind() == Kind::Resize });
}

void DiskModel::sync(const LoggedStep &step)
{
    if (step.path == m_folder)
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
    for (NameChange &change : m_changes)
        change.isDurable |= change.step < covered && change.isIn(folder);
}

void DiskModel::syncAll(std::uint64_t covered)
{
    for (NameChange &change : m_changes)
        change.isDurable |= change.step < covered;
    for (const auto &[path, content] : m_names)
        content->sync(covered);
}

DiskModel::Names DiskModel::namesAfterCut(Kept kept, std::mt19937 &random) const
{
    size_t first = 0; // those before it came through
    if (kept == Kept::All || kept == Kept::Names)
        first = m_changes.size();
    else if (kept == Kept::Some)
        first = random() % (m_changes.size() + 1);
    Names names;
    for (size_t i = 0; i < m_changes.size(); ++i) {
        if (i < first || m_changes[i].isDurable)
            m_changes[i].applyTo(names);
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
        if (content.isFolder) {
            EXPECT_TRUE(QDir().mkpath(full));
            return;
        }
        QFile file(full);
        if (!QFileInfo(full).dir().exists())
            return; // in a folder that is gone
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
