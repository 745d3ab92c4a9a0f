#include "errors/Tracer.h"
#include "errors/RetrievalTracing.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

QJsonArray eventsOf(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly));
    return QJsonDocument::fromJson(file.readAll()).array();
}

} // namespace

TEST(TracerTest, spans_initialized_reachTheFile)
{
    const QTemporaryDir directory;
    const QString path = directory.filePath(u"trace.json"_s);
    ASSERT_TRUE(Tracer::initialize(path));
    EXPECT_TRUE(Tracer::isInitialized());
    EXPECT_FALSE(Tracer::initialize(path));
    Tracer::beginTraceC("category", "name", "key", Tracer::rawData(u"välue"_s));
    Tracer::endTraceC("category", "name", "key", Tracer::rawData(QByteArray("v")));
    Tracer::shutdown();
    EXPECT_FALSE(Tracer::isInitialized());

    const QJsonArray events = eventsOf(path);
    ASSERT_EQ(events.size(), 2);
    EXPECT_EQ(events.at(0)[u"ph"_s].toString(), u"B"_s);
    EXPECT_EQ(events.at(0)[u"cat"_s].toString(), u"category"_s);
    EXPECT_EQ(events.at(0)[u"args"_s][u"key"_s].toString(), u"välue"_s);
    EXPECT_EQ(events.at(1)[u"ph"_s].toString(), u"E"_s);
    EXPECT_GE(events.at(1)[u"ts"_s].toInteger(), events.at(0)[u"ts"_s].toInteger());
}

TEST(TracerTest, initialize_unwritablePath_staysOff)
{
    EXPECT_FALSE(Tracer::initialize(u"/nonexistent/trace.json"_s));
    EXPECT_FALSE(Tracer::isInitialized());
    Tracer::beginTraceC("c", "n", "k", "v"); // harmless
}

TEST(TracerTest, isCategoryEnabled_unknown_isFalseUntilEnabled)
{
    EXPECT_FALSE(tracer_categories_settings::isCategoryEnabled(u"X"));
    tracer_categories_settings::setCategoryEnabled(u"X", true);
    EXPECT_TRUE(tracer_categories_settings::isCategoryEnabled(u"X"));
    tracer_categories_settings::setCategoryEnabled(u"X", false);
    EXPECT_FALSE(tracer_categories_settings::isCategoryEnabled(u"X"));
}

TEST(TracerTest, isRetrievalTracingActive_enabledAfterFirstQuestion_staysOff)
{
    EXPECT_FALSE(isRetrievalTracingActive());

    const QTemporaryDir directory;
    tracer_categories_settings::setCategoryEnabled(u"RESOURCE_RETRIEVAL", true);
    ASSERT_TRUE(Tracer::initialize(directory.filePath(u"t.json"_s)));
    EXPECT_FALSE(isRetrievalTracingActive());
    Tracer::shutdown();
    tracer_categories_settings::setCategoryEnabled(u"RESOURCE_RETRIEVAL", false);
}
