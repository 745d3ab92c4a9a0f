#include "LogCapture.h"
#include "Proof.h"
#include "TemporaryCache.h"
#include "Together.h"
#include "errors/Logging.h"
#include "errors/Tracer.h"
#include "integrity/ManifestStore.h"
#include "references/ResourceReferenceUtils.h"
#include "settings/SettingsInterface.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSettings>

#include <map>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// One number of a file that several threads keep their numbers in.
class NumberSettings : public SettingsInterface
{
public:
    NumberSettings(const QString &path, int thread)
        : path(path)
        , key(u"Numbers/Thread%1"_s.arg(thread))
    {
    }

    int number = -1;

protected:
    void saveInternal(QSettings *settings) const override { settings->setValue(key, number); }
    void loadInternal(QSettings *settings) override
    {
        number = settings->value(key, number).toInt();
    }
    QString settingsFilePath() const override { return path; }

private:
    QString path;
    QString key;
};

/// Of a fetch that is told by its id.
ContentManifest manifestOf(const QString &referenceKey, const QString &id)
{
    ContentManifest manifest;
    manifest.id = id;
    manifest.referenceKey = referenceKey;
    manifest.name = "data";
    manifest.scheme = u"share"_s;
    manifest.fetched = QDateTime::currentDateTimeUtc();
    ContentManifest::File file;
    file.path = "data";
    manifest.files = { file };
    return manifest;
}

class FilesThreadsTest : public testing::Test
{
protected:
    TemporaryCache directory;
};

} // namespace

TEST_F(FilesThreadsTest, settings_eachThreadSavesItsKeys_noneIsLost)
{
    const int rounds = forProof(4, 60);
    const QString path = directory.outside(u"numbers.ini"_s);
    together([&](int thread) {
        NumberSettings settings(path, thread);
        for (settings.number = 0; settings.number < rounds; ++settings.number) {
            const Error error = settings.save();
            EXPECT_FALSE(error.hasError()) << qPrintable(error.description());
            NumberSettings read(path, thread);
            read.load();
            EXPECT_EQ(read.number, settings.number);
        }
    });
    for (int thread = 0; thread < threadCount; ++thread) {
        NumberSettings settings(path, thread);
        settings.load();
        EXPECT_EQ(settings.number, rounds - 1);
    }
    recordFigure(u"saves"_s, threadCount * rounds);
}

TEST_F(FilesThreadsTest, manifests_writtenReadAndRemoved_areAlwaysWhole)
{
    const int rounds = forProof(5, 50);
    const ManifestStore store = ManifestStore::forCache(directory.dataDir());
    const QString key = u"share:/shared"_s;
    together([&](int thread) {
        for (int round = 0; round < rounds; ++round) {
            const QString id = u"%1/%2"_s.arg(thread).arg(round);
            EXPECT_FALSE(store.write(manifestOf(key, id)).hasError());
            const auto read = store.read(key);
            EXPECT_TRUE(read.hasValue()) << qPrintable(read.error().description());
            EXPECT_TRUE(store.removeIfSameFetch(manifestOf(key, id)).hasValue());
            EXPECT_FALSE(store.write(manifestOf(key + id, id)).hasError());
        }
    });
    EXPECT_EQ(store.failures().size(), 0);
    for (int thread = 0; thread < threadCount; ++thread) {
        for (int round = 0; round < rounds; ++round) {
            const QString id = u"%1/%2"_s.arg(thread).arg(round);
            const auto read = store.read(key + id);
            ASSERT_TRUE(read.hasValue() && read.value());
            EXPECT_EQ(read.value()->id, id);
        }
    }
    recordFigure(u"manifests"_s, 2 * threadCount * rounds);
}

TEST_F(FilesThreadsTest, logsAndTraces_severalThreads_allArriveWhole)
{
    const int rounds = forProof(200, 5000);
    const QString path = directory.outside(u"trace.json"_s);
    ASSERT_TRUE(Tracer::initialize(path));
    const LogCapture log;
    together([&](int thread) {
        const QString name = u"thread%1"_s.arg(thread);
        for (int round = 0; round < rounds; ++round) {
            Tracer::beginTraceC("threads", Tracer::rawData(name), "round", "begin");
            qCWarning(lcResourceManager).noquote() << name << round;
            tracer_categories_settings::setCategoryEnabled(u"THREADS", round % 2 == 0);
            Tracer::endTraceC("threads", Tracer::rawData(name), "round", "end");
        }
    });
    Tracer::shutdown();

    const QJsonArray events = QJsonDocument::fromJson(readFile(path)).array();
    EXPECT_EQ(events.size(), 2 * threadCount * rounds);
    std::map<QString, int> open; // by name, as each thread has its own
    for (const QJsonValue &event : events) {
        int &depth = open[event[u"name"_s].toString()];
        depth += event[u"ph"_s].toString() == u"B"_s ? 1 : -1;
        EXPECT_TRUE(depth == 0 || depth == 1);
    }
    EXPECT_EQ(log.texts(QtWarningMsg).size(), threadCount * rounds);
    recordFigure(u"events"_s, events.size());
}

TEST_F(FilesThreadsTest, schemes_registeredWhileReferencesAreRead_areKnownOrNot)
{
    const int rounds = forProof(200, 5000);
    together([&](int thread) {
        const auto scheme = ResourceReference::Scheme(ResourceReference::Host1 + thread);
        const QString prefix = u"scheme%1"_s.arg(char16_t(u'a' + thread));
        const auto parse = [](const QString &) -> Result<QSharedPointer<ResourceReference>> {
            return Error(ErrorCode::BadArgument);
        };
        for (int round = 0; round < rounds; ++round) {
            const Error error = ResourceReference::registerScheme(
                { scheme, { prefix }, prefix, QVersionNumber(1), parse });
            EXPECT_FALSE(error.hasError()) << qPrintable(error.description());
            const auto own = ResourceReference::scheme(prefix + u":x"_s);
            EXPECT_TRUE(own.hasValue() && own.value() == scheme);
            const auto others = ResourceReference::scheme(u"schemea:x"_s);
            EXPECT_TRUE(!others.hasValue() || others.value() == ResourceReference::Host1);
            ResourceReference::unregisterScheme(scheme);
        }
    });
}
