#include "ZelcacheCli.h"

#include "NginxServer.h"
#include "Printers.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// The commands that ask about resources and fetch nothing.
class AskCliTest : public ZelcacheCli
{
};

TEST_F(AskCliTest, exists_mixedAnswers_areLinesAndCode3)
{
    const NginxServer server;
    server.addFile(u"there.raw"_s, "content");
    const auto run
        = start({ u"exists"_s, server.url(u"there.raw"_s), server.url(u"missing.raw"_s) });
    EXPECT_EQ(run->exitCode(), 3) << run->errors().toStdString();
    EXPECT_EQ(linesOf(run->output()),
              (QStringList { u"yes "_s + server.url(u"there.raw"_s),
                             u"no "_s + server.url(u"missing.raw"_s) }));
}

TEST_F(AskCliTest, exists_allThere_isCode0AndFetchesNothing)
{
    const QString reference = sharedFile(u"a.raw"_s, "a");
    EXPECT_EQ(start({ u"exists"_s, reference })->exitCode(), 0);
    EXPECT_EQ(start({ u"path"_s, reference })->exitCode(), 3);
}

TEST_F(AskCliTest, exists_quiet_answersByItsCode)
{
    const auto run = start({ u"exists"_s, u"-q"_s, sharedFile(u"a.raw"_s, "a") });
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_EQ(run->output(), "");
}

TEST_F(AskCliTest, exists_uselessReference_outranksTheOthers)
{
    const auto run = start(
        { u"exists"_s, u"--json"_s, u"nonsense"_s, u"share:"_s + cache.outside(u"missing"_s) });
    EXPECT_EQ(run->exitCode(), 2);
    const QJsonArray results = jsonOf(run->output()).value(u"results"_s).toArray();
    ASSERT_EQ(results.size(), 2);
    EXPECT_EQ(results.at(0).toObject().value(u"error"_s).toObject().value(u"code"_s).toInt(), 2);
    EXPECT_FALSE(results.at(1).toObject().value(u"exists"_s).toBool(true));
}

TEST_F(AskCliTest, path_beforeAndAfterTheFetch_isTheSame)
{
    const QString reference = sharedFile(u"a.raw"_s, "a");
    const auto before = start({ u"path"_s, reference });
    EXPECT_EQ(before->exitCode(), 3);
    const auto fetch = start({ u"get"_s, reference });
    EXPECT_EQ(fetch->exitCode(), 0) << fetch->errors().toStdString();
    const auto after = start({ u"path"_s, reference });
    EXPECT_EQ(after->exitCode(), 0);
    EXPECT_EQ(before->output(), fetch->output());
    EXPECT_EQ(after->output(), fetch->output());
}

TEST_F(AskCliTest, path_json_saysWhetherItIsThere)
{
    const auto run = start({ u"path"_s, u"--json"_s, sharedFile(u"a.raw"_s, "a") });
    EXPECT_EQ(run->exitCode(), 3);
    const QJsonObject answer = jsonOf(run->output());
    EXPECT_FALSE(answer.value(u"available"_s).toBool(true));
    EXPECT_TRUE(answer.value(u"path"_s).toString().endsWith(u"/a.raw"_s));
}

TEST_F(AskCliTest, path_uselessReference_isCode2WithAJsonError)
{
    const auto run = start({ u"path"_s, u"--json"_s, u"nonsense"_s });
    EXPECT_EQ(run->exitCode(), 2);
    const QJsonObject error = jsonOf(run->output()).value(u"error"_s).toObject();
    EXPECT_EQ(error.value(u"code"_s).toInt(), 2);
}

TEST_F(AskCliTest, info_resource_isDescribedByItsSourceAndTheCache)
{
    const NginxServer server;
    server.addFile(u"run1.raw"_s, QByteArray(2048, 'a'));
    const auto run = start({ u"info"_s, u"--json"_s, server.url(u"run1.raw"_s) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QJsonObject answer = jsonOf(run->output());
    const QJsonObject metadata = answer.value(u"metadata"_s).toObject();
    EXPECT_EQ(metadata.value(u"name"_s).toString(), u"run1.raw"_s);
    EXPECT_EQ(metadata.value(u"itemType"_s).toString(), u"File"_s);
    EXPECT_EQ(metadata.value(u"details"_s).toObject().value(u"Size"_s).toString(), u"2048"_s);
    EXPECT_FALSE(answer.value(u"available"_s).toBool(true));
    EXPECT_EQ(answer.value(u"cached"_s).toObject().value(u"status"_s).toString(), u"Missing"_s);
}

TEST_F(AskCliTest, info_text_namesSizeAndPath)
{
    const auto run = start({ u"info"_s, sharedFile(u"run1.raw"_s, QByteArray(2048, 'a')) });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_TRUE(run->output().contains("2.0 KiB")) << run->output().toStdString();
    EXPECT_TRUE(run->output().contains("run1.raw"));
    EXPECT_TRUE(run->output().contains("Is there:     no"));
}

TEST_F(AskCliTest, info_missingResource_fails)
{
    const auto run = start({ u"info"_s, u"share:"_s + cache.outside(u"missing"_s) });
    EXPECT_EQ(run->exitCode(), 1);
    EXPECT_EQ(run->output(), "");
    EXPECT_NE(run->errors(), "");
}

TEST_F(AskCliTest, info_sourceGoneButCached_isDescribedWithAWarning)
{
    const QString reference = sharedFile(u"a.raw"_s, "a");
    EXPECT_EQ(start({ u"get"_s, reference })->exitCode(), 0);
    EXPECT_TRUE(QFile::remove(cache.outside(u"a.raw"_s)));
    const auto run = start({ u"info"_s, reference });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_TRUE(run->output().contains("Is there:     yes")) << run->output().toStdString();
    EXPECT_TRUE(run->errors().contains("warning")) << run->errors().toStdString();
}

} // namespace zel::test
