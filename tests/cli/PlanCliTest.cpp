#include "ReadingCli.h"

#include "CacheProcess.h"
#include "NginxServer.h"
#include "Printers.h"
#include "ScriptedServer.h"

#include <QDir>
#include <QFile>

#include <sys/stat.h>
#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class PlanCliTest : public ReadingCli
{
protected:
    QJsonObject plan(qint64 optimal, qint64 maximum, const QStringList &references, int exitCode)
    {
        const QStringList before = rows();
        const auto run
            = startWithSettings(settingsWith(optimal, maximum),
                                QStringList { u"get"_s, u"--plan"_s, u"--json"_s } + references);
        EXPECT_EQ(run->exitCode(), exitCode) << run->errors().toStdString();
        EXPECT_EQ(rows(), before) << "a plan has changed something";
        CacheDatabase database(cache.databasePath());
        EXPECT_EQ(database.count(u"AcquiringTasks"_s), 0);
        return jsonOf(run->output());
    }
    /// The first of these places has the oldest status.
    void lastAccessedInThisOrder(const QStringList &references, const QList<int> &places) const
    {
        CacheDatabase database(cache.databasePath());
        for (qsizetype i = 0; i < places.size(); ++i)
            database.run(u"UPDATE CachedResources SET lastAccessDateTime = ? WHERE reference = ?"_s,
                         { 1'700'000'000'000 + i, references.at(places.at(i)) });
    }
    /// From now on the test's database keeps in which order resources go.
    void writeDownWhatGoes() const
    {
        CacheDatabase database(cache.databasePath());
        database.run(u"CREATE TABLE Went(id INTEGER PRIMARY KEY, reference TEXT)"_s);
        database.run(u"CREATE TRIGGER goes AFTER UPDATE OF status ON CachedResources "
                     "WHEN OLD.status = 'Ready' AND NEW.status = 'Missing' "
                     "BEGIN INSERT INTO Went(reference) VALUES (NEW.reference); END"_s);
    }
    QStringList whatWent() const
    {
        return CacheDatabase(cache.databasePath())
            .column(u"SELECT reference FROM Went ORDER BY id"_s);
    }
    /// Without the rights of an administrator, if the tests have them.
    std::unique_ptr<ProgramRun> startAsNobody(const QStringList &arguments) const
    {
        if (::geteuid() != 0)
            return start(arguments);
        ProgramRun::Options options;
        options.environment = environment();
        const QStringList nobody { u"--reuid=65534"_s, u"--regid=65534"_s, u"--clear-groups"_s };
        return std::make_unique<ProgramRun>(
            u"setpriv"_s, nobody + QStringList { program() } + inCache(arguments), options);
    }
    QByteArray planned(const QStringList &arguments) const
    {
        const auto run = start(QStringList { u"get"_s, u"--plan"_s } + arguments);
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        return run->output();
    }
};

TEST_F(PlanCliTest, plan_whatWouldGo_isWhatThenGoesInThatOrder)
{
    const QStringList references = fill({ 600, 500, 400, 300, 700, 800 });
    lastAccessedInThisOrder(references, { 3, 0, 4, 1, 2, 5 });
    const QString wanted = sharedFile(u"new.raw"_s, QByteArray(500, 'n'));
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + references.at(0)), u"ok"_s);

    const QStringList asked { wanted, references.at(1) };
    const QJsonObject answer = plan(2700, 4000, asked, 0);
    EXPECT_EQ(textsOf(answer.value(u"missing"_s), u"reference"_s), QStringList { wanted });
    EXPECT_EQ(answer.value(u"missingBytes"_s).toInt(), 500);
    EXPECT_TRUE(answer.value(u"fits"_s).toBool());
    // One is used by another program, one is asked for, and the last one need not go.
    const QStringList evicted = textsOf(answer.value(u"evicted"_s), u"reference"_s);
    EXPECT_EQ(evicted, (QStringList { references.at(3), references.at(4), references.at(2) }));

    writeDownWhatGoes();
    const auto run = startWithSettings(settingsWith(2700, 4000), QStringList { u"get"_s } + asked);
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(whatWent(), evicted);
    EXPECT_EQ(currentSize(), answer.value(u"sizeAfterwards"_s).toInteger());
}

TEST_F(PlanCliTest, plan_rowWithoutData_isFetchedAndNotCountedTwice)
{
    const QStringList references = fill({ 600, 600 });
    ASSERT_TRUE(QFile::remove(pathOf(references.at(0))));
    const QJsonObject answer = plan(1250, 1300, references, 0);
    EXPECT_EQ(textsOf(answer.value(u"missing"_s), u"reference"_s), references.first(1));
    EXPECT_EQ(answer.value(u"evicted"_s).toArray().size(), 0);
    EXPECT_EQ(answer.value(u"sizeAfterwards"_s).toInt(), 1200);

    const auto run
        = startWithSettings(settingsWith(1250, 1300), QStringList { u"get"_s } + references);
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(readyReferences(), references);
    EXPECT_EQ(currentSize(), 1200);
}

TEST_F(PlanCliTest, plan_whatCannotFit_isCode7)
{
    fill({ 600 });
    const QString wanted = sharedFile(u"new.raw"_s, QByteArray(5000, 'n'));
    EXPECT_FALSE(plan(2000, 4000, { wanted }, 7).value(u"fits"_s).toBool());
}

TEST_F(PlanCliTest, plan_noSource_isCode3AndNothingToFetch)
{
    fill({ 600 });
    const NginxServer server;
    for (const QString &reference :
         { u"share:/no/such/file"_s, u"file:/no/such/file"_s, server.url(u"none.raw"_s) }) {
        const auto run = start({ u"get"_s, u"--plan"_s, reference });
        EXPECT_EQ(run->exitCode(), 3) << run->errors().toStdString();
        EXPECT_EQ(linesOf(run->output()), QStringList(u"not there           -  "_s + reference));
        EXPECT_TRUE(run->errors().startsWith("zelcache: error: " + reference.toUtf8() + ": "))
            << run->errors().toStdString();
    }
    const QString there = sharedFile(u"new.raw"_s, "new");
    const QJsonObject answer = plan(2000, 4000, { u"share:/no/such/file"_s, there }, 3);
    EXPECT_EQ(textsOf(answer.value(u"missing"_s), u"reference"_s), QStringList(there));
    EXPECT_EQ(answer.value(u"notThere"_s)[0][u"error"_s][u"code"_s].toInt(), 3);
    EXPECT_EQ(answer.value(u"unknownSizes"_s).toInt(), 0);
    const QString big = sharedFile(u"big.raw"_s, QByteArray(5000, 'b'));
    plan(2000, 4000, { u"share:/no/such/file"_s, big }, 7);
}

TEST_F(PlanCliTest, plan_sourceWithoutASize_isUnknownAndThere)
{
    fill({ 600 });
    const ScriptedServer server([](const auto &, auto &connection) {
        connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
    });
    const auto run = start({ u"get"_s, u"--plan"_s, server.url(u"a.raw"_s) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_TRUE(linesOf(run->output()).contains(u"1 resource to fetch, of unknown size"_s))
        << run->output().toStdString();
}

TEST_F(PlanCliTest, plan_sourceThatTakesLong_showsAtATerminalThatItIsAsked)
{
    const ScriptedServer server([](const auto &, auto &connection) { connection.stall(); });
    const auto run = startAtTerminal({ u"get"_s, u"--plan"_s, server.url(u"a.raw"_s) });
    EXPECT_TRUE(run->waitFor("Asking for sizes")) << run->seen().toStdString();
    run->type("\x03");
    EXPECT_EQ(run->exitCode(), 130);
}

TEST_F(PlanCliTest, plan_list_isReadAndNothingElseIsSaid)
{
    fill({ 600 });
    writeFile(cache.outside(u"list"_s), sharedFile(u"new.raw"_s, "new").toUtf8() + '\n');
    const auto run = start({ u"get"_s, u"-v"_s, u"--plan"_s, u"-f"_s, cache.outside(u"list"_s) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(run->errors(), "");
    EXPECT_TRUE(linesOf(run->output()).contains(u"1 resource to fetch, 3 B"_s));
}

TEST_F(PlanCliTest, plan_heldSemaphore_waitsForNobodyAndChangesNoRow)
{
    CacheProcess(cache.baseDir()).ask(u"close"_s);
    const QString wanted = sharedFile(u"new.raw"_s, "new");
    const QStringList command { u"get"_s, u"--plan"_s, wanted };
    EXPECT_EQ(answerWhileHeld(command).value(u"missingBytes"_s).toInt(), 3) << "an empty cache";

    const QString here = fill({ 600 }).constFirst();
    EXPECT_EQ(answerWhileHeld(command + QStringList { here }).value(u"missingBytes"_s).toInt(), 3);

    addHundredThousand();
    const QJsonObject answer = answerWhileHeld(command + QStringList { here });
    EXPECT_EQ(textsOf(answer.value(u"missing"_s), u"reference"_s), QStringList { wanted });
    EXPECT_GT(answer.value(u"size"_s).toInteger(), 600);
}

TEST_F(PlanCliTest, plan_earlierFetchesFromTheHost_tellTheTime)
{
    NginxServer::Options slowly;
    slowly.bytesPerSecond = 1'000'000;
    const NginxServer server(slowly);
    server.addFile(u"first.raw"_s, QByteArray(1'500'000, 'f'));
    server.addFile(u"second.raw"_s, QByteArray(4'000'000, 's'));
    ASSERT_EQ(start({ u"get"_s, server.url(u"first.raw"_s) })->exitCode(), 0);

    const QString wanted = server.url(u"second.raw"_s);
    const QJsonObject answer = jsonOf(planned({ u"--json"_s, wanted }));
    const qint64 rate = answer.value(u"missing"_s)[0][u"bytesPerSecond"_s].toInteger();
    ASSERT_GT(rate, 100'000);
    EXPECT_EQ(answer.value(u"seconds"_s).toInteger(), (4'000'000 + rate - 1) / rate);
    EXPECT_TRUE(linesOf(planned({ wanted })).at(2).startsWith(u"Time: about 0:"_s));

    // Of a share nothing is known.
    const QString ofShare = sharedFile(u"new.raw"_s, "new");
    EXPECT_TRUE(linesOf(planned({ wanted, ofShare })).contains(u"Time: unknown"_s));
}

TEST_F(PlanCliTest, plan_noFetchFromTheHost_timeIsUnknown)
{
    fill({ 600 });
    const NginxServer server;
    server.addFile(u"run.raw"_s, QByteArray(1'500'000, 'f'));
    EXPECT_TRUE(linesOf(planned({ server.url(u"run.raw"_s) })).contains(u"Time: unknown"_s));
    const QJsonObject answer = jsonOf(planned({ u"--json"_s, server.url(u"run.raw"_s) }));
    EXPECT_TRUE(answer.contains(u"seconds"_s));
    EXPECT_TRUE(answer.value(u"seconds"_s).isNull());
}

TEST_F(PlanCliTest, plan_noCacheYet_isEmptyAndNoneIsMade)
{
    const QString wanted = sharedFile(u"new.raw"_s, QByteArray(500, 'n'));
    const QStringList before = QDir(cache.baseDir()).entryList(QDir::AllEntries | QDir::Hidden);
    for (const auto &[maximum, code] : { std::pair { 4000, 0 }, std::pair { 400, 7 } }) {
        const auto run = startWithSettings(settingsWith(100, maximum),
                                           { u"get"_s, u"--plan"_s, u"--json"_s, wanted });
        EXPECT_EQ(run->exitCode(), code) << run->errors().toStdString();
        const QJsonObject answer = jsonOf(run->output());
        EXPECT_EQ(answer.value(u"missingBytes"_s).toInt(), 500);
        EXPECT_EQ(answer.value(u"size"_s).toInt(-1), 0);
        EXPECT_EQ(answer.value(u"sizeAfterwards"_s).toInt(), 500);
        EXPECT_GT(answer.value(u"free"_s).toInteger(), 0);
    }
    EXPECT_EQ(QDir(cache.baseDir()).entryList(QDir::AllEntries | QDir::Hidden), before);
}

TEST_F(PlanCliTest, plan_noCacheCanBeThere_isCode8)
{
    writeFile(cache.outside(u"file"_s), "no folder");
    const QByteArray settings
        = settingsWith(2000, 4000)
              .replace(cache.baseDir().toUtf8(), cache.outside(u"file"_s).toUtf8());
    const auto run = startWithSettings(settings, { u"get"_s, u"--plan"_s, u"share:/a"_s });
    EXPECT_EQ(run->exitCode(), 8) << run->errors().toStdString();
}

TEST_F(PlanCliTest, plan_cacheThatMayNotBeWritten_isRead)
{
    const QString here = fill({ 600 }).constFirst();
    const QString wanted = sharedFile(u"new.raw"_s, "new");
    for (const QString &path : { cache.outside(QString()), home.path() })
        ASSERT_EQ(::chmod(QFile::encodeName(path).constData(), 0755), 0);
    ASSERT_EQ(::chmod(QFile::encodeName(cache.baseDir()).constData(), 0555), 0);
    const QByteArray before = readFile(cache.databasePath());
    const auto run = startAsNobody({ u"get"_s, u"--plan"_s, u"--json"_s, here, wanted });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(textsOf(jsonOf(run->output()).value(u"missing"_s), u"reference"_s),
              QStringList { wanted });
    EXPECT_EQ(readFile(cache.databasePath()), before);
    ASSERT_EQ(::chmod(QFile::encodeName(cache.baseDir()).constData(), 0755), 0);
}

} // namespace zel::test
