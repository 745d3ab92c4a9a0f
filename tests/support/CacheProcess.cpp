#include "CacheProcess.h"

#include "CacheDatabase.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

CacheProcess::CacheProcess(const QString &baseDir, Start start, const Environment &environment)
    : ActorProcess(QStringLiteral(ZEL_CACHE_ACTOR),
                   { baseDir, TemporaryCache::semaphoreKey(baseDir) }, environment)
    , databasePath(baseDir + u"/ResourceCache.db"_s)
{
    if (start == Start::Open) {
        EXPECT_EQ(ask(u"open"_s), u"ok"_s);
    }
}

qint64 CacheProcess::clientId() const
{
    CacheDatabase database(databasePath);
    const QVariant id = database.value(u"SELECT id FROM Clients WHERE processId = ?"_s, { pid() });
    return id.isValid() ? id.toLongLong() : -1;
}

void CacheProcess::hold()
{
    startHold();
    awaitHeld();
}

void CacheProcess::startHold()
{
    EXPECT_EQ(ask(u"hold"_s), u"taking"_s);
}

void CacheProcess::awaitHeld()
{
    EXPECT_EQ(answer(), u"held"_s);
}

void CacheProcess::unhold()
{
    EXPECT_EQ(ask(u"unhold"_s), u"ok"_s);
}

} // namespace zel::test
