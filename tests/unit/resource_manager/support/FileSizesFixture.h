#pragma once

#include "AssociatedResourcesProviderInterface.h"
#include "support/CacheFixture.h"

#include <QDateTime>

namespace zel::test {

/// A cache whose sizes are counted anew, at its opening or when a test says so.
class FileSizesFixture : public CacheFixture
{
protected:
    using FileType = ExtendableEnum<FileTypes::FileTypeData>;
    using Days = std::chrono::duration<int, std::ratio<86400>>;

    static const FileType &textType()
    {
        static const FileType type(QLatin1StringView("SIZES_TEST_TEXT"),
                                   { { QStringLiteral("txt") } });
        return type;
    }
    static qint64 daysAgo(int days)
    {
        return QDateTime::currentDateTime().addDays(-days).toSecsSinceEpoch();
    }
    /// Opens the cache so that no scan starts.
    void openQuietly()
    {
        cache.setFullScanInterval(Days(1000000));
        openCache();
    }
    /// Closes and opens the cache, the last scan lying at this moment, and waits for the scan.
    void reopen(qint64 lastScan, int intervalInDays)
    {
        cache.close();
        database().run(QStringLiteral("UPDATE CacheMetadata SET lastScanTimestamp = ?"),
                       { lastScan });
        cache.setFullScanInterval(Days(intervalInDays));
        openCache();
        waitForScan();
    }
    qint64 lastScan() const
    {
        return database()
            .value(QStringLiteral("SELECT lastScanTimestamp FROM CacheMetadata"))
            .toLongLong();
    }
};

} // namespace zel::test
