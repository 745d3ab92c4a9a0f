#include "ActorProcess.h"
#include "ApacheServer.h"
#include "CacheDatabase.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QDirIterator>

#include <map>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// A program with the manager and the schemes.
class SchemesProcess : public ActorProcess
{
public:
    explicit SchemesProcess(const TemporaryCache &cache)
        : ActorProcess(QStringLiteral(ZEL_SCHEMES_ACTOR), { cache.baseDir() })
    {
    }
};

class DavTest : public ::testing::Test
{
protected:
    static std::map<QString, QByteArray> filesIn(const QString &folder)
    {
        std::map<QString, QByteArray> files;
        QDirIterator all(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (all.hasNext()) {
            const QString path = all.next();
            files[path.mid(folder.size())] = readFile(path);
        }
        return files;
    }

    /// The resource's path out of a good answer.
    static QString pathIn(const QString &answer)
    {
        EXPECT_TRUE(answer.startsWith(u"ok "_s)) << answer.toStdString();
        return answer.mid(3);
    }

    TemporaryCache cache;
};

} // namespace

TEST_F(DavTest, retrieve_killedAmongTheFiles_theNextProcessFetchesTheRest)
{
    ApacheServer::Options slowly;
    slowly.kilobytesPerSecond = 400;
    const ApacheServer server(slowly);
    for (int i = 0; i < 24; ++i)
        server.addFile(u"run.d/%1.bin"_s.arg(i), QByteArray(200'000, char('A' + i)));
    server.addFolder(u"run.d/empty"_s);
    const QString url = server.url(u"run.d"_s);

    SchemesProcess dying(cache);
    dying.send(u"retrieve "_s + url);
    server.waitForSentFiles(6);
    dying.kill();
    const QStringList sentBefore = server.sentFiles();
    ASSERT_LT(sentBefore.size(), 24);
    CacheDatabase(cache.databasePath())
        .run(u"UPDATE Clients SET lastPingTime = lastPingTime - 31000"_s);

    SchemesProcess next(cache);
    const QString path = pathIn(next.ask(u"retrieve "_s + url));
    EXPECT_EQ(filesIn(path), filesIn(server.root() + u"/run.d"_s));
    EXPECT_TRUE(QFileInfo(path + u"/empty"_s).isDir());

    // Of two at a time, each had at most one that it had not finished yet.
    const QStringList all = server.sentFiles();
    qsizetype twice = 0;
    for (const QString &file : sentBefore)
        twice += all.count(file) > 1 ? 1 : 0;
    EXPECT_LE(twice, 2);
}

TEST_F(DavTest, retrieve_manyProcessesAtOnce_fetchEachFileOnce)
{
    const ApacheServer server;
    for (int i = 0; i < 20; ++i)
        server.addFile(u"run.d/%1.bin"_s.arg(i), QByteArray(100'000, char('a' + i)));
    std::vector<std::unique_ptr<SchemesProcess>> processes;
    for (int i = 0; i < 4; ++i)
        processes.push_back(std::make_unique<SchemesProcess>(cache));
    for (const auto &process : processes)
        process->send(u"retrieve "_s + server.url(u"run.d"_s));
    QStringList paths;
    for (const auto &process : processes)
        paths << pathIn(process->answer());
    paths.removeDuplicates();
    ASSERT_EQ(paths.size(), 1);
    EXPECT_EQ(filesIn(paths.first()), filesIn(server.root() + u"/run.d"_s));
    EXPECT_EQ(server.waitForSentFiles(20).size(), 20);
}
