#include "ZelcacheCli.h"

#include "Printers.h"

#include <QFile>
#include <QSystemSemaphore>

#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class ListStatusCliTest : public ZelcacheCli
{
protected:
    void fill()
    {
        reference = sharedFile(u"run1.raw"_s, QByteArray(2048, 'a'));
        const auto run = start({ u"get"_s, reference });
        ASSERT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    }

    /// The administrator may write everywhere: as him, the program runs as nobody.
    std::unique_ptr<ProgramRun> startWithoutPrivileges(const QStringList &arguments) const
    {
        if (::geteuid() != 0)
            return start(arguments);
        const QStringList nobody { u"--reuid=65534"_s, u"--regid=65534"_s, u"--clear-groups"_s };
        ProgramRun::Options options;
        options.environment = environment();
        return std::make_unique<ProgramRun>(
            u"setpriv"_s, nobody + QStringList { program() } + inCache(arguments), options);
    }

    /// Four resources, told by their references alone; the last one was never fetched.
    void fillWithVariety()
    {
        const auto run = start({ u"get"_s, sharedFile(u"b.raw"_s, QByteArray(10, 'a')),
                                 sharedFile(u"c.mzML"_s, QByteArray(3000, 'a')),
                                 sharedFile(u"a.mzml"_s, QByteArray(20, 'a')),
                                 u"share:"_s + cache.outside(u"none.mzML"_s) });
        ASSERT_EQ(run->exitCode(), 1) << run->errors().toStdString();
        CacheDatabase database(cache.databasePath());
        const auto accessed
            = u"UPDATE CachedResources SET lastAccessDateTime = ? WHERE reference LIKE ?"_s;
        database.run(accessed, { 3000, u"%b.raw"_s });
        database.run(accessed, { 1000, u"%c.mzML"_s });
        database.run(accessed, { 2000, u"%a.mzml"_s });
        database.run(accessed, { 4000, u"%none.mzML"_s });
    }

    /// The names of what is listed, in that order.
    QStringList listed(const QStringList &options) const
    {
        const auto run = start(QStringList { u"list"_s } + options);
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        QStringList names;
        for (const QString &line : linesOf(run->output()))
            names.append(line.section(u'/', -1));
        return names;
    }

    QString reference;
};

TEST_F(ListStatusCliTest, list_filledCache_showsItsResources)
{
    fill();
    const auto run = start({ u"list"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QStringList lines = linesOf(run->output());
    ASSERT_EQ(lines.size(), 1);
    EXPECT_TRUE(lines.at(0).startsWith(u"Ready  2.0 KiB  "_s)) << qPrintable(lines.at(0));
    EXPECT_TRUE(lines.at(0).endsWith(reference)) << qPrintable(lines.at(0));
}

TEST_F(ListStatusCliTest, list_json_tellsPathAndSize)
{
    fill();
    const auto run = start({ u"list"_s, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QJsonArray resources = jsonOf(run->output()).value(u"resources"_s).toArray();
    ASSERT_EQ(resources.size(), 1);
    const QJsonObject resource = resources.at(0).toObject();
    EXPECT_EQ(resource.value(u"reference"_s).toString(), reference);
    EXPECT_EQ(resource.value(u"size"_s).toInt(), 2048);
    EXPECT_EQ(readFile(resource.value(u"path"_s).toString()), QByteArray(2048, 'a'));
}

TEST_F(ListStatusCliTest, status_filledCache_showsSizesAndCounts)
{
    fill();
    const auto run = start({ u"status"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QByteArray output = run->output();
    EXPECT_TRUE(output.contains(cache.baseDir().toUtf8())) << output.toStdString();
    EXPECT_TRUE(output.contains("2.0 KiB of 10.0 GiB")) << output.toStdString();
    EXPECT_TRUE(output.contains("1 ready")) << output.toStdString();
}

TEST_F(ListStatusCliTest, listAndStatus_heldSemaphore_waitForNobody)
{
    fill();
    QSystemSemaphore semaphore(TemporaryCache::semaphoreKey(cache.baseDir()), 1,
                               QSystemSemaphore::Open);
    ASSERT_TRUE(semaphore.acquire());
    const auto list = start({ u"list"_s });
    EXPECT_EQ(list->exitCode(), 0) << list->errors().toStdString();
    const auto status = start({ u"status"_s, u"--json"_s });
    EXPECT_EQ(status->exitCode(), 0) << status->errors().toStdString();
    EXPECT_TRUE(jsonOf(status->output()).value(u"clients"_s).toArray().isEmpty());
    EXPECT_TRUE(semaphore.release());
}

TEST_F(ListStatusCliTest, listAndStatus_writerInATransaction_waitForNobody)
{
    fill();
    CacheDatabase writer(cache.databasePath());
    writer.run(u"BEGIN IMMEDIATE"_s);
    writer.run(u"UPDATE CachedResources SET status = 'Missing'"_s);
    const auto run = start({ u"list"_s });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_TRUE(run->output().startsWith("Ready"));
    writer.run(u"ROLLBACK"_s);
}

TEST_F(ListStatusCliTest, listAndStatus_always_leaveNoTrace)
{
    fill();
    CacheDatabase database(cache.databasePath());
    const auto highestClient = u"SELECT MAX(seq) FROM sqlite_sequence WHERE name = 'Clients'"_s;
    const QVariant before = database.value(highestClient);
    EXPECT_EQ(start({ u"list"_s })->exitCode(), 0);
    EXPECT_EQ(start({ u"status"_s })->exitCode(), 0);
    EXPECT_EQ(database.value(highestClient), before);
}

TEST_F(ListStatusCliTest, listAndStatus_noCache_areCode8AndMakeNone)
{
    for (const QString &command : { u"list"_s, u"status"_s }) {
        const auto run = start({ command, u"--json"_s });
        EXPECT_EQ(run->exitCode(), 8);
        EXPECT_TRUE(run->errors().contains(cache.baseDir().toUtf8()));
        EXPECT_EQ(jsonOf(run->output()).value(u"error"_s).toObject().value(u"code"_s).toInt(), 8);
    }
    EXPECT_FALSE(QFileInfo::exists(cache.databasePath()));
}

TEST_F(ListStatusCliTest, listAndStatus_cacheThatMayNotBeWritten_work)
{
    fill();
    const auto readable = QFile::ReadOwner | QFile::ReadOther;
    const auto open = readable | QFile::ExeOwner | QFile::ExeOther;
    ASSERT_TRUE(QFile::setPermissions(cache.databasePath(), readable));
    ASSERT_TRUE(QFile::setPermissions(cache.outside(QString()), open));
    ASSERT_TRUE(QFile::setPermissions(cache.baseDir(), open));
    for (const QString &command : { u"list"_s, u"status"_s }) {
        const auto run = startWithoutPrivileges({ command });
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        EXPECT_NE(run->output(), "");
    }
    const auto get = startWithoutPrivileges({ u"get"_s, reference });
    EXPECT_EQ(get->exitCode(), 8) << get->errors().toStdString();
    ASSERT_TRUE(QFile::setPermissions(cache.outside(QString()), open | QFile::WriteOwner));
    ASSERT_TRUE(QFile::setPermissions(cache.baseDir(), open | QFile::WriteOwner));
}

TEST_F(ListStatusCliTest, list_sorted_hasTheOrder)
{
    fillWithVariety();
    const QString none = u"none.mzML"_s;
    EXPECT_EQ(listed({}), (QStringList { u"b.raw"_s, u"c.mzML"_s, u"a.mzml"_s, none }));
    EXPECT_EQ(listed({ u"--sort"_s, u"size"_s }),
              (QStringList { u"c.mzML"_s, u"a.mzml"_s, u"b.raw"_s, none }));
    EXPECT_EQ(listed({ u"--sort"_s, u"Age"_s }),
              (QStringList { u"c.mzML"_s, u"a.mzml"_s, u"b.raw"_s, none }));
    EXPECT_EQ(listed({ u"--sort=name"_s }),
              (QStringList { u"a.mzml"_s, u"b.raw"_s, u"c.mzML"_s, none }));
}

TEST_F(ListStatusCliTest, list_filtered_combinesWithTheOrder)
{
    fillWithVariety();
    EXPECT_EQ(listed({ u"--status"_s, u"missing"_s }), QStringList { u"none.mzML"_s });
    EXPECT_EQ(
        listed({ u"--format"_s, u"MZML"_s, u"--sort"_s, u"name"_s, u"--status"_s, u"READY"_s }),
        (QStringList { u"a.mzml"_s, u"c.mzML"_s }));
    EXPECT_EQ(listed({ u"--format"_s, u"thermo"_s }), QStringList { u"b.raw"_s });
    EXPECT_EQ(listed({ u"--format"_s, u"Mgf"_s }), QStringList());
    EXPECT_EQ(listed({ u"--status"_s, u"Acquiring"_s }), QStringList());
}

TEST_F(ListStatusCliTest, list_filteredJson_hasTheSameShape)
{
    fillWithVariety();
    const auto run = start({ u"list"_s, u"--json"_s, u"--format"_s, u"mzml"_s, u"--sort"_s,
                             u"size"_s, u"--status"_s, u"ready"_s });
    EXPECT_EQ(run->exitCode(), 0);
    const QJsonArray resources = jsonOf(run->output()).value(u"resources"_s).toArray();
    ASSERT_EQ(resources.size(), 2);
    EXPECT_EQ(resources.at(0).toObject().value(u"size"_s).toInt(), 3000);
    EXPECT_EQ(resources.at(1).toObject().value(u"size"_s).toInt(), 20);
    EXPECT_EQ(resources.at(1).toObject().value(u"status"_s).toString(), u"Ready"_s);
}

TEST_F(ListStatusCliTest, list_unknownChoice_isCode2AndNamesTheChoices)
{
    const QList<QPair<QString, QByteArray>> choices {
        { u"--sort"_s, "There is no order \"red\", only size, age, name." },
        { u"--status"_s, "Missing, Ready, ScheduledForAcquire, Acquiring" },
        { u"--format"_s, "Mzml, Mzxml" },
    };
    for (const auto &[option, words] : choices) {
        const auto run = start({ u"list"_s, u"--json"_s, option, u"red"_s });
        EXPECT_EQ(run->exitCode(), 2);
        EXPECT_TRUE(run->errors().contains(words)) << run->errors().toStdString();
        EXPECT_EQ(jsonOf(run->output()).value(u"error"_s).toObject().value(u"code"_s).toInt(), 2);
    }
}

TEST_F(ListStatusCliTest, list_controlCharactersInAReference_doNotReachTheTerminal)
{
    fill();
    CacheDatabase(cache.databasePath())
        .run(
            u"UPDATE CachedResources SET reference = 'http://a/' || char(27) || '[2J' || char(155)"_s);
    const auto run = startAtTerminal({ u"list"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_FALSE(run->seen().contains('\x1b')) << run->seen().toStdString();
    EXPECT_TRUE(run->seen().contains("\\x1b[2J\\x9b")) << run->seen().toStdString();
}

TEST_F(ListStatusCliTest, list_references_areNothingButThat)
{
    fillWithVariety();
    const auto run = start({ u"list"_s, u"--references"_s, u"--format"_s, u"mzml"_s });
    EXPECT_EQ(run->exitCode(), 0);
    const QString beginning = u"share:"_s + cache.outside({});
    const QStringList lines = linesOf(run->output());
    EXPECT_EQ(lines.size(), 2);
    for (const QString &line : lines)
        EXPECT_TRUE(line.startsWith(beginning)) << line.toStdString();
}

TEST_F(ListStatusCliTest, list_null_endsLinesSo)
{
    fill();
    const auto run = start({ u"list"_s, u"-0"_s, u"--references"_s });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_EQ(run->output(), reference.toUtf8() + '\0');
}

} // namespace zel::test
