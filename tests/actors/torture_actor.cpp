/// A program that uses a cache in every way there is, many fetches at a time.
///
///   torture_actor VERSION BASE_DIR SHARE_DIR
///
/// It says "ready", then obeys lines "ID COMMAND ARGUMENT..." and answers each with "ID ANSWER", a
/// fetch when it has ended. The commands are the names of TortureActor::commands(). What a resource
/// looks like is answered as "whole VERSION PATH", "torn - PATH" or "gone - PATH". Resources whose
/// names start with "r" are made by TortureScheme, the others are files and folders of SHARE_DIR.

#include "Actor.h"
#include "LineServer.h"
#include "NamedContent.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"
#include "TortureScheme.h"

#include <QCoreApplication>
#include <QHash>
#include <QMap>

#include <functional>
#include <map>
#include <memory>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

const QString ok = u"ok"_s;
using HandlerPointer = QSharedPointer<ResourceHandler>;

ResourceCache *cache()
{
    return ResourceManager::cache();
}

QString key(const QString &name)
{
    const QString share = QCoreApplication::arguments().at(3);
    return name.startsWith(u'r') ? u"torture:"_s + name : u"share:"_s + share + u'/' + name;
}

QString nameOf(const HandlerPointer &handler)
{
    return handler->reference()->referencePath()->section(u'/', -1);
}

/// Reads the whole resource.
QString look(const HandlerPointer &handler)
{
    const QString path = handler->expectedPath().value();
    const int version = versionAt(path, nameOf(handler));
    if (version > 0)
        return u"whole %1 %2"_s.arg(QString::number(version), path);
    return (version == nothingThere ? u"gone - "_s : u"torn - "_s) + path;
}

class TortureActor
{
public:
    TortureActor() { addCommands(); }

    QString obey(const QString &line);

private:
    using Words = QStringList;

    struct Flight
    {
        HandlerPointer handler;
        std::unique_ptr<Task> task;
        int opening = 0;
    };

    void addCommands();
    void addMaintenance();
    QString fetch(const QString &id, const QString &name);
    void land(const QString &id);
    QString keep(const HandlerPointer &handler);
    QString use(const QString &name);
    QString cancel(const QString &name);
    QString letGo();
    QString open();
    QString move(const QString &baseDir);

    QHash<QString, HandlerPointer> held;
    std::map<QString, Flight> flights;
    /// Handlers made before the cache was closed hold nothing in it.
    int opening = 0;
    ResourceCacheSizes sizes { 10'000'000, 20'000'000 };
    QMap<QString, std::function<QString(const Words &)>> commands;
};

QString TortureActor::obey(const QString &line)
{
    Words words = line.split(u' ');
    const QString id = words.takeFirst();
    const QString command = words.takeFirst();
    if (command == u"fetch"_s) {
        // fetch NAME MILLISECONDS FAILS OPENING
        setTortureFetch({ words.at(1).toInt(), words.at(2) == u"1"_s, words.at(3).toInt() });
        const QString answer = fetch(id, words.at(0));
        return answer.isNull() ? answer : id + u' ' + answer;
    }
    const auto known = commands.constFind(command);
    if (known == commands.constEnd())
        qFatal("Unknown command %s", qPrintable(line));
    return id + u' ' + (*known)(words);
}

void TortureActor::addCommands()
{
    commands[u"use"_s] = [this](const Words &words) {
        return use(words.at(0));
    };
    commands[u"release"_s] = [this](const Words &words) {
        held.remove(words.at(0));
        return ok;
    };
    commands[u"cancel"_s] = [this](const Words &words) {
        return cancel(words.at(0));
    };
    commands[u"close"_s] = [this](const Words &) {
        cache()->close();
        return letGo();
    };
    commands[u"open"_s] = [this](const Words &) {
        return open();
    };
    commands[u"move"_s] = [this](const Words &words) {
        return move(words.at(0));
    };
    commands[u"quit"_s] = [this](const Words &) {
        held.clear();
        QCoreApplication::quit();
        return ok;
    };
    addMaintenance();
}

void TortureActor::addMaintenance()
{
    // sizes OPTIMAL MAXIMUM
    commands[u"sizes"_s] = [this](const Words &words) {
        sizes = { words.at(0).toLongLong(), words.at(1).toLongLong() };
        return toAnswer(cache()->setSizes(sizes));
    };
    commands[u"purge"_s] = [](const Words &words) {
        return toAnswer(cache()->purgeCacheIfNeeded(words.at(0).toLongLong()));
    };
    commands[u"outdated"_s] = [](const Words &) {
        return toAnswer(ResourceManager::purgeOutdatedResources());
    };
    commands[u"recount"_s] = [](const Words &) {
        return toAnswer(cache()->updateFileSizes());
    };
    commands[u"recountOne"_s] = [](const Words &words) {
        return toAnswer(cache()->updateFileSize(key(words.at(0))));
    };
    commands[u"rebuild"_s] = [](const Words &) {
        return toAnswer(cache()->rebuildMetadata());
    };
    // policy NAME NUMBER
    commands[u"policy"_s] = [](const Words &words) {
        return toAnswer(cache()->saveCleanupPolicy(key(words.at(0)),
                                                   ResourceCleanupPolicy(words.at(1).toInt())));
    };
    commands[u"restrict"_s] = [](const Words &words) {
        cache()->setCleanupPolicyRestriction(ResourceCleanupPolicy(words.at(0).toInt()));
        return ok;
    };
}

QString TortureActor::fetch(const QString &id, const QString &name)
{
    const auto reference = ResourceReference::fromString(key(name));
    const auto handler = ResourceManager::getHandler(reference.value());
    if (!handler.hasValue())
        return toAnswer(handler.error());
    auto task = ResourceManager::retrieveAsync(handler.value(), ResourceHandler::Queued);
    if (!task.hasValue())
        return toAnswer(task.error());
    if (!task.value())
        return keep(handler.value());

    Flight &flight = flights[id];
    flight = { handler.value(), std::move(task).value(), opening };
    QObject::connect(
        flight.task.get(), &BaseTask::finished, qApp, [this, id] { land(id); },
        Qt::QueuedConnection);
    if (flight.task->isFinished())
        land(id);
    return {};
}

void TortureActor::land(const QString &id)
{
    const auto found = flights.find(id);
    if (found == flights.end())
        return;
    const Flight flight = std::move(found->second);
    flights.erase(found);
    const Error error = flight.task->error();
    if (error.hasError())
        say(id + u' ' + toAnswer(error));
    else if (flight.opening == opening)
        say(id + u' ' + keep(flight.handler));
    else
        say(id + u' ' + look(flight.handler));
}

QString TortureActor::keep(const HandlerPointer &handler)
{
    held.insert(nameOf(handler), handler);
    return look(handler);
}

QString TortureActor::use(const QString &name)
{
    const auto handler = ResourceManager::getHandler(key(name));
    if (!handler.hasValue())
        return toAnswer(handler.error());
    held.insert(name, handler.value());
    return handler.value()->isAvailableLocally() ? look(handler.value()) : u"missing"_s;
}

QString TortureActor::cancel(const QString &name)
{
    for (auto &[id, flight] : flights) {
        if (nameOf(flight.handler) == name)
            flight.task->cancel();
    }
    return ok;
}

QString TortureActor::letGo()
{
    ++opening;
    held.clear();
    return ok;
}

QString TortureActor::open()
{
    cache()->close();
    letGo();
    return toAnswer(cache()->open(ResourceManager::cachePath(), sizes));
}

QString TortureActor::move(const QString &baseDir)
{
    ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(baseDir);
    settings.sizes = sizes;
    const Error error = ResourceManager::updateSettings(settings);
    letGo();
    return toAnswer(error);
}

} // namespace

} // namespace zel::test

int main(int argc, char **argv)
{
    zel::test::leaveNoCore();
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    zel::test::installTortureScheme(arguments.at(1).toInt());
    zel::registerResourceSchemes();
    zel::ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(arguments.at(2));
    settings.sizes = { 10'000'000, 20'000'000 };
    zel::ResourceManager::overrideDefaultSettings(settings);
    const bool isOpen = zel::ResourceManager::cache()->isOpen();
    zel::test::TortureActor actor;
    const zel::test::LineServer server([&actor](const QString &line) { return actor.obey(line); });
    zel::test::say(isOpen ? QStringLiteral("ready") : QStringLiteral("closed"));
    return application.exec();
}
