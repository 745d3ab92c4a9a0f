#include "KillScenarios.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using Exception = CacheInvariants::Exception;

namespace {

constexpr QLatin1StringView listName("SHA256SUMS");
constexpr int longFileName = 200; // longer than what a sparse container is made for

QByteArray content(int size)
{
    QByteArray bytes;
    while (bytes.size() < size)
        bytes += QByteArray::number(bytes.size()) + ' ';
    return bytes;
}

QString retrieve(const KilledResource &resource)
{
    return u"retrieve "_s + resource.reference;
}

void makeOld(CacheDatabase *database)
{
    database->run(u"ALTER TABLE CachedResources DROP COLUMN version"_s);
    database->run(u"ALTER TABLE CacheMetadata DROP COLUMN lastScanTimestamp"_s);
}

/// A program that used one resource and fetched another one when it died.
void addADeadClient(CacheDatabase *database)
{
    database->run(u"INSERT INTO Clients(id, processId, lastPingTime) VALUES (70, 7000000, 1)"_s);
    database->run(u"INSERT INTO ResourceUsages(resourceId, clientId) VALUES (1, 70)"_s);
    database->run(u"INSERT INTO AcquiringTasks(resourceId, progress, clientId) "
                  "VALUES (2, 30, 70)"_s);
    database->run(u"UPDATE CachedResources SET status = 'Acquiring' WHERE id = 2"_s);
}

void forgetRow(CacheDatabase *database, const QString &reference)
{
    database->run(u"UPDATE CachedResources SET status = 'Missing', cachedPath = NULL, "
                  "fileSize = NULL WHERE reference = ?"_s,
                  { reference });
}

QString pathOf(CacheDatabase *database, const QString &reference)
{
    return database
        ->value(u"SELECT cachedPath FROM CachedResources WHERE reference = ?"_s, { reference })
        .toString();
}

} // namespace

KillScenarios::KillScenarios() = default;

QStringList KillScenarios::names()
{
    return { u"openFresh"_s,
             u"openExisting"_s,
             u"openOldSchema"_s,
             u"openAfterADeath"_s,
             u"fetchFile"_s,
             u"fetchFolder"_s,
             u"fetchWebFile"_s,
             u"fetchWebFolder"_s,
             u"fetchDavFolder"_s,
             u"fetchOverLeftovers"_s,
             u"fetchOverSparse"_s,
             u"fetchAfterLoss"_s,
             u"fetchContainer"_s,
             u"purge"_s,
             u"purgeContainer"_s,
             u"purgeOutdated"_s,
             u"removeOnRelease"_s,
             u"count"_s,
             u"rebuild"_s,
             u"verify"_s,
             u"close"_s };
}

KillScenario KillScenarios::named(const QString &name, ActorProcess *actor)
{
    KillScenario scenario;
    if (name.startsWith(u"open"_s))
        scenario = ofOpening(name);
    else if (name.startsWith(u"fetch"_s))
        scenario = ofFetching(name, actor);
    else if (name.startsWith(u"purge"_s) || name.startsWith(u"remove"_s))
        scenario = ofRemoving(name, actor);
    else
        scenario = ofCounting(name);
    return scenario;
}

KillScenario KillScenarios::ofOpening(const QString &name)
{
    const KilledResource used = file();
    const KilledResource fetched = folder();
    KillScenario scenario { .name = name, .deadly = { u"open"_s }, .resources = { used, fetched } };
    if (name == u"openFresh"_s) {
        scenario.hasBeside = false;
        scenario.exceptions = { Exception::NoDatabase };
        return scenario;
    }
    scenario.before = { retrieve(used), retrieve(fetched) };
    if (name == u"openOldSchema"_s)
        scenario.arrange = makeOld;
    if (name == u"openAfterADeath"_s)
        scenario.arrange = addADeadClient;
    return scenario;
}

KillScenario KillScenarios::ofFetching(const QString &name, ActorProcess *actor)
{
    KilledResource fetched = name == u"fetchFile"_s ? file() : folder();
    if (name == u"fetchWebFile"_s)
        fetched = webFile();
    if (name == u"fetchWebFolder"_s)
        fetched = webFolder();
    if (name == u"fetchDavFolder"_s)
        fetched = davFolder();
    if (name == u"fetchContainer"_s || name == u"fetchOverSparse"_s)
        fetched = container(actor);
    KillScenario scenario { .name = name,
                            .unharmed = { u"open"_s },
                            .deadly = { retrieve(fetched) },
                            .resources = { fetched } };
    if (nginx || apache)
        scenario.answersTo = [this](const QString &user) {
            return answersTo(user);
        };
    // A sparse container's size counts what lies elsewhere as well.
    if (fetched.isContainer)
        scenario.exceptions = { Exception::OtherSizes };
    if (name == u"fetchOverLeftovers"_s || name == u"fetchOverSparse"_s) {
        scenario.before = { retrieve(fetched) };
        scenario.arrange = [fetched](CacheDatabase *database) {
            writeFile(pathOf(database, fetched.reference) + u"/more"_s, "of a fetch before");
            forgetRow(database, fetched.reference);
        };
    }
    if (name == u"fetchAfterLoss"_s) {
        scenario.before = { retrieve(fetched) };
        scenario.mayLoseData = true; // it is lost from the beginning
        scenario.arrange = [fetched](CacheDatabase *database) {
            QDir(pathOf(database, fetched.reference)).removeRecursively();
        };
    }
    return scenario;
}

KillScenario KillScenarios::ofRemoving(const QString &name, ActorProcess *actor)
{
    const KilledResource first = name == u"purgeContainer"_s ? container(actor) : folder();
    const KilledResource second = file();
    KillScenario scenario { .name = name,
                            .before = { retrieve(first), retrieve(second) },
                            .unharmed = { u"open"_s },
                            .deadly = { u"purge 1200"_s }, // just what lies beside
                            .again = { u"purge 1200"_s, u"setSizes 1000000"_s },
                            .isRemoval = true,
                            .mayLoseData = true,
                            .resources = { first, second } };
    if (first.isContainer)
        scenario.exceptions = { Exception::OtherSizes };
    if (name == u"purgeOutdated"_s) {
        scenario.arrange = [first, second](CacheDatabase *database) {
            database->run(u"UPDATE CachedResources SET version = '0.1' "
                          "WHERE reference IN (?, ?)"_s,
                          { first.reference, second.reference });
        };
        scenario.deadly = { u"purgeOutdated"_s };
        scenario.again = { u"purgeOutdated"_s, u"purge 1200"_s, u"setSizes 1000000"_s };
    }
    if (name == u"removeOnRelease"_s) {
        scenario.unharmed = { u"open"_s, u"removeOnRelease"_s };
        scenario.deadly = { retrieve(first), retrieve(second) };
        // What the dead one used counts as used by the first who comes.
        scenario.again = {};
        scenario.isRemoval = false;
    }
    return scenario;
}

KillScenario KillScenarios::ofCounting(const QString &name)
{
    const KilledResource counted = folder();
    const KilledResource other = file();
    KillScenario scenario { .name = name,
                            .before = { retrieve(counted), retrieve(other) },
                            .unharmed = { u"open"_s },
                            .deadly = { name },
                            .again = { name },
                            .resources = { counted, other } };
    const auto setWrong = [](CacheDatabase *database) {
        database->run(u"UPDATE CachedResources SET fileSize = 4"_s);
    };
    if (name == u"count"_s) {
        scenario.arrange = setWrong;
        scenario.exceptions = { Exception::OtherSizes };
    }
    if (name == u"verify"_s) {
        scenario.deadly = { u"verify "_s + counted.reference, u"verify "_s + other.reference };
        scenario.again = scenario.deadly;
    }
    if (name == u"close"_s) {
        scenario.unharmed += retrieve(other);
        scenario.deadly = {};
        scenario.again = {};
    }
    return scenario;
}

KilledResource KillScenarios::file()
{
    const QString source = share() + u"/file/run.mzML"_s;
    writeFile(source, content(70'000));
    return { u"share:"_s + source, source };
}

KilledResource KillScenarios::folder()
{
    const QString source = share() + u"/folder/run.d"_s;
    for (const char *name : { "a", "b/c", "b/d/e", "f" })
        writeFile(source + u'/' + QString::fromLatin1(name), content(9'000));
    return { u"share:"_s + source, source };
}

KilledResource KillScenarios::container(ActorProcess *actor)
{
    const QString sample = path(u"sample"_s);
    writeFile(sample, content(30'000));
    const QString source = share() + u"/container/run.zacq"_s;
    QDir().mkpath(share() + u"/container"_s);
    const QString inside = u"data/%1.raw"_s.arg(QString(longFileName, u'n'));
    EXPECT_EQ(actor->ask(u"makeContainer %1 %2 %3"_s.arg(source, sample, inside)), u"ok"_s);
    return { u"share:"_s + source, sample, true };
}

KilledResource KillScenarios::webFile()
{
    const QString source = path(u"web.mzML"_s);
    writeFile(source, content(400'000));
    server().addFile(u"web.mzML"_s, readFile(source));
    return { server().url(u"web.mzML"_s), source };
}

KilledResource KillScenarios::webFolder()
{
    const QString source = path(u"web.d"_s);
    QByteArray sums;
    for (int i = 0; i < 4; ++i) {
        // One comes in several writes; no two are equally long.
        const QByteArray bytes = content(i == 2 ? 600'000 : 20'000 * (i + 1));
        const QString name = u"file%1"_s.arg(i);
        writeFile(source + u'/' + name, bytes);
        server().addFile(u"web.d/"_s + name, bytes);
        sums += QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex() + "  "
            + name.toUtf8() + '\n';
    }
    server().addFile(u"web.d/"_s + listName, sums);
    return { u"list+"_s + server().url(u"web.d/"_s + listName), source };
}

KilledResource KillScenarios::davFolder()
{
    const QString source = path(u"dav.d"_s);
    const QStringList names { u"a"_s, u"deep/b"_s, u"deep/deeper/c"_s, u"d"_s };
    for (const QString &name : names) {
        // One comes in several writes; no two are equally long.
        const QByteArray bytes = content(name == u"d"_s ? 600'000 : int(20'000 * name.size()));
        writeFile(source + u'/' + name, bytes);
        davServer().addFile(u"dav.d/"_s + name, bytes);
    }
    return { davServer().url(u"dav.d"_s), source };
}

QMap<QString, FileAnswers> KillScenarios::answersTo(const QString &user) const
{
    const QString name = u"Basic "_s + QString::fromLatin1((user.toUtf8() + ":x").toBase64());
    QMap<QString, FileAnswers> answers;
    for (const LoggedRequest &request : nginx ? nginx->requests() : apache->requests()) {
        const bool isFile = request.method == u"GET"_s && !request.path.endsWith(listName);
        // The sources lie here by the paths that they have on the server.
        if (!isFile || request.authorization != name || request.status / 100 != 2)
            continue;
        const QString file = request.path.section(u'/', 1);
        if (!answers.contains(file))
            answers.insert(file, FileAnswers(QFileInfo(path(file)).size()));
        answers[file].add(request.status, request.bodyBytes);
    }
    return answers;
}

const NginxServer &KillScenarios::server()
{
    if (!nginx)
        nginx = std::make_unique<NginxServer>();
    return *nginx;
}

const ApacheServer &KillScenarios::davServer()
{
    if (!apache)
        apache = std::make_unique<ApacheServer>();
    return *apache;
}

} // namespace zel::test
