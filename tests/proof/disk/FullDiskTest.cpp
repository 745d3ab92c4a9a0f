#include "FullDisk.h"
#include "../../unit/foundation/zacq/ZacqFixture.h"
#include "../../unit/resource_manager/support/SettingsAt.h"
#include "../../unit/schemes/SchemeManagerFixture.h"
#include "../../unit/schemes/integrity/ManifestSample.h"
#include "CacheDatabase.h"
#include "CacheInvariants.h"
#include "LogCapture.h"
#include "NginxServer.h"
#include "Proof.h"
#include "ResourceCache.h"
#include "integrity/ManifestStore.h"
#include "platform/FreeSpace.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFileInfo>
#include <QSettings>

#include <cerrno>
#include <functional>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

/// Something that writes. The number tells one round from the next.
struct Operation
{
    QString folder; ///< the disk
    std::function<void(int)> prepare = [](int) {
    };
    std::function<Error(int)> run;
    /// What does not hold afterwards; it is told whether run() has succeeded.
    std::function<QStringList(int, bool)> violations;
    bool tellsReason = true; ///< not every failure has more to say than what has failed
};

/// By its code, or in the words of the system or of the database, which has codes of its own; to it
/// a quota is like any other failure of the disk.
bool tellsWantOfSpace(const Error &error, int reason)
{
    const QString text = error.errorMessage();
    return (reason == EDQUOT && text.contains(u"disk I/O error"_s))
        || int(error.errorCode()) == FreeSpace::lackingCode || text.contains(u"No space left"_s)
        || text.contains(u"quota exceeded"_s) || text.contains(u"disk is full"_s)
        || text.contains(u"Unable to retrieve missing resource"_s);
}

/// Does it on a disk that is full from its first write on, from a later one, and so on until
/// nothing is refused any more; and each time once more with room again, which has to succeed.
void prove(const Operation &operation)
{
    int refusals = 0, violations = 0;
    const auto judge = [&](const QStringList &found, int number) {
        violations += int(found.size());
        EXPECT_EQ(found, QStringList()) << "full from write " << number << " on";
    };
    const QList<int> errors = forProof<QList<int>>({ ENOSPC }, { ENOSPC, EDQUOT });
    int round = 0;
    for (const int reason : errors) {
        bool hasRefused = true;
        for (int number = 0; hasRefused; number += forProof(2, 1), ++round) {
            operation.prepare(round);
            const LogCapture silent;
            Error error;
            {
                const FullDisk disk(operation.folder.toStdString(), number, reason);
                error = operation.run(round);
                hasRefused = disk.hasRefused();
            }
            refusals += hasRefused ? 1 : 0;
            QStringList found = operation.violations(round, !error.hasError());
            if (error.hasError() && !hasRefused)
                found.append(u"fails without a reason: "_s + error.description());
            if (error.hasError() && (error.errorMessage().isEmpty() || error.trail().isEmpty()))
                found.append(u"the error says nothing"_s);
            if (error.hasError() && operation.tellsReason && !tellsWantOfSpace(error, reason))
                found.append(u"does not tell the want of space: "_s + error.description());
            judge(found, number);

            const Error again = operation.run(round);
            EXPECT_FALSE(again.hasError()) << number << qPrintable(again.description());
            judge(operation.violations(round, true), number);
        }
    }
    recordFigure(u"operations"_s, 1);
    recordFigure(u"times full"_s, refusals);
    recordFigure(u"violations"_s, violations);
    EXPECT_GT(refusals, 0);
}

class FullDiskTest : public SchemeManagerFixture
{
protected:
    FullDiskTest()
    {
        // Before the first round, which is about what it does and not about opening.
        EXPECT_NE(ResourceManager::cache(), nullptr);
        folder = QFileInfo(cache.baseDir()).canonicalFilePath();
    }

    /// A fetch of what `reference` names, which `content` says the files of.
    Operation fetch(const std::function<QString(int)> &text,
                    const std::function<void(int)> &prepare)
    {
        Operation operation;
        operation.folder = folder;
        operation.prepare = prepare;
        operation.run = [text](int round) {
            return handler(text(round))->retrieve();
        };
        operation.violations = [this, text](int round, bool isReady) {
            QStringList found = invariants().violations();
            const auto fetched = handler(text(round));
            // A failure to put the rows in order comes when it is Ready already, and whole.
            if (isReady && !fetched->isAvailableLocally())
                found.append(u"is not here"_s);
            return found;
        };
        return operation;
    }

    /// What is done to a cache that has one resource more in each round.
    Operation upkeep(const std::function<Error()> &run)
    {
        Operation operation;
        operation.folder = folder;
        operation.prepare = [this](int round) {
            const QString path = cache.outside(u"%1.raw"_s.arg(round));
            writeFile(path, content);
            retrieve(u"share:"_s + path);
        };
        operation.run = [run](int) {
            return run();
        };
        operation.violations = [this](int, bool) {
            // A purge may have taken the data before the rows could be told.
            return invariants().except(CacheInvariants::Exception::LostData).violations();
        };
        return operation;
    }

    CacheInvariants invariants() const
    {
        CacheInvariants all(cache.databasePath(), cache.dataDir());
        all.setContentCheck([](const QString &, const QString &path) {
            const QString file = QFileInfo(path).isDir() ? path + u"/second/file.raw"_s : path;
            return readFile(file) == content ? QString() : u"not what was fetched"_s;
        });
        return all;
    }

    static inline const QByteArray content = QByteArray("all of it ").repeated(20'000);
    QString folder;
};

} // namespace

TEST_F(FullDiskTest, retrieve_sharedFile_isWholeOrMissing)
{
    const auto path = [this](int round) {
        return cache.outside(u"%1.raw"_s.arg(round));
    };
    prove(fetch([path](int round) { return u"share:"_s + path(round); },
                [path](int round) { writeFile(path(round), content); }));
}

TEST_F(FullDiskTest, retrieve_sharedFolder_isWholeOrMissing)
{
    const auto path = [this](int round) {
        return cache.outside(u"%1.d"_s.arg(round));
    };
    prove(fetch([path](int round) { return u"share:"_s + path(round); },
                [path](int round) {
                    writeFile(path(round) + u"/first.raw"_s, "first");
                    writeFile(path(round) + u"/second/file.raw"_s, content);
                }));
}

TEST_F(FullDiskTest, retrieve_fileOfAServer_isWholeOrMissing)
{
    const NginxServer server;
    prove(fetch([&](int round) { return server.url(u"%1.raw"_s.arg(round)); },
                [&](int round) { server.addFile(u"%1.raw"_s.arg(round), content); }));
}

TEST_F(FullDiskTest, retrieve_folderOfAServer_isWholeOrMissing)
{
    NginxServer::Options options;
    options.directives = u"autoindex on; autoindex_format json;"_s;
    const NginxServer server(options);
    prove(fetch([&](int round) { return u"list+"_s + server.url(u"%1/"_s.arg(round)); },
                [&](int round) {
                    server.addFile(u"%1/first.raw"_s.arg(round), "first");
                    server.addFile(u"%1/second/file.raw"_s.arg(round), content);
                }));
}

TEST_F(FullDiskTest, updateFileSizes_sumsHold)
{
    Operation operation = upkeep([] { return ResourceManager::cache()->updateFileSizes(); });
    operation.violations = [this](int, bool isDone) {
        CacheInvariants all = invariants();
        // The sizes that were put in are wrong until they are counted.
        return (isDone ? all : all.except(CacheInvariants::Exception::OtherSizes)).violations();
    };
    const auto fetchOne = operation.prepare;
    operation.prepare = [this, fetchOne](int round) {
        fetchOne(round);
        CacheDatabase database(cache.databasePath());
        database.run(u"UPDATE CachedResources SET fileSize = 1"_s);
        database.run(u"UPDATE CacheMetadata SET currentSize = "
                     "(SELECT SUM(fileSize) FROM CachedResources)"_s);
    };
    prove(operation);
}

TEST_F(FullDiskTest, purgeCacheIfNeeded_rowsAndSumsHold)
{
    prove(upkeep([] {
        ResourceCache &all = *ResourceManager::cache();
        const ResourceCacheSizes before = all.sizes();
        Error error = all.setSizes({ 1, 1 });
        if (!error.hasError())
            error = all.purgeCacheIfNeeded(0);
        const Error back = all.setSizes(before);
        return error.hasError() ? error : back;
    }));
}

TEST_F(FullDiskTest, purgeOutdatedResources_rowsAndSumsHold)
{
    Operation operation = upkeep([] { return ResourceManager::purgeOutdatedResources(); });
    const auto fetchOne = operation.prepare;
    operation.prepare = [this, fetchOne](int round) {
        fetchOne(round);
        CacheDatabase(cache.databasePath()).run(u"UPDATE CachedResources SET version = '0.1'"_s);
    };
    prove(operation);
}

/// The manifest of a resource, which is written beside the cache's data.
TEST_F(FullDiskTest, writeManifest_isTheOldOrTheNewOne)
{
    const ManifestStore store(folder + u"/Manifests"_s);
    ContentManifest manifest = sampleManifest();
    ASSERT_FALSE(store.write(manifest).hasError());
    Operation operation;
    operation.folder = folder;
    operation.prepare = [&](int round) {
        manifest.id = QString::number(round);
    };
    ContentManifest stored = manifest;
    operation.run = [&](int) {
        return store.write(manifest);
    };
    operation.violations = [&](int, bool isWritten) {
        stored = isWritten ? manifest : stored;
        const auto read = store.read(manifest.referenceKey);
        // Where only the name could not be brought to the disk, the new one stands there already.
        const bool isRight = read.hasValue() && read.value()
            && (*read.value() == stored || (!isWritten && *read.value() == manifest));
        return isRight ? QStringList() : QStringList(u"another manifest"_s);
    };
    prove(operation);
}

/// The settings, with a key of another program in the same file.
TEST_F(FullDiskTest, saveSettings_areTheOldOrTheNewOnes)
{
    const QString path = folder + u"/settings/all.ini"_s;
    SettingsAt settings(path);
    settings.sizes = { 1, 2 };
    qint64 stored = 1;
    ASSERT_FALSE(settings.save().hasError());
    QSettings(path, QSettings::IniFormat).setValue(u"Other/Key"_s, u"kept"_s);

    Operation operation;
    operation.folder = folder;
    operation.tellsReason = false; // QSettings does not
    operation.prepare = [&](int round) {
        settings.sizes.optimalSize = 100 + round;
    };
    operation.run = [&](int) {
        return settings.save();
    };
    operation.violations = [&](int, bool isSaved) {
        stored = isSaved ? settings.sizes.optimalSize : stored;
        SettingsAt read(path);
        read.load();
        // Where only the name could not be brought to the disk, the new ones stand there already.
        QStringList found;
        if (read.sizes.optimalSize != stored
            && (isSaved || read.sizes.optimalSize != settings.sizes.optimalSize))
            found.append(u"other settings"_s);
        if (read.sizes.maximumSize != 2
            || QSettings(path, QSettings::IniFormat).value(u"Other/Key"_s) != u"kept"_s)
            found.append(u"something is lost"_s);
        const QStringList files
            = QDir(folder + u"/settings"_s)
                  .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        if (files != QStringList(u"all.ini"_s))
            found.append(u"something is left behind: "_s + files.join(u' '));
        return found;
    };
    prove(operation);
}

using FullDiskZacqTest = ZacqFixture;

TEST_F(FullDiskZacqTest, makeSparse_staysWhole)
{
    Operation operation;
    operation.folder = QFileInfo(directory.path()).canonicalFilePath();
    operation.prepare = [this](int) {
        QDir(at(u"data"_s)).removeRecursively();
        makeContainer();
    };
    operation.run = [this](int) {
        return zacq::Zacq(container()).makeSparseZacqBlocking(container(), target());
    };
    operation.violations = [this](int, bool isSparse) {
        QStringList found;
        if (!isWhole(container()))
            found.append(u"the sample is gone"_s);
        if (isSparse && !zacq::Zacq::isSparseZacq(container(), true))
            found.append(u"not sparse"_s);
        return found;
    };
    prove(operation);
}

} // namespace zel
