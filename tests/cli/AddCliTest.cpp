#include "ZelcacheCli.h"

#include "Printers.h"

#include <QDeadlineTimer>
#include <QDirIterator>

#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class AddCliTest : public ZelcacheCli
{
protected:
    /// Nobody answers there: what can be had was added.
    QStringList incoming() const
    {
        QStringList paths;
        QDirIterator entries(cache.dataDir(), { u".adding-*"_s },
                             QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                             QDirIterator::Subdirectories);
        while (entries.hasNext())
            paths.append(entries.next());
        return paths;
    }

    const QString reference = u"http://127.0.0.1:9/runs/run1.raw"_s;
};

TEST_F(AddCliTest, add_file_canBeHadWithoutItsSource)
{
    writeFile(cache.outside(u"local.raw"_s), "content");
    const auto add = start({ u"add"_s, reference, cache.outside(u"local.raw"_s) });
    EXPECT_EQ(add->exitCode(), 0) << add->errors().toStdString();
    EXPECT_EQ(readFile(linesOf(add->output()).value(0)), "content");
    const auto get = start({ u"get"_s, reference });
    EXPECT_EQ(get->exitCode(), 0) << get->errors().toStdString();
    EXPECT_EQ(get->output(), add->output());
}

TEST_F(AddCliTest, add_folder_isCopiedAsAWhole)
{
    writeFile(cache.outside(u"run.d/deep/er.txt"_s), "b");
    const auto add = start({ u"add"_s, reference, cache.outside(u"run.d"_s) });
    EXPECT_EQ(add->exitCode(), 0) << add->errors().toStdString();
    EXPECT_EQ(readFile(linesOf(add->output()).value(0) + u"/deep/er.txt"_s), "b");
}

TEST_F(AddCliTest, add_relativeSource_isMeantFromWhereTheUserStands)
{
    writeFile(cache.outside(u"local.raw"_s), "content");
    ProgramRun::Options options;
    options.workingDirectory = cache.outside(QString());
    const auto add = start({ u"add"_s, reference, u"local.raw"_s }, options);
    EXPECT_EQ(add->exitCode(), 0) << add->errors().toStdString();
}

TEST_F(AddCliTest, add_twice_failsAndKeepsTheFirst)
{
    writeFile(cache.outside(u"local.raw"_s), "content");
    writeFile(cache.outside(u"other.raw"_s), "other");
    EXPECT_EQ(start({ u"add"_s, reference, cache.outside(u"local.raw"_s) })->exitCode(), 0);
    const auto again = start({ u"add"_s, reference, cache.outside(u"other.raw"_s) });
    EXPECT_EQ(again->exitCode(), 1);
    EXPECT_EQ(again->output(), "");
    const auto get = start({ u"get"_s, reference });
    EXPECT_EQ(get->exitCode(), 0) << get->errors().toStdString();
    EXPECT_EQ(readFile(linesOf(get->output()).value(0)), "content");
}

TEST_F(AddCliTest, add_whatAnInterruptedCopyLeft_isReplaced)
{
    writeFile(cache.outside(u"local.raw"_s), "content");
    const auto path = start({ u"path"_s, reference });
    EXPECT_EQ(path->exitCode(), 3);
    writeFile(linesOf(path->output()).value(0), "half");
    const auto add = start({ u"add"_s, reference, cache.outside(u"local.raw"_s) });
    EXPECT_EQ(add->exitCode(), 0) << add->errors().toStdString();
    EXPECT_EQ(readFile(linesOf(add->output()).value(0)), "content");
}

TEST_F(AddCliTest, add_missingSource_failsAndNamesIt)
{
    const auto run = start({ u"add"_s, u"--json"_s, reference, cache.outside(u"missing.raw"_s) });
    EXPECT_EQ(run->exitCode(), 1);
    EXPECT_TRUE(run->errors().contains("missing.raw\" does not exist."));
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"CachedResources"_s), 0);
    EXPECT_EQ(jsonOf(run->output()).value(u"error"_s).toObject().value(u"code"_s).toInt(), 1);
}

TEST_F(AddCliTest, add_emptySource_isCode2AndEntersNothing)
{
    const auto run = start({ u"add"_s, reference, QString() });
    EXPECT_EQ(run->exitCode(), 2);
    EXPECT_TRUE(run->errors().contains("SOURCE must not be empty")) << run->errors().toStdString();
    EXPECT_FALSE(QFile::exists(cache.databasePath()));
}

TEST_F(AddCliTest, add_signalDuringTheCopy_leavesTheCacheInOrder)
{
    for (int i = 0; i < 20'000; ++i)
        writeFile(cache.outside(u"run.d/%1.txt"_s.arg(i)), "content");
    CacheDatabase database(cache.databasePath());
    for (const int signalNumber : { SIGINT, SIGTERM, SIGHUP }) {
        const auto run = start({ u"add"_s, reference, cache.outside(u"run.d"_s) });
        waitUntil([this] { return !incoming().isEmpty(); });
        run->sendSignal(signalNumber);
        EXPECT_EQ(run->exitCode(), 128 + signalNumber);
        EXPECT_EQ(run->output(), "");
        EXPECT_EQ(run->errors(), "zelcache: error: canceled\n");
        EXPECT_EQ(incoming(), QStringList());
        EXPECT_EQ(database.count(u"Clients"_s), 0);
        EXPECT_EQ(database.count(u"ResourceUsages"_s), 0);
        EXPECT_EQ(database.status(reference), u"Missing"_s);
    }
}

TEST_F(AddCliTest, add_atATerminal_showsWhatItCopies)
{
    writeFile(cache.outside(u"local.raw"_s), QByteArray(100'000, 'a'));
    const auto run = startAtTerminal({ u"add"_s, reference, cache.outside(u"local.raw"_s) });
    EXPECT_TRUE(run->waitFor("Copying local.raw"));
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_TRUE(run->seen().contains("100%")) << run->seen().right(1000).toStdString();
}

TEST_F(AddCliTest, add_whileItCopies_isAliveToOthers)
{
    for (int i = 0; i < 20'000; ++i)
        writeFile(cache.outside(u"run.d/%1.txt"_s.arg(i)), "content");
    const auto run = start({ u"add"_s, reference, cache.outside(u"run.d"_s) });
    waitUntil([this] { return !incoming().isEmpty(); });
    // Longer than from one ping to the next, which so comes as soon as the copy goes on.
    run->sendSignal(SIGSTOP);
    CacheDatabase database(cache.databasePath());
    const auto lastPing = [&database] {
        return database.value(u"SELECT lastPingTime FROM Clients"_s).toLongLong();
    };
    const qint64 before = lastPing();
    const QDeadlineTimer nextPing(5'500);
    waitUntil([&nextPing] { return nextPing.hasExpired(); });
    run->sendSignal(SIGCONT);
    waitUntil([&] { return lastPing() != before; });
    EXPECT_GT(lastPing(), before);
    EXPECT_FALSE(incoming().isEmpty()) << "the copy had ended before the ping came";
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130);
}

TEST_F(AddCliTest, add_localFileAsReference_isCode21)
{
    writeFile(cache.outside(u"local.raw"_s), "content");
    const auto run = start(
        { u"add"_s, u"file:"_s + cache.outside(u"local.raw"_s), cache.outside(u"local.raw"_s) });
    EXPECT_EQ(run->exitCode(), 21) << run->errors().toStdString();
}

} // namespace zel::test
