#include "doctor/DataInventory.h"

#include "MsDataSideFiles.h"
#include "ShortContainerPlace.h"
#include "doctor/AsideName.h"
#include "files/HiddenNames.h"
#include "files/WholeCopy.h"
#include "staging/NeighbourName.h"

#include <QDateTime>
#include <QFileInfo>

#include <algorithm>

namespace zel::cli {

namespace {

/// Whether analysis programs leave files of such names beside data.
bool isCounted(const QByteArray &name)
{
    const auto &patterns = MsDataSideFiles::namePatterns;
    return std::any_of(patterns.begin(), patterns.end(), [&name](const char *pattern) {
        return name.endsWith(MsDataSideFiles::endingOf(pattern));
    });
}

bool isRemains(const TreeSurvey::Entry &entry)
{
    const QByteArray name = nameOf(entry.path);
    const std::chrono::milliseconds unchangedFor(QDateTime::currentMSecsSinceEpoch()
                                                 - entry.newestChange);
    return HiddenNames::isLeftover(name) || AsideName::isOne(name)
        || NeighbourName::isOne({ name.constData(), std::size_t(name.size()) })
        || HiddenNames::isPartial(name)
        || (WholeCopy::isOnItsWay(name) && !WholeCopy::isInProgress(name, unchangedFor));
}

} // namespace

DataInventory DataInventory::of(const QString &dataDirectory, const Resources &resources)
{
    DataInventory inventory;
    inventory.dataPlaces = DataPlaces(dataDirectory);
    inventory.claim(dataDirectory, resources);
    inventory.outcome
        = TreeSurvey::make(dataDirectory, [&inventory](const QByteArray &path, bool isFolder) {
              return inventory.stepFor(path, isFolder);
          });
    inventory.sortOut(resources);
    return inventory;
}

void DataInventory::claim(const QString &dataDirectory, const Resources &resources)
{
    claims.reserve(resources.size());
    folders.reserve(resources.size());
    const bool hasContainers = QFileInfo(ShortContainerPlace::folderIn(dataDirectory)).isDir();
    for (const ResourceCacheReader::Resource &resource : resources) {
        if (hasContainers)
            shortPlaces.insert(
                dataPlaces.named(ShortContainerPlace::pathIn(dataDirectory, resource.reference)));
        // Another program may have written the path, and have known the directory by another name.
        if (const QByteArray place = dataPlaces.of(resource.path); !place.isEmpty())
            claimPlace(place);
    }
}

void DataInventory::claimPlace(const QByteArray &place)
{
    ++claims[place].rows;
    QByteArray folder = folderAround(place);
    folders.insert(folder, Around::Near);
    for (folder = folderAround(folder); !folder.isEmpty() && !folders.contains(folder);
         folder = folderAround(folder))
        folders.insert(folder, Around::Far);
}

bool DataInventory::isNear(const QByteArray &folder) const
{
    const auto found = folders.constFind(folder);
    return found != folders.cend() && *found == Around::Near;
}

TreeSurvey::Step DataInventory::stepFor(const QByteArray &path, bool isFolder) const
{
    const bool isAtTop = !path.contains('/');
    // Of the file system, not of the cache.
    if (isAtTop && path == "lost+found")
        return TreeSurvey::Step::Skip;
    if (!isFolder || claims.contains(path))
        return TreeSurvey::Step::Measure;
    // The folders of the schemes stay, even empty ones, so that it is known what is in them.
    const bool isOfScheme = isAtTop && !path.startsWith('.');
    return isOfScheme || folders.contains(path) ? TreeSurvey::Step::Enter
                                                : TreeSurvey::Step::Measure;
}

void DataInventory::sortOut(const Resources &resources)
{
    sortOutAsides(resources);
    for (const TreeSurvey::Entry &entry : std::as_const(outcome.entries)) {
        if (const auto claim = claims.find(entry.path); claim != claims.end())
            claim->bytes = entry.bytes;
        else
            sortOutUnclaimed(entry);
    }
    outcome.entries.clear();
    hidden = QSet<QByteArray>(outcome.unreadable.cbegin(), outcome.unreadable.cend());
}

void DataInventory::sortOutUnclaimed(const TreeSurvey::Entry &entry)
{
    const QByteArray folder = folderAround(entry.path);
    const bool isBesideData = folder.contains('/') && isNear(folder);
    if (isBesideData && isRemains(entry))
        remains.append(entry);
    else if (isBesideData && isCounted(entry.path))
        sizesBeside.insert(entry.path, entry.bytes);
    else if (!isBesideData && entry.files > 0 && !shortPlaces.contains(entry.path))
        nobodys.append(entry); // empty folders are all that is left of a resource, and no harm
}

/// Where resources should be that are Ready, and all folders around.
QSet<QByteArray> DataInventory::wantedBy(const Resources &resources) const
{
    QSet<QByteArray> wanted;
    for (const ResourceCacheReader::Resource &resource : resources) {
        QByteArray place;
        if (resource.status == ResourceStatus::Ready)
            place = dataPlaces.of(resource.path);
        for (; !place.isEmpty() && !wanted.contains(place); place = folderAround(place))
            wanted.insert(place);
    }
    return wanted;
}

void DataInventory::sortOutAsides(const Resources &resources)
{
    const auto isAside = [](const TreeSurvey::Entry &entry) {
        return AsideName::isOne(nameOf(entry.path));
    };
    if (std::none_of(outcome.entries.begin(), outcome.entries.end(), isAside))
        return;
    const QSet<QByteArray> wanted = wantedBy(resources);
    outcome.entries.removeIf(
        [&](const TreeSurvey::Entry &entry) { return isAside(entry) && takeAside(entry, wanted); });
}

/// Somebody had claimed it by the time it was moved: a row leads to where it was.
bool DataInventory::takeAside(const TreeSurvey::Entry &entry, const QSet<QByteArray> &wanted)
{
    const QByteArray name = AsideName::formerName(nameOf(entry.path));
    if (name.isEmpty())
        return false;
    const QByteArray folder = folderAround(entry.path);
    const QByteArray former = folder.isEmpty() ? name : folder + '/' + name;
    const QFileInfo there(dataPlaces.pathTo(former));
    const bool isThere = there.exists() || there.isSymLink();
    if (isThere || !wanted.contains(former) || asides.contains(former))
        return false;
    asides.insert(former, entry.path);
    return true;
}

QByteArray DataInventory::asideFor(const QByteArray &place) const
{
    if (asides.isEmpty())
        return {};
    QByteArray folder = place;
    while (!folder.isEmpty() && !asides.contains(folder))
        folder = folderAround(folder);
    return asides.value(folder);
}

std::optional<qint64> DataInventory::sizeAt(const QByteArray &place) const
{
    return claims.value(place).bytes;
}

qint64 DataInventory::sizeBeside(const QByteArray &place) const
{
    if (sizesBeside.isEmpty())
        return 0;
    qint64 bytes = 0;
    for (const char *pattern : MsDataSideFiles::namePatterns)
        bytes += sizesBeside.value(place + MsDataSideFiles::endingOf(pattern).toByteArray());
    return bytes;
}

bool DataInventory::isShared(const QByteArray &place) const
{
    return claims.value(place).rows > 1;
}

bool DataInventory::isOfSeveral(const QByteArray &place) const
{
    if (isShared(place) || folders.contains(place))
        return true;
    for (QByteArray folder = folderAround(place); !folder.isEmpty();
         folder = folderAround(folder)) {
        if (claims.contains(folder))
            return true;
    }
    return false;
}

bool DataInventory::isHidden(const QByteArray &place) const
{
    if (hidden.isEmpty())
        return false;
    // The data directory itself has no name.
    QByteArray folder = place;
    while (!folder.isEmpty() && !hidden.contains(folder))
        folder = folderAround(folder);
    return hidden.contains(folder);
}

} // namespace zel::cli
