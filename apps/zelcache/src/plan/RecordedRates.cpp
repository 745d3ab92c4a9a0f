#include "plan/RecordedRates.h"

#include <QFileInfo>
#include <QUrl>

#include <algorithm>

namespace zel::cli {

namespace {

constexpr qsizetype mostManifests = 64;
/// Of all that are read. Those of folders with many files are large.
constexpr qint64 mostBytes = 8ll * 1024 * 1024;
constexpr qsizetype ratesOfHost = 5;
/// A smaller fetch tells how long a server thinks, not how fast its bytes come.
constexpr qint64 leastFetchedBytes = 256ll * 1024;

struct ManifestFile
{
    QString path;
    qint64 bytes = 0;
    qint64 written = 0; ///< milliseconds since the epoch
};

QList<ManifestFile> newestFiles(const ManifestStore &store)
{
    QList<ManifestFile> files;
    for (const QString &path : store.paths()) {
        const QFileInfo info(path);
        files.append({ path, info.size(), info.lastModified().toMSecsSinceEpoch() });
    }
    const auto count = std::min(mostManifests, files.size());
    std::partial_sort(
        files.begin(), files.begin() + count, files.end(),
        [](const auto &left, const auto &right) { return left.written > right.written; });
    return files.first(count);
}

bool tellsRate(const ContentManifest &manifest, const QSet<QString> &hosts)
{
    return !manifest.host.isEmpty() && hosts.contains(manifest.host)
        && manifest.fetchedBytes >= leastFetchedBytes && manifest.bytesPerSecond() > 0;
}

qint64 medianOf(QList<qint64> rates)
{
    std::sort(rates.begin(), rates.end());
    return rates.at(rates.size() / 2);
}

} // namespace

QString hostOf(const QString &referenceKey)
{
    return QUrl(referenceKey).authority(QUrl::FullyEncoded);
}

QHash<QString, qint64> recordedRates(const ManifestStore &store, const QSet<QString> &hosts)
{
    QHash<QString, QList<qint64>> rates;
    qint64 bytesLeft = mostBytes;
    for (const ManifestFile &file : newestFiles(store)) {
        if (file.bytes > bytesLeft)
            continue;
        bytesLeft -= file.bytes;
        const auto manifest = store.readPath(file.path);
        if (!manifest.hasValue() || !tellsRate(manifest.value(), hosts))
            continue;
        QList<qint64> &ofHost = rates[manifest.value().host];
        if (ofHost.size() < ratesOfHost)
            ofHost.append(manifest.value().bytesPerSecond());
    }
    QHash<QString, qint64> medians;
    for (auto host = rates.cbegin(); host != rates.cend(); ++host)
        medians.insert(host.key(), medianOf(*host));
    return medians;
}

} // namespace zel::cli
