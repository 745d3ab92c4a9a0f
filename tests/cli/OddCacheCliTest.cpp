#include "ZelcacheCli.h"

#include "Printers.h"
#include "SemaphoreSets.h"

#include <QTest>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// Caches and settings that are not as a program leaves them.
class OddCacheCliTest : public ZelcacheCli
{
protected:
    void expectListAndStatusWork() const
    {
        for (const QString &command : { u"list"_s, u"status"_s }) {
            const auto run = start({ command });
            EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        }
    }

    void expectGetWorks() const
    {
        const auto run = start({ u"get"_s, sharedFile(u"a.raw"_s, "a") });
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        EXPECT_EQ(readFile(linesOf(run->output()).value(0)), "a");
    }

    /// Without --cache, so that the settings decide.
    std::unique_ptr<ProgramRun> startWithSettings(const QByteArray &settings,
                                                  const QStringList &arguments) const
    {
        writeFile(home.filePath(u"resource_manager_settings.ini"_s), settings);
        ProgramRun::Options options;
        options.environment = environment();
        return std::make_unique<ProgramRun>(program(), arguments, options);
    }
};

TEST_F(OddCacheCliTest, everyCommand_emptyDatabase_isAnEmptyCache)
{
    writeFile(cache.databasePath(), {});
    expectListAndStatusWork();
    expectGetWorks();
}

TEST_F(OddCacheCliTest, everyCommand_databaseOfAnOlderShape_keepsItsRows)
{
    for (const QString &name : { u"before-versions.sql"_s, u"before-scans.sql"_s }) {
        ASSERT_TRUE(!QFile::exists(cache.databasePath()) || QFile::remove(cache.databasePath()));
        const QString script = QStringLiteral(OLD_DATABASES "/") + name;
        for (const QByteArray &statement : readFile(script).split('\n')) {
            if (!statement.isEmpty() && !statement.startsWith("--"))
                CacheDatabase(cache.databasePath()).run(QString::fromUtf8(statement));
        }
        const int rows = CacheDatabase(cache.databasePath()).count(u"CachedResources"_s);
        EXPECT_GT(rows, 0);
        expectListAndStatusWork();
        expectGetWorks();
        EXPECT_GE(CacheDatabase(cache.databasePath()).count(u"CachedResources"_s), rows);
    }
}

TEST_F(OddCacheCliTest, get_databaseLockedByAnotherForAWhile_waitsForIt)
{
    expectGetWorks();
    const QString reference = sharedFile(u"b.raw"_s, "b");
    std::unique_ptr<ProgramRun> run;
    {
        CacheDatabase other(cache.databasePath());
        other.run(u"BEGIN EXCLUSIVE"_s);
        run = start({ u"get"_s, reference });
        // Long enough for a program that does not wait to have failed.
        EXPECT_FALSE(QTest::qWaitFor([&run] { return !run->errors().isEmpty(); }, 1500))
            << run->errors().toStdString();
        other.run(u"COMMIT"_s);
    }
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(readFile(linesOf(run->output()).value(0)), "b");
}

TEST_F(OddCacheCliTest, get_settingsAreNoise_usesTheDefaults)
{
    QByteArray noise;
    for (int i = 0; i < 5000; ++i)
        noise.append(char(i * 7919 >> 3));
    const auto run = startWithSettings(noise, { u"get"_s, sharedFile(u"a.raw"_s, "a") });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_TRUE(linesOf(run->output()).value(0).startsWith(home.path() + u'/'));
    removeSystemSemaphoreAtEnd(TemporaryCache::semaphoreKey(home.filePath(u"ResourceCache"_s)));
}

TEST_F(OddCacheCliTest, get_settingsMakeNoSense_areTakenAsTheyStand)
{
    const QByteArray settings = "[ResourceManager]\nCacheLocationPath=" + cache.baseDir().toUtf8()
        + "\nOptimalCacheSize=banana\nMaximumCacheSize=-5\n";
    const QStringList get { u"get"_s, sharedFile(u"a.raw"_s, "a") };
    const auto run = startWithSettings(settings, get);
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(readFile(linesOf(run->output()).value(0)), "a");
    removeSystemSemaphoreAtEnd(TemporaryCache::semaphoreKey(u"/dev/null/x"_s));
    const auto nowhere
        = startWithSettings("[ResourceManager]\nCacheLocationPath=/dev/null/x\n", get);
    EXPECT_EQ(nowhere->exitCode(), 8);
    EXPECT_TRUE(nowhere->errors().contains("/dev/null/x")) << nowhere->errors().toStdString();
}

} // namespace zel::test
