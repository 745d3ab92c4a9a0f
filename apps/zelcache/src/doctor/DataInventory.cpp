#include "doctor/DataInventory.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

QByteArray folderAround(const QByteArray &path)
{
    return path.left(qMax(path.lastIndexOf('/'), qsizetype(0)));
}

QByteArray nameOf(const QByteArray &path)
{
    return path.mid(path.lastIndexOf('/') + 1);
}

/// Where the data of containers with long paths lies, each under a name made of its reference.
constexpr auto containerFolder = "zacq";

QByteArray containerNameFor(const QString &reference)
{
    constexpr qsizetype letters = 6;
    return QCryptographicHash::hash(reference.toUtf8(), QCryptographicHash::Md5)
               .toHex()
               .left(letters)
        + ".zacq";
}

bool isRemains(const QByteArray &name)
{
    return name.startsWith(".leftover-") || (name.startsWith(".zel-") && name.endsWith(".partial"));
}

} // namespace

DataInventory DataInventory::of(const QString &dataDirectory, const Resources &resources)
{
    DataInventory inventory;
    inventory.prefix = QDir::cleanPath(dataDirectory) + u'/';
    if (const QString resolved = QFileInfo(dataDirectory).canonicalFilePath(); !resolved.isEmpty())
        inventory.resolvedPrefix = resolved + u'/';
    inventory.claim(resources);
    inventory.outcome
        = TreeSurvey::make(dataDirectory, [&inventory](const QByteArray &path, bool isFolder) {
              return inventory.stepFor(path, isFolder);
          });
    inventory.sortOut();
    return inventory;
}

void DataInventory::claim(const Resources &resources)
{
    claimed.reserve(resources.size());
    ownFolders.reserve(resources.size());
    const bool hasContainers = QDir(prefix + QLatin1StringView(containerFolder)).exists();
    for (const ResourceCacheReader::Resource &resource : resources) {
        if (hasContainers)
            shortNames.insert(containerNameFor(resource.reference));
        const QByteArray path = claimedBy(resource.path);
        if (path.isEmpty())
            continue;
        claimed.insert(path);
        QByteArray folder = folderAround(path);
        ownFolders.insert(folder);
        for (folder = folderAround(folder); !folder.isEmpty() && !around.contains(folder);
             folder = folderAround(folder))
            around.insert(folder);
    }
}

/// Another program may have written the path, and have reached the data directory by another name.
QByteArray DataInventory::claimedBy(const QString &path) const
{
    const QByteArray claim = relative(path);
    if (!claim.isEmpty() || path.isEmpty())
        return claim;
    const QString resolved = QFileInfo(path).canonicalFilePath();
    return resolvedPrefix.isEmpty() || !resolved.startsWith(resolvedPrefix)
        ? QByteArray()
        : QFile::encodeName(resolved.mid(resolvedPrefix.size()));
}

bool DataInventory::isClaimedByName(const QByteArray &path) const
{
    return folderAround(path) == containerFolder && shortNames.contains(nameOf(path));
}

TreeSurvey::Step DataInventory::stepFor(const QByteArray &path, bool isFolder) const
{
    if (claimed.contains(path))
        return TreeSurvey::Step::Measure;
    const bool isAtTop = !path.contains('/');
    // Of the file system, not of the cache.
    if (isAtTop && path == "lost+found")
        return TreeSurvey::Step::Skip;
    // The folders of the schemes stay, even empty ones, so that it is known what is in them.
    const bool isOfScheme = isAtTop && !path.startsWith('.');
    const bool isEntered
        = isFolder && (isOfScheme || ownFolders.contains(path) || around.contains(path));
    return isEntered ? TreeSurvey::Step::Enter : TreeSurvey::Step::Measure;
}

void DataInventory::sortOut()
{
    sizes.reserve(claimed.size());
    for (const TreeSurvey::Entry &entry : outcome.entries) {
        if (claimed.contains(entry.path))
            sizes.insert(entry.path, entry.bytes);
        else
            sortOutUnclaimed(entry);
    }
    outcome.entries.clear();
}

void DataInventory::sortOutUnclaimed(const TreeSurvey::Entry &entry)
{
    const QByteArray folder = folderAround(entry.path);
    const bool isBesideData = ownFolders.contains(folder) && folder.contains('/');
    if (isBesideData && !isRemains(nameOf(entry.path)))
        sizes.insert(entry.path, entry.bytes);
    else if (isBesideData)
        remains.append(entry);
    else if (entry.files > 0 && !isClaimedByName(entry.path))
        nobodys.append(entry); // empty folders are all that is left of a resource, and no harm
}

QByteArray DataInventory::relative(const QString &path) const
{
    if (path.isEmpty())
        return {};
    // Cleaning costs more than all else that is done for a row.
    const bool isClean = !path.contains(u"//"_s) && !path.contains(u"/."_s) && !path.endsWith(u'/');
    const QString clean = isClean ? path : QDir::cleanPath(path);
    return clean.startsWith(prefix) ? QFile::encodeName(clean.mid(prefix.size())) : QByteArray();
}

QString DataInventory::absolute(const QByteArray &relativePath) const
{
    return prefix + QFile::decodeName(relativePath);
}

std::optional<qint64> DataInventory::sizeAt(const QByteArray &relativePath) const
{
    const auto found = sizes.constFind(relativePath);
    return found == sizes.cend() ? std::nullopt : std::optional(*found);
}

qint64 DataInventory::sizeBeside(const QByteArray &relativePath) const
{
    return sizes.value(relativePath + ".ms1.cache") + sizes.value(relativePath + ".data.cache");
}

bool DataInventory::isHidden(const QByteArray &relativePath) const
{
    for (const QByteArray &folder : outcome.unreadable) {
        if (relativePath == folder || relativePath.startsWith(folder + '/'))
            return true;
    }
    return false;
}

} // namespace zel::cli
