#include "ReadingCli.h"

#include "Printers.h"

#include <QFile>
#include <QFileInfo>

#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class HoldCliTest : public ReadingCli
{
protected:
    std::unique_ptr<ProgramRun> hold(const QStringList &options, const QString &script) const
    {
        return start(QStringList { u"hold"_s } + options
                     + QStringList { u"--"_s, u"bash"_s, u"-c"_s, script });
    }

    /// Runs the script while it holds the reference, and waits until it says "up".
    std::unique_ptr<ProgramRun> held(const QStringList &options, const QString &script)
    {
        auto run = hold(options, script);
        waitUntil([&run] { return run->output().contains("up\n"); });
        return run;
    }

    QJsonArray holders(const QString &reference) const
    {
        return answerWhileHeld({ u"who"_s, reference }).value(u"holders"_s).toArray();
    }

    /// Tells each of the two signals by its exit code.
    const QString waitingScript = u"trap 'exit 42' TERM; trap 'exit 43' INT; echo up; "
                                  "while :; do sleep 0.05; done"_s;
    const QString reference = sharedFile(u"run.raw"_s, "content of the run");
};

TEST_F(HoldCliTest, hold_command_hasTheDataAndItsCodeIsPassedOn)
{
    const auto run = hold({ reference }, u"cat \"$ZELCACHE_PATHS\"; echo said >&2; exit 7"_s);
    EXPECT_EQ(run->exitCode(), 7);
    EXPECT_EQ(run->output(), "content of the run");
    EXPECT_EQ(run->errors(), "said\n");
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"ResourceUsages"_s), 0);
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"Clients"_s), 0);
}

TEST_F(HoldCliTest, hold_marks_becomeThePathsAndInputIsTheCommands)
{
    const QString other = sharedFile(u"other.raw"_s, "other");
    ProgramRun::Options options;
    options.input = "typed";
    const auto run
        = start({ u"hold"_s, reference, other, u"--"_s, u"bash"_s, u"-c"_s,
                  u"cat; printf ' %s' \"$@\""_s, u"bash"_s, u"{}"_s, u"--for"_s, u"-x"_s },
                options);
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QString expected = u"typed %1 %2 --for -x"_s.arg(pathOf(reference), pathOf(other));
    EXPECT_EQ(QString::fromUtf8(run->output()), expected);
}

TEST_F(HoldCliTest, hold_whileTheCommandRuns_thePurgeOfAnotherProgramLeavesItAlone)
{
    fill({ 500, 700 });
    auto run = held({ reference }, waitingScript);
    const QJsonArray users = holders(reference);
    ASSERT_EQ(users.size(), 1);
    EXPECT_EQ(users.at(0)[u"process"_s].toInteger(), run->processId());
    EXPECT_EQ(users.at(0)[u"program"_s].toString(), u"zelcache"_s);

    EXPECT_EQ(start({ u"purge"_s, u"--to"_s, u"0"_s })->exitCode(), 3);
    EXPECT_EQ(readyReferences(), QStringList { reference });
    EXPECT_EQ(readFile(pathOf(reference)), "content of the run");

    run->sendSignal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 42);
    EXPECT_EQ(start({ u"purge"_s, u"--to"_s, u"0"_s })->exitCode(), 0);
    EXPECT_TRUE(readyReferences().isEmpty());
}

TEST_F(HoldCliTest, hold_whileTheCommandRuns_thePingGoesOn)
{
    auto run = held({ reference }, waitingScript);
    CacheDatabase database(cache.databasePath());
    database.run(u"UPDATE Clients SET lastPingTime = 1"_s);
    const auto lastPing = u"SELECT lastPingTime FROM Clients"_s;
    waitUntil([&] { return database.value(lastPing).toLongLong() > 1; });
    run->sendSignal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 42);
}

TEST_F(HoldCliTest, hold_signals_reachTheCommandEachTime)
{
    auto run = held({ reference },
                    u"trap 'echo int' INT; trap 'exit 42' TERM; echo up; "
                    "while :; do sleep 0.05; done"_s);
    for (int count = 1; count <= 2; ++count) {
        run->sendSignal(SIGINT);
        waitUntil([&run, count] { return run->output().count("int\n") == count; });
    }
    run->sendSignal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 42);
}

TEST_F(HoldCliTest, hold_interruptAtTheTerminal_reachesTheCommandOnce)
{
    const auto run = startAtTerminal({ u"hold"_s, reference, u"--"_s, u"bash"_s, u"-c"_s,
                                       u"trap 'echo got-int' INT; trap 'exit 42' TERM; echo up; "
                                       "while :; do sleep 0.05; done"_s });
    ASSERT_TRUE(run->waitFor("up"));
    run->type("\x03");
    ASSERT_TRUE(run->waitFor("got-int"));
    ASSERT_EQ(::kill(pid_t(run->processId()), SIGTERM), 0);
    EXPECT_EQ(run->exitCode(), 42);
    EXPECT_EQ(run->seen().count("got-int"), 1) << run->seen().toStdString();
}

TEST_F(HoldCliTest, hold_commandDiesOfASignal_isCode128AndItsNumber)
{
    EXPECT_EQ(hold({ reference }, u"kill -KILL $$"_s)->exitCode(), 128 + SIGKILL);
}

TEST_F(HoldCliTest, hold_commandThatCannotBeStarted_isCode127Or126)
{
    const auto none = start({ u"hold"_s, reference, u"--"_s, u"no-such-program"_s });
    EXPECT_EQ(none->exitCode(), 127);
    EXPECT_TRUE(none->errors().contains("no-such-program")) << none->errors().toStdString();
    EXPECT_EQ(start({ u"hold"_s, reference, u"--"_s, u"/no/such/program"_s })->exitCode(), 127);
    const auto folder = start({ u"hold"_s, reference, u"--"_s, cache.baseDir() });
    EXPECT_EQ(folder->exitCode(), 126);
    EXPECT_TRUE(folder->errors().endsWith("cannot be started: Is a directory\n"))
        << folder->errors().toStdString();
    writeFile(cache.outside(u"script"_s), "no program\n");
    const auto script = start({ u"hold"_s, reference, u"--"_s, cache.outside(u"script"_s) });
    EXPECT_EQ(script->exitCode(), 126);
    EXPECT_TRUE(script->errors().endsWith("cannot be started: Permission denied\n"))
        << script->errors().toStdString();
    writeFile(cache.outside(u"bad"_s), "#!/no/such/interpreter\n");
    QFile::setPermissions(cache.outside(u"bad"_s), QFile::Permissions(0x7755));
    EXPECT_EQ(start({ u"hold"_s, reference, u"--"_s, cache.outside(u"bad"_s) })->exitCode(), 126);
}

TEST_F(HoldCliTest, hold_resourceThatCannotBeHad_startsNothing)
{
    const auto run = hold({ reference, u"share:/no/such/file"_s }, u"echo started"_s);
    EXPECT_EQ(run->exitCode(), 1);
    EXPECT_EQ(run->output(), "");
    EXPECT_NE(run->errors(), "");
}

TEST_F(HoldCliTest, hold_timeIsOver_theCommandIsTerminatedAndItsCodePassedOn)
{
    const auto run = hold({ u"--for"_s, u"4s"_s, reference }, waitingScript);
    EXPECT_EQ(run->exitCode(), 42);
    EXPECT_EQ(run->output(), "up\n");
}

TEST_F(HoldCliTest, hold_commandTakesItsTimeAfterTheTerm_isStillHeldAndWaitedFor)
{
    const QString permission = cache.outside(u"go"_s);
    const auto run = hold({ u"--for"_s, u"4s"_s, reference },
                          u"trap 'echo term' TERM; echo up; until [ -e '%1' ]; do sleep 0.05; "
                          "done; cat \"$ZELCACHE_PATHS\"; exit 9"_s.arg(permission));
    waitUntil([&run] { return run->output().contains("term\n"); });
    EXPECT_EQ(holders(reference).size(), 1);
    writeFile(permission, "");
    EXPECT_EQ(run->exitCode(), 9);
    EXPECT_EQ(run->output(), "up\nterm\ncontent of the run");
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"ResourceUsages"_s), 0);
}

TEST_F(HoldCliTest, hold_hangup_isHandedOnAndTheCommandWaitedFor)
{
    auto run = held({ reference },
                    u"trap 'echo hup' HUP; trap 'exit 42' TERM; echo up; "
                    "while :; do sleep 0.05; done"_s);
    for (int count = 1; count <= 2; ++count) {
        run->sendSignal(SIGHUP);
        waitUntil([&run, count] { return run->output().count("hup\n") == count; });
    }
    EXPECT_EQ(holders(reference).size(), 1);
    run->sendSignal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 42);
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"Clients"_s), 0);
}

TEST_F(HoldCliTest, hold_terminalIsGone_theCommandIsToldAndWaitedFor)
{
    const QString told = cache.outside(u"told"_s);
    auto run = startAtTerminal({ u"hold"_s, reference, u"--"_s, u"bash"_s, u"-c"_s,
                                 u"trap 'touch \"%1\"; exit 0' HUP; echo up; "
                                 "while :; do sleep 0.05; done"_s.arg(told) });
    ASSERT_TRUE(run->waitFor("up"));
    run->hangUp();
    CacheDatabase database(cache.databasePath());
    waitUntil([&] {
        return QFile::exists(told) && database.count(u"ResourceUsages"_s) == 0
            && database.count(u"Clients"_s) == 0;
    });
}

TEST_F(HoldCliTest, hold_signalBeforeTheCommand_endsWithoutItAndWithoutRows)
{
    // At every moment of the way: none of them leaves rows behind.
    CacheDatabase database(cache.databasePath());
    ASSERT_EQ(start({ u"get"_s, reference })->exitCode(), 0);
    for (int moment = 0; moment < 12; ++moment) {
        QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1,
                                   QSystemSemaphore::Open);
        const auto run
            = hold({ reference }, u"trap 'exit 143' TERM; while :; do sleep 0.02; done"_s);
        waitUntil([&database] { return database.count(u"Clients"_s) == 1; });
        for (int hold = 0; hold < moment; ++hold) {
            ASSERT_TRUE(semaphore.acquire());
            ASSERT_TRUE(semaphore.release());
        }
        waitUntil([&database] { return database.count(u"ResourceUsages"_s) == 1; });
        run->sendSignal(SIGTERM);
        EXPECT_EQ(run->exitCode(), 143) << moment;
        EXPECT_EQ(database.count(u"ResourceUsages"_s), 0) << moment;
        EXPECT_EQ(database.count(u"Clients"_s), 0) << moment;
    }
}

TEST_F(HoldCliTest, hold_withoutACommand_printsThePathAndEndsWithTheTime)
{
    const auto run = start({ u"hold"_s, u"--for"_s, u"1"_s, reference });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(linesOf(run->output()), QStringList { pathOf(reference) });
}

TEST_F(HoldCliTest, hold_withoutACommand_holdsUntilASignal)
{
    const auto run = start({ u"hold"_s, reference, u"--json"_s });
    waitUntil([&run] { return run->output().contains('\n'); });
    EXPECT_EQ(holders(reference).size(), 1);
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130);
    EXPECT_EQ(jsonOf(run->output()).value(u"results"_s)[0][u"path"_s].toString(),
              pathOf(reference));
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"ResourceUsages"_s), 0);
}

TEST_F(HoldCliTest, hold_whatCannotFit_isCode7AndStartsNothing)
{
    const QByteArray settings = settingsWith(10, 15); // of 18 bytes
    const QStringList command { u"--"_s, u"echo"_s, u"started"_s };
    const auto run = startWithSettings(settings, QStringList { u"hold"_s, reference } + command);
    EXPECT_EQ(run->exitCode(), 7) << run->errors().toStdString();
    EXPECT_EQ(run->output(), "");
    EXPECT_TRUE(readyReferences().isEmpty());

    const auto forced
        = startWithSettings(settings, QStringList { u"hold"_s, u"--force"_s, reference } + command);
    EXPECT_EQ(forced->exitCode(), 0) << forced->errors().toStdString();
    EXPECT_EQ(forced->output(), "started\n");
}

TEST_F(HoldCliTest, hold_fitsOnlyAfterEviction_makesRoomFirst)
{
    const QStringList here = fill({ 600, 600 });
    const auto run = startWithSettings(settingsWith(1200, 1210),
                                       { u"hold"_s, reference, u"--"_s, u"echo"_s, u"started"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(run->output(), "started\n");
    EXPECT_EQ(readyReferences(), (QStringList { here.at(1), reference }));
}

TEST_F(HoldCliTest, hold_badUsage_isCode2AndFetchesNothing)
{
    for (const QStringList &arguments :
         { QStringList { u"hold"_s },
           { u"hold"_s, u"--"_s, u"true"_s },
           { u"hold"_s, reference, u"--"_s },
           { u"hold"_s, reference, u"--for"_s, u"soon"_s },
           { u"hold"_s, reference, u"--for"_s, u"0"_s },
           { u"hold"_s, reference, u"--for"_s, u"1e1"_s },
           { u"--json"_s, u"hold"_s, reference, u"--"_s, u"true"_s } }) {
        const auto run = start(arguments);
        EXPECT_EQ(run->exitCode(), 2) << qPrintable(arguments.join(u' '));
    }
    EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
}

} // namespace zel::test
