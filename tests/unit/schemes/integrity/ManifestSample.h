#pragma once

#include "integrity/ContentManifest.h"

namespace zel::test {

/// A manifest with something in every field.
inline ContentManifest sampleManifest(const QString &key = QStringLiteral("share:/a/run.d"))
{
    const QDateTime moment = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC);
    ContentManifest manifest;
    manifest.id = QStringLiteral("0123");
    manifest.referenceKey = key;
    manifest.name = "run.d";
    manifest.scheme = QStringLiteral("share");
    manifest.host = QStringLiteral("host:8080");
    manifest.fetched = moment;
    manifest.fetchedBytes = 1000;
    manifest.fetchMilliseconds = 500;
    manifest.folderMade = moment;
    manifest.verified = moment;

    ContentManifest::File file;
    file.path = "run.d/analysis \xff\x01%.tdf";
    file.size = 5;
    file.modified = 1'700'000'000'123'456'789;
    file.sums = { QByteArray(32, 'a') };
    file.isSummedLater = true;
    file.verified = moment;
    file.foundChanged = moment;
    file.isChecked = true;
    file.checkedBlocks = 1;
    ContentManifest::File link;
    link.path = "run.d/link";
    link.linkTarget = "analysis.tdf";
    manifest.files = { file, link };
    return manifest;
}

} // namespace zel::test
