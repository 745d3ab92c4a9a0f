#include "plan/SourceSizes.h"

#include "Printers.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"
#include "ScriptedServer.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QTemporaryDir>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;
using namespace std::chrono_literals;

namespace {

/// With a manager that has no cache.
class SourceSizesTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        registerResourceSchemes();
        ResourceManagerSettings settings;
        settings.cachePath.setBaseDirPath({});
        ResourceManager::overrideDefaultSettings(settings);
    }

    static QSharedPointer<ResourceHandler> handlerOf(const QString &reference)
    {
        const auto handler = ResourceManager::getHandler(reference);
        EXPECT_TRUE(handler.hasValue());
        return handler.value();
    }
    QSharedPointer<ResourceHandler> shared(const QString &name, const QByteArray &content) const
    {
        test::writeFile(folder.filePath(name), content);
        return handlerOf(u"share:"_s + folder.filePath(name));
    }

    QTemporaryDir folder;
    Output output { {} };
};

} // namespace

TEST_F(SourceSizesTest, askForSizes_nobody_answersNothing)
{
    EXPECT_TRUE(askForSizes({}, output).missing.isEmpty());
}

TEST_F(SourceSizesTest, askForSizes_several_keepTheirOrder)
{
    const auto sizes = askForSizes({ shared(u"a"_s, "content"), handlerOf(u"share:/no/such/file"_s),
                                     shared(u"b"_s, ""), shared(u"c.d/inner"_s, "abc") },
                                   output);
    ASSERT_EQ(sizes.missing.size(), 4);
    EXPECT_EQ(sizes.missing.at(0).size, 7);
    EXPECT_TRUE(sizes.missing.at(0).reference.endsWith(u"/a"_s));
    EXPECT_EQ(sizes.missing.at(1).size, std::nullopt);
    EXPECT_EQ(sizes.missing.at(1).reference, u"share:/no/such/file"_s);
    EXPECT_NE(sizes.missing.at(1).reason, u""_s);
    EXPECT_EQ(sizes.missing.at(2).size, 0);
    EXPECT_EQ(sizes.missing.at(3).size, 3);
    EXPECT_EQ(sizes.signalNumber, 0);
}

TEST_F(SourceSizesTest, askForSizes_silentSource_isNotWaitedForBeyondThePatience)
{
    const test::ScriptedServer server([](const auto &, auto &connection) { connection.stall(); });
    const auto sizes = askForSizes(
        { handlerOf(server.url(u"run.raw"_s)), shared(u"a"_s, "content") }, output, 1ms);
    EXPECT_EQ(sizes.missing.at(0).size, std::nullopt);
    EXPECT_EQ(sizes.missing.at(0).reason, u"Its source has not answered in time."_s);
    EXPECT_EQ(sizes.missing.at(1).reference,
              shared(u"a"_s, "content")->reference()->referenceText(false));
    EXPECT_EQ(sizes.signalNumber, 0);
}

TEST_F(SourceSizesTest, askForSizes_sourceWithoutASize_isUnknown)
{
    const test::ScriptedServer server([](const auto &, auto &connection) {
        connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
    });
    const auto sizes = askForSizes({ handlerOf(server.url(u"run.raw"_s)) }, output);
    EXPECT_EQ(sizes.missing.at(0).size, std::nullopt);
    EXPECT_EQ(sizes.missing.at(0).reason, u"Its source tells no size."_s);
}

TEST_F(SourceSizesTest, askWhatIsNowhere_onlyASourceThatSaysNo_isBelieved)
{
    const test::ScriptedServer server([](const auto &, auto &connection) {
        connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n\r\n");
    });
    const test::ScriptedServer broken([](const auto &, auto &) {});
    const QList<QSharedPointer<ResourceHandler>> handlers { shared(u"a"_s, "content"),
                                                            handlerOf(u"share:/no/such/file"_s),
                                                            handlerOf(server.url(u"run.raw"_s)),
                                                            handlerOf(broken.url(u"run.raw"_s)) };
    auto sizes = askForSizes(handlers, output);
    askWhatIsNowhere(handlers, sizes);
    QList<bool> nowhere;
    for (const auto &each : sizes.missing)
        nowhere.append(each.isNowhere);
    EXPECT_EQ(nowhere, (QList<bool> { false, true, false, false }));
}

} // namespace zel::cli
