#include "ActorProcess.h"
#include "CacheDatabase.h"
#include "NginxServer.h"
#include "Proof.h"
#include "TemporaryCache.h"

#include <QCryptographicHash>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QThread>

using namespace zel::test;
using namespace std::chrono_literals;
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

class SchemesTest : public ::testing::Test
{
protected:
    QString share(const QString &name) const { return cache.outside(u"share/"_s + name); }
    QString reference(const QString &name) const { return u"share:"_s + share(name); }

    static QByteArray content(int megabytes)
    {
        QByteArray bytes;
        while (bytes.size() < megabytes * 1024 * 1024)
            bytes += QByteArray::number(bytes.size());
        return bytes;
    }

    /// The resource's path out of a good answer.
    static QString pathIn(const QString &answer)
    {
        EXPECT_TRUE(answer.startsWith(u"ok "_s)) << answer.toStdString();
        return answer.mid(3);
    }

    QStringList stagingPlaces() const
    {
        return QDir(cache.baseDir() + u"/Staging"_s)
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    QStringList filesInCache() const
    {
        QStringList files;
        QDirIterator all(cache.dataDir(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
        while (all.hasNext())
            files << all.next();
        return files;
    }

    /// Lets every process that is registered count as dead.
    void ageAllClients()
    {
        CacheDatabase(cache.databasePath())
            .run(u"UPDATE Clients SET lastPingTime = lastPingTime - 31000"_s);
    }

    TemporaryCache cache;
};

} // namespace

TEST_F(SchemesTest, retrieve_manyProcessesAtOnce_allGetTheOneCopy)
{
    const QByteArray bytes = content(8);
    writeFile(share(u"run.raw"_s), bytes);
    std::vector<std::unique_ptr<SchemesProcess>> processes;
    for (int i = 0; i < 4; ++i)
        processes.push_back(std::make_unique<SchemesProcess>(cache));
    for (const auto &process : processes)
        process->send(u"retrieve "_s + reference(u"run.raw"_s));

    QStringList paths;
    for (const auto &process : processes)
        paths << pathIn(process->answer());
    paths.removeDuplicates();
    ASSERT_EQ(paths.size(), 1);
    EXPECT_EQ(readFile(paths.first()), bytes);
    EXPECT_EQ(filesInCache(), paths);
    EXPECT_TRUE(stagingPlaces().isEmpty());
}

TEST_F(SchemesTest, retrieve_fetcherStopsAndWakesUpLate_bothCopiesAreOneInTheEnd)
{
    const QByteArray bytes = content(64);
    writeFile(share(u"run.raw"_s), bytes);
    SchemesProcess slow(cache);
    const QString base = QFileInfo(cache.baseDir()).canonicalFilePath();
    ASSERT_EQ(slow.ask(u"stopInTheMidst %1/Staging"_s.arg(base)), u"ok"_s);
    slow.send(u"retrieve "_s + reference(u"run.raw"_s));
    slow.waitUntilStopped();
    ASSERT_FALSE(stagingPlaces().isEmpty());

    ageAllClients();
    SchemesProcess other(cache);
    const QString path = pathIn(other.ask(u"retrieve "_s + reference(u"run.raw"_s)));
    EXPECT_EQ(readFile(path), bytes);

    slow.cont();
    EXPECT_EQ(pathIn(slow.answer()), path);
    EXPECT_EQ(readFile(path), bytes);
    EXPECT_EQ(filesInCache(), QStringList { path });
}

TEST_F(SchemesTest, retrieve_killedAtAnyFileStep_theNextProcessEndsWithTheWhole)
{
    const int stride = forProof(3, 1); // as close as the time allows
    writeFile(share(u"x.wiff"_s), content(1));
    writeFile(share(u"x.wiff.scan"_s), content(1));
    bool isKilled = true;
    int step = 0;
    for (; isKilled; step += stride) {
        TemporaryCache fresh;
        {
            SchemesProcess dying(fresh);
            // No answer is asked for: the count of sizes that begins with the opening may still
            // take the step.
            dying.send(u"dieAtFileStep %1"_s.arg(step));
            dying.send(u"retrieve "_s + reference(u"x.wiff"_s));
            dying.send(u"quit"_s);
            isKilled = fateOf(&dying) == Fate::Killed;
        }
        CacheDatabase(fresh.databasePath())
            .run(u"UPDATE Clients SET lastPingTime = lastPingTime - 31000"_s);
        SchemesProcess next(fresh);
        const QString path = pathIn(next.ask(u"retrieve "_s + reference(u"x.wiff"_s)));
        ASSERT_EQ(readFile(path), content(1)) << "step " << step;
        ASSERT_EQ(readFile(path + u".scan"_s), content(1)) << "step " << step;
    }
    EXPECT_GT(step, 20);
}

TEST_F(SchemesTest, retrieve_fetcherOfAFolderIsKilled_theNextOneTakesItsWholeFilesOver)
{
    NginxServer::Options options;
    options.bytesPerSecond = 500'000; // of the first second, all comes at once
    const NginxServer server(options);
    QByteArray sums;
    for (int i = 0; i < 12; ++i) {
        const QByteArray name = "file" + QByteArray::number(i);
        const QByteArray bytes = content(1) + name;
        server.addFile(u"run.d/"_s + QString::fromLatin1(name), bytes);
        sums += QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex() + "  " + name
            + '\n';
    }
    server.addFile(u"run.d/SHA256SUMS"_s, sums);
    const QString command = u"retrieve list+"_s + server.url(u"run.d/SHA256SUMS"_s);
    const auto wholeFiles = [this] {
        QStringList names;
        QDirIterator all(cache.baseDir() + u"/Staging"_s, { u"file*"_s }, QDir::Files,
                         QDirIterator::Subdirectories);
        while (all.hasNext())
            names << QFileInfo(all.next()).fileName();
        return names;
    };

    SchemesProcess dying(cache);
    dying.send(command);
    QElapsedTimer passed;
    passed.start();
    while (wholeFiles().size() < 3 && passed.elapsed() < 20'000)
        QThread::msleep(1);
    dying.kill();
    const QStringList kept = wholeFiles();
    ASSERT_GE(kept.size(), 3);
    EXPECT_TRUE(filesInCache().isEmpty());

    ageAllClients();
    SchemesProcess next(cache);
    const QString path = pathIn(next.ask(command));
    EXPECT_EQ(QDir(path).entryList(QDir::Files).size(), 12);
    for (int i = 0; i < 12; ++i) {
        const QString name = u"/file%1"_s.arg(i);
        EXPECT_EQ(readFile(path + name), readFile(server.root() + u"/run.d"_s + name));
    }
    QStringList fetched;
    for (const LoggedRequest &request : server.requests()) {
        if (request.method == u"GET"_s)
            fetched << request.path.section(u'/', -1);
    }
    for (const QString &name : kept)
        EXPECT_EQ(fetched.count(name), 1) << name.toStdString();
    EXPECT_TRUE(stagingPlaces().isEmpty());
}
