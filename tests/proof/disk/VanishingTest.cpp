#include "Vanishing.h"
#include "../../unit/schemes/SchemeManagerFixture.h"
#include "CacheInvariants.h"
#include "LogCapture.h"
#include "NginxServer.h"
#include "Proof.h"
#include "ResourceCache.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>

#include <functional>
#include <memory>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;
using Exception = CacheInvariants::Exception;

/// What is fetched while a folder goes.
enum class Source { File, Folder, WebFile, WebFolder };
/// Which folder that is; the last one is where the source lies.
enum class Place { Data, Staging, Base, Source };

struct Loss
{
    friend void PrintTo(const Loss &loss, std::ostream *out) { *out << loss.name; }

    const char *name;
    Source source;
    Place place;
    Vanishing::Successor successor;
};

/// Each case has a folder of its own for its cache and its sources. Run one after the other in one
/// process, a case would otherwise find there what an earlier one has fetched, and fetch nothing.
class VanishingTest : public SchemeManagerFixture, public testing::WithParamInterface<Loss>
{
protected:
    VanishingTest()
    {
        moveCacheTo(cache.addBaseDir(QString::fromUtf8(GetParam().name) + u"/base"_s));
        base = QFileInfo(ResourceManager::cachePath().baseDirPath()).canonicalFilePath();
        surroundings = QFileInfo(base).path();
        sources = surroundings + u"/sources"_s;
        NginxServer::Options options;
        options.directives = u"autoindex on; autoindex_format json;"_s;
        if (GetParam().source == Source::WebFile || GetParam().source == Source::WebFolder)
            server = std::make_unique<NginxServer>(options);
        if (server)
            sources = server->root();
    }

    static void moveCacheTo(const QString &directory)
    {
        EXPECT_TRUE(ResourceManager::cache()->isOpen());
        ResourceManagerSettings settings;
        settings.cachePath.setBaseDirPath(directory);
        const Error error = ResourceManager::updateSettings(settings);
        EXPECT_FALSE(error.hasError()) << qPrintable(error.description());
        EXPECT_TRUE(ResourceManager::cache()->isOpen());
    }

    void add(const QString &path, const QByteArray &bytes) const
    {
        writeFile(sources + u'/' + path, bytes);
    }

    /// The sources of a round are there, whatever was before.
    void prepare(int round) const
    {
        QFile::remove(sources);
        if (isFolder()) {
            add(u"%1.d/first.raw"_s.arg(round), "first");
            add(u"%1.d/second/file.raw"_s.arg(round), content);
        } else {
            add(u"%1.raw"_s.arg(round), content);
        }
    }

    bool isFolder() const
    {
        return GetParam().source == Source::Folder || GetParam().source == Source::WebFolder;
    }

    QString reference(int round) const
    {
        const QString name = QString::number(round) + (isFolder() ? u".d"_s : u".raw"_s);
        switch (GetParam().source) {
        case Source::WebFile:
            return server->url(name);
        case Source::WebFolder:
            return u"list+"_s + server->url(name + u'/');
        default:
            return u"share:"_s + sources + u'/' + name;
        }
    }

    QString folder() const
    {
        switch (GetParam().place) {
        case Place::Data:
            return base + u"/Cache"_s;
        case Place::Staging:
            return base + u"/Staging"_s;
        case Place::Base:
            return base;
        default:
            return sources;
        }
    }

    /// What does not hold after a fetch with this outcome.
    QStringList violations(const Error &error) const
    {
        CacheInvariants all(base + u"/ResourceCache.db"_s, base + u"/Cache"_s);
        all.except(Exception::LostData); // of the rounds before
        if (GetParam().place == Place::Base)
            all.except(Exception::NoDatabase);
        all.setContentCheck([](const QString &, const QString &path) {
            const QString file = QFileInfo(path).isDir() ? path + u"/second/file.raw"_s : path;
            return readFile(file) == content ? QString() : u"not what was fetched"_s;
        });
        QStringList found = all.violations();
        if (error.hasError() && (error.errorMessage().isEmpty() || error.trail().isEmpty()))
            found.append(u"the error says nothing"_s);
        return found;
    }

    /// What stands in the way goes. A base directory that somebody has removed took the database
    /// along: the program opens the cache anew.
    void mend(int round) const
    {
        if (QFileInfo(folder()).isFile()) {
            EXPECT_TRUE(QFile::remove(folder()));
        }
        prepare(round);
        if (GetParam().place != Place::Base)
            return;
        ResourceCache &all = *ResourceManager::cache();
        all.close();
        EXPECT_TRUE(QDir().mkpath(base));
        const Error error = all.open(ResourceManager::cachePath(), all.sizes());
        EXPECT_FALSE(error.hasError()) << qPrintable(error.description());
    }

    static inline const QByteArray content = QByteArray("all of it ").repeated(20'000);
    QString surroundings;
    QString base;
    QString sources;
    std::unique_ptr<NginxServer> server;
};

} // namespace

/// The folder goes before the first step of a fetch on files, before a later one, and so on until
/// the fetch has no such step any more; and each time the same is fetched once more.
TEST_P(VanishingTest, retrieve_folderVanishes_isWholeOrMissingAndSucceedsAgain)
{
    int losses = 0, failures = 0, broken = 0;
    bool hasVanished = true;
    const int stride = forProof(15, 1);
    const std::uint32_t seed = proofSeed();
    SCOPED_TRACE("ZEL_SEED=" + std::to_string(seed));
    for (int number = int(seed % quint32(stride)); hasVanished && !HasFailure(); number += stride) {
        const LogCapture silent;
        prepare(number);
        auto fetched = handler(reference(number));
        ASSERT_FALSE(fetched->isAvailableLocally()) << number;
        Error error;
        {
            const Vanishing loss(folder().toStdString(), GetParam().successor,
                                 surroundings.toStdString(), number);
            error = fetched->retrieve();
            hasVanished = loss.hasVanished();
        }
        losses += hasVanished ? 1 : 0;
        failures += error.hasError() ? 1 : 0;
        const QStringList found = violations(error);
        EXPECT_EQ(found, QStringList()) << "before step " << number;
        EXPECT_TRUE(hasVanished || !error.hasError()) << qPrintable(error.description());

        mend(number);
        // One that was made before the cache was closed holds nothing in it.
        fetched.reset();
        fetched = handler(reference(number));
        const Error again = fetched->retrieve();
        EXPECT_FALSE(again.hasError()) << number << ": " << qPrintable(again.description());
        EXPECT_TRUE(fetched->isAvailableLocally()) << number;
        const QStringList later = violations(again);
        EXPECT_EQ(later, QStringList()) << "again, before step " << number;
        broken += int(found.size() + later.size());
    }
    recordFigure(u"folders lost"_s, losses);
    recordFigure(u"failures told"_s, failures);
    recordFigure(u"violations"_s, broken);
    EXPECT_GT(losses, 0);
    EXPECT_GT(failures, 0) << "nothing was lost in time";
}

namespace {

using Successor = Vanishing::Successor;

const Loss allLosses[] = {
    { "dataOfAFile", Source::File, Place::Data, Successor::None },
    { "dataOfAFolder", Source::Folder, Place::Data, Successor::None },
    { "dataOfAWebFile", Source::WebFile, Place::Data, Successor::File },
    { "dataOfAWebFolder", Source::WebFolder, Place::Data, Successor::File },
    { "stagingOfAFile", Source::File, Place::Staging, Successor::None },
    { "stagingOfAFolder", Source::Folder, Place::Staging, Successor::File },
    { "stagingOfAWebFile", Source::WebFile, Place::Staging, Successor::None },
    { "stagingOfAWebFolder", Source::WebFolder, Place::Staging, Successor::None },
    { "stagingOfAWebFolderIsAFile", Source::WebFolder, Place::Staging, Successor::File },
    { "baseOfAFile", Source::File, Place::Base, Successor::None },
    { "baseOfAFolder", Source::Folder, Place::Base, Successor::File },
    { "baseOfAWebFolder", Source::WebFolder, Place::Base, Successor::None },
    { "sourceOfAFile", Source::File, Place::Source, Successor::None },
    { "sourceOfAFolder", Source::Folder, Place::Source, Successor::None },
    { "sourceOfAWebFile", Source::WebFile, Place::Source, Successor::None },
    { "sourceOfAWebFolder", Source::WebFolder, Place::Source, Successor::None },
    { "sourceOfAFolderIsAFile", Source::Folder, Place::Source, Successor::File },
};

} // namespace

INSTANTIATE_TEST_SUITE_P(Disk, VanishingTest, testing::ValuesIn(allLosses),
                         [](const auto &loss) { return loss.param.name; });

} // namespace zel
