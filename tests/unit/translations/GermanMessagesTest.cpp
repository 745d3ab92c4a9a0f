#include "Printers.h"
#include "ResourceCacheReader.h"
#include "ResourceHandlerFactory.h"
#include "ScriptedServer.h"
#include "TemporaryCache.h"
#include "http/HttpTestSupport.h"
#include "support/TestReference.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

#include <functional>

namespace zel::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// The translations as a host program installs them.
class German
{
public:
    German()
    {
        install(manager, u"zel_resource_manager"_s);
        install(schemes, u"zel_resource_schemes"_s);
    }

private:
    static void install(QTranslator &translator, const QString &catalogue)
    {
        EXPECT_TRUE(translator.load(QLocale(u"de_AT"_s), catalogue, u"_"_s,
                                    QStringLiteral(ZEL_COMPILED_TRANSLATIONS)));
        EXPECT_TRUE(QCoreApplication::installTranslator(&translator));
    }

    QTranslator manager;
    QTranslator schemes;
};

QList<QByteArray> placesOf(const Error &error)
{
    QList<QByteArray> places;
    for (const Error::TracePoint &point : error.trail())
        places << point.function + ' ' + point.file + ':' + QByteArray::number(point.line);
    return places;
}

/// The failure in both languages: only its text may differ.
void expectGerman(const std::function<Error()> &fail, const QString &text)
{
    const Error english = fail();
    const German translations;
    const Error german = fail();
    EXPECT_TRUE(german.hasError());
    EXPECT_EQ(german.errorCode(), english.errorCode());
    EXPECT_EQ(placesOf(german), placesOf(english));
    EXPECT_FALSE(german.trail().isEmpty());
    EXPECT_EQ(german.errorMessage(), text);
    EXPECT_NE(english.errorMessage(), text);
}

TEST(GermanMessagesTest, read_missingCache_saysSoInGerman)
{
    const TemporaryCache cache;
    const QString path = cache.outside(u"nothing.db"_s);
    expectGerman([&path] { return ResourceCacheReader(path).read().error(); },
                 u"Es gibt keine Cache-Datenbank „%1“."_s.arg(path));
}

TEST(GermanMessagesTest, fromString_unknownScheme_namesTheKnownOnes)
{
    registerTestSchemes();
    expectGerman([] { return ResourceReference::fromString(u"nowhere:/a"_s).error(); },
                 u"Referenzen mit dem Schema „nowhere“ sind nicht bekannt. "
                 "Bekannte Schemata: near, other, test."_s);
}

TEST(GermanMessagesTest, create_schemeWithoutHandler_saysSoInGerman)
{
    registerTestSchemes();
    const auto reference = testReference(u"a"_s);
    expectGerman([&] { return ResourceHandlerFactory::create(reference, nullptr).error(); },
                 u"Ressourcen mit dem Schema „Host1“ werden nicht unterstützt."_s);
}

TEST(GermanMessagesTest, download_refusedByTheServer_keepsWhatTheServerSaid)
{
    const ScriptedServer server([](const auto &, auto &connection) {
        connection.send(ScriptedServer::answer("404 Not Found", "", ""));
    });
    const HttpClient client { QuickSettings() };
    FileSink sink;
    expectGerman([&] { return client.download(targetOf(server.url()), &sink, HttpWatch()); },
                 u"the file kann nicht abgerufen werden: der Server antwortete 404 Not Found"_s);
}

TEST(GermanMessagesTest, translator_gone_speaksEnglishAgain)
{
    const auto message = [] {
        return ResourceHandlerFactory::create(nullptr, nullptr).error().errorMessage();
    };
    {
        const German translations;
        EXPECT_EQ(message(), u"Es wurde keine Referenz übergeben."_s);
    }
    EXPECT_EQ(message(), u"Null reference provided."_s);
}

} // namespace
} // namespace zel::test
