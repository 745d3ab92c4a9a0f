/// A program with the manager and the schemes that does nothing before it is told to, so that it
/// can be killed at each step, from the opening of the cache to its end.
///
///   kill_actor BASE_DIR
///
/// It obeys one command a line on standard input and answers each with one line: "ok", "ok VALUE",
/// or "error CODE MESSAGE". The commands are the names of commands().

#include "Actor.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"
#include "SuddenDeath.h"
#include "integrity/ContentVerifier.h"
#include "integrity/ManifestStore.h"
#include "zacq/Zacq.h"
#include "zacq/ZacqWriter.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QMap>

#include <csignal>
#include <functional>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

using Words = QStringList;
using Commands = QMap<QString, std::function<QString(const Words &)>>;

const QString ok = u"ok"_s;
using test::toAnswer; // beside those for results

QString toAnswer(const Result<QString> &result)
{
    return result.hasValue() ? u"ok "_s + result.value() : toAnswer(result.error());
}

QString purge(qint64 optimalSize)
{
    ResourceCache *cache = ResourceManager::cache();
    const Error error = cache->setSizes({ optimalSize, optimalSize });
    return toAnswer(error.hasError() ? error : cache->purgeCacheIfNeeded(0));
}

/// Reads the resource's data and writes down what it found, as those do who verify.
Error verify(const QString &reference)
{
    const auto path = ResourceManager::cache()->readLocalPath(reference);
    if (!path.hasValue())
        return path.error();
    const auto store
        = ManifestStore::forCache(ResourceManager::cachePath().cacheDataDir().toString());
    const auto stored = store.read(reference);
    if (!stored.hasValue() || !stored.value())
        return stored.hasValue() ? Error(1, u"There is no manifest."_s) : stored.error();
    ContentVerifier verifier(*stored.value(), QFileInfo(path.value().toString()).path());
    verifier.compare();
    verifier.read(false, [](qint64) { return true; });
    if (!verifier.findings().isEmpty())
        return Error(4, u"The content is another one."_s);
    return store.write(verifier.manifest());
}

Result<QString> samplePath(const QString &container)
{
    zacq::Zacq opened(container);
    const Error error = opened.open(zacq::Zacq::Mode::ReadOnly);
    return error.hasError() ? Result<QString>(error) : opened.sampleFilePath();
}

Error saveSettings(qint64 size)
{
    ResourceManagerSettings settings = ResourceManagerSettings::loadSettings();
    settings.sizes = { size, size };
    return settings.save();
}

QString loadSettings()
{
    const ResourceCacheSizes sizes = ResourceManagerSettings::loadSettings().sizes;
    return u"ok %1 %2"_s.arg(sizes.optimalSize).arg(sizes.maximumSize);
}

void addCacheCommands(Commands *all)
{
    Commands &obeyed = *all;
    obeyed[u"open"_s] = [](const Words &) {
        return ResourceManager::instance().cache()->isOpen() ? ok : u"error 1 not open"_s;
    };
    obeyed[u"retrieve"_s] = [](const Words &words) {
        return retrieve(words.at(0));
    };
    // purge OPTIMAL_BYTES: what was used longest ago goes until nine tenths of that are reached
    obeyed[u"purge"_s] = [](const Words &words) {
        return purge(words.at(0).toLongLong());
    };
    // setSizes BYTES: how much there may be
    obeyed[u"setSizes"_s] = [](const Words &words) {
        const qint64 size = words.at(0).toLongLong();
        return toAnswer(ResourceManager::cache()->setSizes({ size, size }));
    };
    obeyed[u"purgeOutdated"_s] = [](const Words &) {
        return toAnswer(ResourceManager::purgeOutdatedResources());
    };
    // From now on whatever is released is removed.
    obeyed[u"removeOnRelease"_s] = [](const Words &) {
        ResourceManager::setCleanupPolicyRestriction(ResourceCleanupPolicy::OnClose);
        return ok;
    };
    obeyed[u"count"_s] = [](const Words &) {
        return toAnswer(ResourceManager::cache()->updateFileSizes());
    };
    obeyed[u"rebuild"_s] = [](const Words &) {
        return toAnswer(ResourceManager::cache()->rebuildMetadata());
    };
    obeyed[u"verify"_s] = [](const Words &words) {
        return toAnswer(verify(words.at(0)));
    };
}

void addOtherCommands(Commands *all)
{
    Commands &obeyed = *all;
    // die N: SIGKILL before the N-th change of files from now on
    obeyed[u"die"_s] = [](const Words &words) {
        dieAtFileStep(words.at(0).toInt());
        return ok;
    };
    // dieInHalf FOLDER N: before the N-th write from now on that goes on with a file below it
    obeyed[u"dieInHalf"_s] = [](const Words &words) {
        dieInHalfFile(words.at(1).toInt(), words.at(0).toStdString());
        return ok;
    };
    // dieAtLock LOCK N: before the N-th call from now on that takes or gives back such a lock
    obeyed[u"dieAtLock"_s] = [](const Words &words) {
        const QMap<QString, LockCall> locks { { u"semaphore"_s, LockCall::Semaphore },
                                              { u"folder"_s, LockCall::Folder },
                                              { u"range"_s, LockCall::Range } };
        dieAtLockCall(locks[words.at(0)], words.at(1).toInt());
        return ok;
    };
    // raise SIGNAL: what a crash would raise; nobody handles it, such as a sanitizer
    obeyed[u"raise"_s] = [](const Words &words) {
        const int number = words.at(0).toInt();
        std::signal(number, SIG_DFL);
        ::raise(number);
        return ok;
    };
    // makeContainer PATH SAMPLE_FILE PATH_IN_CONTAINER
    obeyed[u"makeContainer"_s] = [](const Words &words) {
        return toAnswer(
            zacq::ZacqWriter::createFolder(words.at(0), words.at(1), words.at(2), u"Sample"_s));
    };
    // samplePath CONTAINER
    obeyed[u"samplePath"_s] = [](const Words &words) {
        return toAnswer(samplePath(words.at(0)));
    };
    obeyed[u"saveSettings"_s] = [](const Words &words) {
        return toAnswer(saveSettings(words.at(0).toLongLong()));
    };
    obeyed[u"loadSettings"_s] = [](const Words &) {
        return loadSettings();
    };
}

/// Commands that are separated by ";" are obeyed one after the other, and then the program ends:
/// with code 1 if one of them failed.
class KillActor
{
public:
    KillActor()
    {
        addCacheCommands(&known);
        addOtherCommands(&known);
    }

    QString obey(const QString &line)
    {
        if (line == u"quit"_s) {
            QCoreApplication::quit();
            return {};
        }
        if (!line.contains(u';'))
            return obeyOne(line);
        for (const QString &command : line.split(u';')) {
            const QString answer = obeyOne(command);
            if (answer.startsWith(ok))
                continue;
            QCoreApplication::exit(1);
            return command + u": "_s + answer;
        }
        QCoreApplication::quit();
        return {};
    }

private:
    QString obeyOne(const QString &line)
    {
        Words words = line.split(u' ');
        const auto command = known.find(words.takeFirst());
        return command == known.end() ? u"error 2 unknown command "_s + line : (*command)(words);
    }

    Commands known;
};

} // namespace

} // namespace zel::test

int main(int argc, char **argv)
{
    zel::test::KillActor actor;
    return zel::test::runActor(argc, argv, zel::registerResourceSchemes,
                               [&actor](const QString &line) { return actor.obey(line); });
}
