/// A program with a cache of its own. It obeys one command a line on standard input and answers
/// each with one line: "ok", a value, or "error CODE MESSAGE".
///
///   cache_actor BASE_DIR SEMAPHORE_KEY
///
/// Words of a command are separated by one blank; REF is a key like "test:a". The commands are the
/// names of CacheActor::commands().

#include "Actor.h"
#include "LineServer.h"
#include "LogCapture.h"
#include "ResourceCache.h"
#include "ResourceRetrieveHandle.h"
#include "SemaphoreLocker.h"
#include "SuddenDeath.h"
#include "files/FileUtilsGeneric.h"

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMap>
#include <QSystemSemaphore>
#include <QTimer>
#include <QTimerEvent>

#include <cstdlib>
#include <functional>
#include <memory>

#include <fcntl.h>
#include <sched.h>
#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

const QString ok = u"ok"_s;
using test::toAnswer; // beside those for results

QString toText(bool value)
{
    return value ? u"true"_s : u"false"_s;
}

QString toText(qint64 value)
{
    return QString::number(value);
}

QString toText(const PathImpl<PathType::Unknown> &path)
{
    return path.toString();
}

QString toText(const ResourceRetrieveHandle::ProgressAndStatus &seen)
{
    const QString progress = seen.progress ? QString::number(*seen.progress) : u"-"_s;
    return progress + u' ' + toText(seen.status);
}

template<typename T>
QString toAnswer(const Result<T> &result)
{
    return result.hasValue() ? toText(result.value()) : toAnswer(result.error());
}

/// Knows when the ping of the cache has run: the one timer with its interval.
class PingWatch : public QObject
{
public:
    void await(const std::function<void()> &announce = [] {})
    {
        seen = false;
        beforePing = announce;
        qApp->installEventFilter(this);
        while (!seen)
            loop.exec(QEventLoop::ExcludeSocketNotifiers);
        qApp->removeEventFilter(this);
    }

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        const auto *timer = qobject_cast<QTimer *>(watched);
        if (event->type() == QEvent::Timer && timer && timer->interval() == pingInterval) {
            seen = true;
            beforePing();
            // The timer delivers its timeout behind this filter, and before the loop goes on.
            QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection);
        }
        return false;
    }

private:
    static constexpr int pingInterval = 5000;

    QEventLoop loop;
    std::function<void()> beforePing;
    bool seen = false;
};

class CacheActor
{
public:
    CacheActor(const QString &baseDir, const QString &semaphoreKey);

    QString obey(const QString &line);

private:
    using Words = QStringList;
    using Commands = QMap<QString, std::function<QString(const Words &)>>;

    Commands commands();
    void addCacheCommands(Commands *all);
    void addRetrieveCommands(Commands *all);
    void addProcessCommands(Commands *all);

    QString open();
    QString use(const QString &reference);
    QString purgeAndListen(qint64 extraSize);
    QString hold();
    QString count(const QString &file, int times);
    ResourceRetrieveHandle &handle(const QString &reference);
    /// Where the actor has the data of "test:NAME".
    QString localPath(const QString &reference) const;

    const QString semaphoreKey;
    ResourceCachePath path;
    ResourceCache cache;
    QMultiHash<QString, std::shared_ptr<ResourceCache::InUseHandle>> usages;
    QHash<QString, std::shared_ptr<ResourceRetrieveHandle>> handles;
    std::unique_ptr<QSystemSemaphore> semaphore;
    std::unique_ptr<SemaphoreLocker> locker;
    Commands known;
};

CacheActor::CacheActor(const QString &baseDir, const QString &semaphoreKey)
    : semaphoreKey(semaphoreKey)
{
    path.setBaseDirPath(baseDir);
    known = commands();
}

QString CacheActor::obey(const QString &line)
{
    Words words = line.split(u' ');
    const auto command = known.find(words.takeFirst());
    if (command == known.end())
        return u"error 2 unknown command "_s + line;
    return (*command)(words);
}

CacheActor::Commands CacheActor::commands()
{
    Commands all;
    addCacheCommands(&all);
    addRetrieveCommands(&all);
    addProcessCommands(&all);
    return all;
}

void CacheActor::addCacheCommands(Commands *all)
{
    Commands &obeyed = *all;
    obeyed[u"open"_s] = [this](const Words &) {
        return open();
    };
    obeyed[u"close"_s] = [this](const Words &) {
        cache.close();
        return ok;
    };
    obeyed[u"isOpen"_s] = [this](const Words &) {
        return toText(cache.isOpen());
    };
    // add REF [POLICY]
    obeyed[u"add"_s] = [this](const Words &words) {
        return toAnswer(cache.add(
            words.at(0), toResourceCleanupPolicy(words.value(1), ResourceCleanupPolicy::OnDemand)));
    };
    obeyed[u"useResource"_s] = [this](const Words &words) {
        return use(words.at(0));
    };
    // release REF: the usage that was taken last
    obeyed[u"release"_s] = [this](const Words &words) {
        return toText(usages.take(words.at(0)) != nullptr);
    };
    obeyed[u"inUse"_s] = [this](const Words &words) {
        return toAnswer(cache.inUse(words.at(0)));
    };
    obeyed[u"readStatus"_s] = [this](const Words &words) {
        return toAnswer(cache.readStatus(words.at(0)));
    };
    // saveStatus REF STATUS
    obeyed[u"saveStatus"_s] = [this](const Words &words) {
        return toAnswer(
            cache.saveStatus(words.at(0), toResourceStatus(words.at(1), ResourceStatus::Invalid)));
    };
    obeyed[u"readLocalPath"_s] = [this](const Words &words) {
        return toAnswer(cache.readLocalPath(words.at(0)));
    };
    obeyed[u"readCurrentCacheSize"_s] = [this](const Words &) {
        return toAnswer(cache.readCurrentCacheSize());
    };
    // purgeCacheIfNeeded EXTRA_BYTES
    obeyed[u"purgeCacheIfNeeded"_s] = [this](const Words &words) {
        return toAnswer(cache.purgeCacheIfNeeded(words.at(0).toLongLong()));
    };
    // purgeAndListen EXTRA_BYTES: the warning of the purge, "-" without one
    obeyed[u"purgeAndListen"_s] = [this](const Words &words) {
        return purgeAndListen(words.at(0).toLongLong());
    };
    // setSizes OPTIMAL_BYTES MAXIMUM_BYTES
    obeyed[u"setSizes"_s] = [this](const Words &words) {
        return toAnswer(cache.setSizes({ words.at(0).toLongLong(), words.at(1).toLongLong() }));
    };
}

void CacheActor::addRetrieveCommands(Commands *all)
{
    Commands &obeyed = *all;
    obeyed[u"tryStartRetrieve"_s] = [this](const Words &words) {
        return toAnswer(handle(words.at(0)).tryStartRetrieve());
    };
    // saveProgress REF PERCENT
    obeyed[u"saveProgress"_s] = [this](const Words &words) {
        return toAnswer(handle(words.at(0)).saveProgress(words.at(1).toInt()));
    };
    // "PERCENT STATUS", with "-" for no progress
    obeyed[u"readProgress"_s] = [this](const Words &words) {
        return toAnswer(handle(words.at(0)).readProgress());
    };
    // finalizeRetrieve REF [CODE]: with a code the fetch has failed
    obeyed[u"finalizeRetrieve"_s] = [this](const Words &words) {
        const Error outcome(words.value(1, u"0"_s).toInt(), u"the fetch failed"_s);
        return toAnswer(handle(words.at(0)).finalizeRetrieve(outcome));
    };
    obeyed[u"removeTaskFromDatabase"_s] = [this](const Words &words) {
        return toAnswer(handle(words.at(0)).removeTaskFromDatabase());
    };
    obeyed[u"dropHandle"_s] = [this](const Words &words) {
        return toText(handles.remove(words.at(0)));
    };
    // writeData REF TEXT: puts the data where the handle expects it
    obeyed[u"writeData"_s] = [this](const Words &words) {
        const QString target = localPath(words.at(0));
        const Error error = FileUtilsGeneric::mkPath(QFileInfo(target).path());
        if (error.hasError())
            return toAnswer(error);
        QFile file(target);
        const QByteArray data = words.at(1).toUtf8();
        return toText(file.open(QIODevice::WriteOnly) && file.write(data) == data.size());
    };
}

void CacheActor::addProcessCommands(Commands *all)
{
    Commands &obeyed = *all;
    // Waits for the next turn of the cache's own ping timer.
    obeyed[u"ping"_s] = [](const Words &) {
        PingWatch().await();
        return ok;
    };
    // The same, and says "pinging" right before it.
    obeyed[u"announcedPing"_s] = [](const Words &) {
        PingWatch().await([] { say(u"pinging"_s); });
        return ok;
    };
    // Says "taking" right before it takes the semaphore, "held" right after.
    obeyed[u"hold"_s] = [this](const Words &) {
        return hold();
    };
    obeyed[u"unhold"_s] = [this](const Words &) {
        locker.reset();
        return ok;
    };
    // count FILE TIMES: see there
    obeyed[u"count"_s] = [this](const Words &words) {
        return count(words.at(0), words.at(1).toInt());
    };
    // dieAtFileStep N: SIGKILL before the N-th file operation from now on
    obeyed[u"dieAtFileStep"_s] = [](const Words &words) {
        dieAtFileStep(words.at(0).toInt());
        return ok;
    };
    // Ends in order: closes the cache, code 0.
    obeyed[u"exit"_s] = [](const Words &) {
        QCoreApplication::quit();
        return ok;
    };
    obeyed[u"crash"_s] = [](const Words &) -> QString {
        std::abort();
    };
}

QString CacheActor::open()
{
    const Error error = cache.open(path, {});
    // Like the cache's own: made while the key file is surely there.
    semaphore = std::make_unique<QSystemSemaphore>(semaphoreKey, 1, QSystemSemaphore::Open);
    return toAnswer(error);
}

QString CacheActor::use(const QString &reference)
{
    auto usage = cache.useResource(reference);
    if (!usage.hasValue())
        return toAnswer(usage.error());
    usages.insert(reference, std::move(usage).value());
    return ok;
}

QString CacheActor::purgeAndListen(qint64 extraSize)
{
    const LogCapture log;
    const Error error = cache.purgeCacheIfNeeded(extraSize);
    const QString said = log.texts(QtWarningMsg).join(u" | "_s);
    if (error.hasError())
        return toAnswer(error);
    return said.isEmpty() ? u"-"_s : said;
}

QString CacheActor::hold()
{
    say(u"taking"_s);
    locker = std::make_unique<SemaphoreLocker>(semaphore.get(), 1);
    return u"held"_s;
}

/// Raises the number in the file, so many times, each time under the semaphore. The answer is how
/// often somebody else was inside at the same time.
QString CacheActor::count(const QString &file, int times)
{
    const QByteArray marker = QFile::encodeName(file + u".inside"_s);
    int overlaps = 0;
    for (int i = 0; i < times; ++i) {
        QSystemSemaphore own(semaphoreKey, 1, QSystemSemaphore::Open);
        const SemaphoreLocker lock(&own, 1);
        const int descriptor = ::open(marker.constData(), O_CREAT | O_EXCL | O_CLOEXEC, 0600);
        if (descriptor < 0)
            ++overlaps;
        else
            ::close(descriptor);

        QFile number(file);
        number.open(QIODevice::ReadWrite);
        const int value = number.readAll().toInt();
        ::sched_yield();
        number.seek(0);
        number.write(QByteArray::number(value + 1));
        number.close();
        ::unlink(marker.constData());
    }
    return QString::number(overlaps);
}

ResourceRetrieveHandle &CacheActor::handle(const QString &reference)
{
    auto &entry = handles[reference];
    if (!entry)
        entry = std::make_shared<ResourceRetrieveHandle>(reference, localPath(reference), &cache,
                                                         QVersionNumber(1));
    return *entry;
}

QString CacheActor::localPath(const QString &reference) const
{
    const QString name = reference.section(u':', 1);
    return u"%1/test/%2/data"_s.arg(path.cacheDataDir().toString(), name);
}

} // namespace

} // namespace zel::test

int main(int argc, char **argv)
{
    zel::test::leaveNoCore();
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    zel::test::CacheActor actor(arguments.at(1), arguments.at(2));
    const zel::test::LineServer server([&actor](const QString &line) { return actor.obey(line); });
    return application.exec();
}
