#include "ZelcacheCli.h"

#include "NginxServer.h"
#include "Printers.h"

#include <filesystem>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class GetVerifyCliTest : public ZelcacheCli
{
protected:
    std::unique_ptr<ProgramRun> get(const QStringList &references) const
    {
        return start(QStringList { u"get"_s, u"--verify"_s } + references);
    }
    QString fetch(const QString &reference) const
    {
        const auto run = start({ u"get"_s, reference });
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        return linesOf(run->output()).value(0);
    }
};

TEST_F(GetVerifyCliTest, getVerify_intactAndNotHereYet_printsBothPaths)
{
    const NginxServer server;
    server.addFile(u"new.raw"_s, "from afar");
    const QString here = sharedFile(u"a.raw"_s, "content");
    const QString path = fetch(here);
    const auto run = get({ here, server.url(u"new.raw"_s) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QStringList lines = linesOf(run->output());
    ASSERT_EQ(lines.size(), 2);
    EXPECT_EQ(lines.at(0), path);
    EXPECT_EQ(readFile(lines.at(1)), "from afar");
    EXPECT_EQ(run->errors(), "");
}

TEST_F(GetVerifyCliTest, getVerify_violated_isNotPrintedAndTheOthersAre)
{
    const QString damaged = sharedFile(u"a.raw"_s, "content");
    const QString good = sharedFile(u"b.raw"_s, "content");
    const std::filesystem::path path = fetch(damaged).toStdString();
    const auto time = std::filesystem::last_write_time(path);
    writeFile(QString::fromStdString(path), "cOntent");
    std::filesystem::last_write_time(path, time);
    const QString goodPath = fetch(good);

    const auto run = get({ damaged, good });
    EXPECT_EQ(run->exitCode(), 6);
    EXPECT_EQ(linesOf(run->output()), QStringList { goodPath });
    EXPECT_TRUE(run->errors().contains("a.raw differs from what was fetched"))
        << run->errors().toStdString();
    EXPECT_TRUE(run->errors().contains("zelcache remove " + damaged.toUtf8()))
        << run->errors().toStdString();

    EXPECT_EQ(start({ u"get"_s, damaged })->exitCode(), 0) << "nobody asked";
    ASSERT_EQ(start({ u"remove"_s, damaged })->exitCode(), 0);
    const auto again = get({ damaged });
    EXPECT_EQ(again->exitCode(), 0);
    EXPECT_EQ(readFile(linesOf(again->output()).value(0)), "content");
}

TEST_F(GetVerifyCliTest, getVerify_violated_isCode6InJson)
{
    const QString damaged = sharedFile(u"a.raw"_s, "content");
    ASSERT_TRUE(QFile::resize(fetch(damaged), 3));
    const auto run = get({ damaged, u"--json"_s });
    EXPECT_EQ(run->exitCode(), 6);
    const QJsonObject result = jsonOf(run->output()).value(u"results"_s).toArray().at(0).toObject();
    EXPECT_FALSE(result.contains(u"path"_s));
    EXPECT_EQ(result.value(u"error"_s).toObject().value(u"code"_s).toInt(), 6);
}

TEST_F(GetVerifyCliTest, getVerify_withoutAManifest_isPrintedWithAWarning)
{
    const QString reference = sharedFile(u"a.raw"_s, "content");
    ASSERT_EQ(start({ u"add"_s, reference, cache.outside(u"a.raw"_s) })->exitCode(), 0);
    const auto run = get({ reference });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(linesOf(run->output()).size(), 1);
    EXPECT_TRUE(run->errors().contains("cannot be verified")) << run->errors().toStdString();
}

TEST_F(GetVerifyCliTest, getVerify_fileUsedWhereItLies_isPrintedAsItIs)
{
    sharedFile(u"a.raw"_s, "content");
    const auto run = get({ u"file:"_s + cache.outside(u"a.raw"_s) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(linesOf(run->output()), QStringList { cache.outside(u"a.raw"_s) });
    EXPECT_EQ(run->errors(), "");
}

} // namespace zel::test
