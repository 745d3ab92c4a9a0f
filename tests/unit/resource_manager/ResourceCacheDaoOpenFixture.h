#pragma once

#include "ResourceCacheDaoFixture.h"

namespace zel::test {

/// Names of the connections that Qt knows and that are caches'.
inline QStringList cacheConnections()
{
    return QSqlDatabase::connectionNames().filter(u"ResourceCache_"_s);
}

/// For tests of what opening and closing leave, in the database and in Qt.
class ResourceCacheDaoOpenFixture : public ResourceCacheDaoFixture
{
protected:
    /// How many clients in the database have the id of this process.
    int ownRows()
    {
        return database()
            .value(u"SELECT COUNT(*) FROM Clients WHERE processId = ?"_s,
                   { QCoreApplication::applicationPid() })
            .toInt();
    }
};

} // namespace zel::test
