#pragma once

#include "support/CacheFixture.h"

namespace zel::test {

/// A cache whose size a test limits once its resources are there.
class PurgeFixture : public CacheFixture
{
protected:
    void open(qint64 optimal, qint64 maximum) { openCache({ optimal, maximum }); }
    /// Raised after the files are there: a purge on the way would disturb.
    void limitTo(qint64 optimal, qint64 maximum)
    {
        cache.close();
        openCache({ optimal, maximum });
    }
    QString status(const QString &reference) const { return database().status(reference); }
    bool isOnDisk(const QString &relativePath) const
    {
        return QFileInfo::exists(dataPath(relativePath));
    }
};

} // namespace zel::test
