#include "ZelcacheCli.h"

#include "Printers.h"

#include <QDir>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class OpenFailureCliTest : public ZelcacheCli
{
protected:
    void expectCode8(const QStringList &arguments) const
    {
        const auto run = start(arguments);
        EXPECT_EQ(run->exitCode(), 8) << qPrintable(arguments.join(u' '));
        EXPECT_EQ(run->output(), "");
        EXPECT_TRUE(run->errors().contains(cache.baseDir().toUtf8()))
            << run->errors().toStdString();
    }
};

TEST_F(OpenFailureCliTest, everyCommand_garbageForADatabase_isCode8AndSaysWhere)
{
    const QByteArray garbage(10'000, 'x');
    writeFile(cache.databasePath(), garbage);
    const QString reference = sharedFile(u"a.raw"_s, "a");
    expectCode8({ u"get"_s, reference });
    expectCode8({ u"exists"_s, reference });
    expectCode8({ u"info"_s, reference });
    expectCode8({ u"path"_s, reference });
    expectCode8({ u"add"_s, reference, cache.outside(u"a.raw"_s) });
    expectCode8({ u"purge"_s });
    expectCode8({ u"outdated"_s });
    expectCode8({ u"policy"_s, reference, u"Never"_s });
    expectCode8({ u"remove"_s, reference });
    expectCode8({ u"list"_s });
    expectCode8({ u"status"_s });
    expectCode8({ u"recount"_s });
    expectCode8({ u"recount"_s, reference });
    EXPECT_EQ(readFile(cache.databasePath()), garbage);
}

TEST_F(OpenFailureCliTest, get_baseDirectoryIsAFile_isCode8)
{
    ASSERT_TRUE(QDir().rmdir(cache.baseDir()));
    writeFile(cache.baseDir(), "a file");
    expectCode8({ u"get"_s, sharedFile(u"a.raw"_s, "a") });
    ASSERT_TRUE(QFile::remove(cache.baseDir()));
}

TEST_F(OpenFailureCliTest, getAndList_whatStandsInTheWay_isNamedAsItIs)
{
    const QString reference = sharedFile(u"a.raw"_s, "a");
    const auto lastLines = [&](const QByteArray &expected) {
        for (const QStringList &command :
             { QStringList { u"get"_s, reference }, QStringList { u"list"_s } }) {
            const auto run = start(command);
            EXPECT_EQ(run->exitCode(), 8);
            EXPECT_TRUE(run->errors().endsWith(expected + '\n')) << run->errors().toStdString();
        }
    };
    const QByteArray database = cache.databasePath().toUtf8();
    writeFile(cache.databasePath(), QByteArray(10'000, 'x'));
    lastLines('"' + database + "\" is not a cache database.");
    ASSERT_TRUE(QFile::remove(cache.databasePath()));
    ASSERT_TRUE(QDir().mkdir(cache.databasePath()));
    lastLines('"' + database + "\": Is a directory");
    ASSERT_TRUE(QDir().rmdir(cache.databasePath()));
    ASSERT_TRUE(QDir().rmdir(cache.baseDir()));
    writeFile(cache.baseDir(), "a file");
    lastLines('"' + cache.baseDir().toUtf8() + "\": Not a directory");
    ASSERT_TRUE(QFile::remove(cache.baseDir()));
}

TEST_F(OpenFailureCliTest, get_json_hasTheReason)
{
    writeFile(cache.databasePath(), QByteArray(10'000, 'x'));
    const auto run = start({ u"get"_s, u"--json"_s, sharedFile(u"a.raw"_s, "a") });
    EXPECT_EQ(run->exitCode(), 8);
    const QJsonObject error = jsonOf(run->output()).value(u"error"_s).toObject();
    EXPECT_EQ(error.value(u"code"_s).toInt(), 8);
    EXPECT_FALSE(error.value(u"message"_s).toString().isEmpty());
}

} // namespace zel::test
