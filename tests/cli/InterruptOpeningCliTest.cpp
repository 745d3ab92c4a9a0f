#include "RemovalCli.h"

#include "Printers.h"

#include <QDateTime>
#include <QFileInfo>
#include <QSystemSemaphore>

#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Each command that takes part in the cache, with a signal while it opens that.
class InterruptOpeningCliTest : public RemovalCli, public testing::WithParamInterface<const char *>
{
protected:
    void SetUp() override
    {
        reference = fill({ 1000 }).first();
        // So that doctor has something to repair; it is taken out by whoever opens the cache.
        database().run(u"INSERT INTO Clients(processId, lastPingTime) VALUES (?, ?)"_s,
                       { nobody, QDateTime::currentMSecsSinceEpoch() - 60'000 });
    }

    CacheDatabase database() const { return CacheDatabase(cache.databasePath()); }

    std::unique_ptr<ProgramRun> started(const QStringList &more = {}) const
    {
        QStringList arguments = QString::fromLatin1(GetParam()).split(u' ');
        arguments.replaceInStrings(u"REF"_s, reference);
        arguments.replaceInStrings(u"FILE"_s, pathOf(reference));
        return start(arguments + more);
    }

    int rowsOf(const ProgramRun &run) const
    {
        return database()
            .value(u"SELECT COUNT(*) FROM Clients WHERE processId = ?"_s, { run.processId() })
            .toInt();
    }

    void expectUntouched() const
    {
        EXPECT_EQ(database().status(reference), u"Ready"_s);
        EXPECT_EQ(policyOf(reference), u"OnDemand"_s);
        EXPECT_TRUE(QFileInfo::exists(pathOf(reference)));
    }

    static constexpr qint64 nobody = 2'147'483'000; ///< a number that no process has
    QString reference;
};

} // namespace

TEST_P(InterruptOpeningCliTest, interrupt_whileItWaitsForTheLock_endsAtOnceWithoutARow)
{
    QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1,
                               QSystemSemaphore::Open);
    ASSERT_TRUE(semaphore.acquire());
    const auto run = started({ u"-vv"_s });
    // The last word before it waits.
    waitUntil([&run] { return run->errors().contains("System semaphore key set"); });
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130);
    EXPECT_EQ(rowsOf(*run), 0);
    EXPECT_TRUE(semaphore.release());
    expectUntouched();
}

TEST_P(InterruptOpeningCliTest, interrupt_onceItsRowIsThere_takesTheRowBackAndDoesNothing)
{
    // The row is there, and the opening goes on for a while: to take the dead out takes long.
    database().run(u"CREATE TRIGGER slowBurial AFTER DELETE ON Clients WHEN OLD.processId = %1 "
                   "BEGIN %2 %2 %2 END"_s.arg(nobody)
                       .arg(u"SELECT length(hex(randomblob(40000000)));"_s));
    const auto run = started();
    waitUntil([this, &run] { return rowsOf(*run) == 1; });
    run->sendSignal(SIGINT);
    EXPECT_EQ(run->exitCode(), 130) << run->errors().toStdString();
    EXPECT_TRUE(run->errors().contains("canceled")) << run->errors().toStdString();
    EXPECT_EQ(rowsOf(*run), 0);
    EXPECT_EQ(database().count(u"Clients"_s), 0);
    expectUntouched();
}

INSTANTIATE_TEST_SUITE_P(Each, InterruptOpeningCliTest,
                         testing::Values("get REF", "hold --for 1h REF", "exists REF", "info REF",
                                         "path REF", "add share:/new.raw FILE", "purge --to 0",
                                         "outdated", "remove REF", "policy REF Never",
                                         "recount REF", "recount", "doctor --repair"),
                         [](const auto &command) {
                             const QString name = QString::fromLatin1(command.param);
                             return std::to_string(command.index)
                                 + name.section(u' ', 0, 0).toStdString();
                         });

} // namespace zel::test
