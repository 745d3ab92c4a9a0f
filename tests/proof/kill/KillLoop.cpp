#include "KillLoop.h"

#include "Proof.h"
#include "SemaphoreSets.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFileInfo>
#include <QProcess>

#include <numeric>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using Exception = CacheInvariants::Exception;

namespace {

const QString actor = QStringLiteral(ZEL_KILL_ACTOR);
const QString netrc = u"home/.netrc"_s;

QString sumOf(const QString &path)
{
    const QByteArray bytes = readFile(path);
    const QByteArray sum = QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex().left(8);
    return QString::number(bytes.size()) + u':' + QString::fromLatin1(sum);
}

QString timeOf(const QString &path)
{
    return u' ' + QString::number(QFileInfo(path).lastModified().toMSecsSinceEpoch());
}

/// With links and times as they are.
void copyTree(const QString &from, const QString &to)
{
    QDir(to).removeRecursively();
    ASSERT_EQ(QProcess::execute(u"cp"_s, { u"-a"_s, from, to }), 0);
}

/// By their paths below a folder.
QMap<QString, qint64> sizesBelow(const QString &folder)
{
    QMap<QString, qint64> sizes;
    QDirIterator all(folder, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString path = all.next();
        sizes.insert(path.mid(folder.size()), all.fileInfo().size());
    }
    return sizes;
}

qint64 sum(const QMap<QString, qint64> &sizes)
{
    return std::accumulate(sizes.begin(), sizes.end(), qint64(0));
}

} // namespace

FileSums sumsBelow(const QString &path)
{
    if (QFileInfo(path).isFile())
        return { { u""_s, sumOf(path) } };
    FileSums sums;
    QDirIterator all(path, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString file = all.next();
        sums.insert(file.mid(path.size() + 1), sumOf(file));
    }
    return sums;
}

KillLoop::KillLoop(const QString &shareFolder, TemporaryCache *cache)
    : cache(cache)
    , reader(actor, { cache->outside(u"none"_s) })
{
    bystander.source = shareFolder + u"/beside/small.mzML"_s;
    bystander.reference = u"share:"_s + bystander.source;
    writeFile(bystander.source, QByteArray("beside ").repeated(150));
}

QString KillLoop::samplePathIn(const QString &container)
{
    const QString answer = reader.ask(u"samplePath "_s + container);
    return answer.startsWith(u"ok "_s) ? answer.mid(3) : QString();
}

std::unique_ptr<ActorProcess> KillLoop::program() const
{
    const QString home = QFileInfo(cache->outside(netrc)).path();
    return std::make_unique<ActorProcess>(actor, QStringList { cache->baseDir() },
                                          ActorProcess::Environment { { u"HOME"_s, home } });
}

/// So that a server's log tells the programs that come from those that are dead.
void KillLoop::nameNext()
{
    user = u"heir%1"_s.arg(recoveryCount);
    writeFile(cache->outside(netrc),
              QByteArray("default login " + user.toUtf8() + " password x\n"));
}

void KillLoop::prepare(const KillScenario &wanted)
{
    scenario = wanted;
    const auto maker = program();
    for (const QString &command : wanted.before)
        ASSERT_EQ(maker->ask(command).left(2), u"ok"_s) << qPrintable(command);
    if (wanted.hasBeside) {
        const QString answer = maker->ask(u"retrieve "_s + bystander.reference);
        ASSERT_EQ(answer.left(3), u"ok "_s) << qPrintable(answer);
        bystanderPath = answer.mid(3);
        bystanderSums = sumsBelow(bystanderPath);
        bystanderSums.insert(u"time"_s, timeOf(bystanderPath));
    }
    maker->send(u"quit"_s);
    ASSERT_EQ(maker->end(), 0);
    if (wanted.arrange) {
        CacheDatabase database(cache->databasePath());
        wanted.arrange(&database);
    }
    copyTree(cache->baseDir(), cache->outside(u"template"_s));
}

void KillLoop::restore() const
{
    copyTree(cache->outside(u"template"_s), cache->baseDir());
    // A cache that nobody has opened has no semaphore, either.
    if (!scenario.hasBeside)
        removeSystemSemaphore(TemporaryCache::semaphoreKey(cache->baseDir()));
}

void KillLoop::killAtFileSteps(int first, int stride)
{
    killAtEach(first, stride, [this](int step) { return dieBy(u"die %1"_s.arg(step)); });
}

void KillLoop::killAtEach(int first, int stride, const std::function<Fate(int)> &dieAt) const
{
    int step = first;
    Fate fate = dieAt(step);
    while (fate == Fate::Survived && step > 0)
        fate = dieAt(step /= 2);
    while (fate == Fate::Killed)
        fate = dieAt(step += stride);
}

void KillLoop::killInHalfStagedFiles()
{
    const QString staging = QFileInfo(cache->baseDir()).canonicalFilePath() + u"/Staging"_s;
    killAtEach(0, 1,
               [&](int number) { return dieBy(u"dieInHalf %1 %2"_s.arg(staging).arg(number)); });
    EXPECT_GT(killCount, 0) << "no file was left half";
}

void KillLoop::killAtLockCalls(const QString &lock, int first, int stride)
{
    killAtEach(first, stride,
               [&](int number) { return dieBy(u"dieAtLock %1 %2"_s.arg(lock).arg(number)); });
}

void KillLoop::killAtSystemCalls(const QString &calls, int first, int stride)
{
    // Its first number is 1.
    killAtEach(first, stride, [&](int step) { return dieAtSystemCall(calls, step + 1); });
}

/// `command` tells the victim when to die.
Fate KillLoop::dieBy(const QString &command)
{
    restore();
    const auto victim = program();
    QStringList commands = scenario.unharmed;
    commands << command << scenario.deadly;
    victim->send(commands.join(u';'));
    return judge(victim.get(), command);
}

Fate KillLoop::dieAtSystemCall(const QString &calls, int number)
{
    restore();
    // A sanitizer's search for leaks is a tracer itself, and fails where there is one.
    ActorProcess victim(u"strace"_s,
                        { u"-f"_s, u"-qq"_s, u"-o"_s, u"/dev/null"_s, u"-E"_s,
                          u"LSAN_OPTIONS=detect_leaks=0"_s, u"-e"_s, u"trace="_s + calls, u"-e"_s,
                          u"inject=%1:signal=KILL:when=%2"_s.arg(calls).arg(number), actor,
                          cache->baseDir() });
    // Alone it would be answered.
    victim.send((scenario.unharmed + scenario.deadly).join(u';') + u";loadSettings"_s);
    return judge(&victim, u"number %1 of %2"_s.arg(QString::number(number), calls));
}

/// The killed one and the survivor leave the same behind: a cache in which others go on.
/// `death` is told after a failure.
Fate KillLoop::judge(ActorProcess *victim, const QString &death)
{
    const Fate fate = fateOf(victim);
    checkAfterDeath();
    if (!testing::Test::HasFailure())
        checkRecovery();
    killCount += fate == Fate::Killed ? 1 : 0;
    if (testing::Test::HasFailure()) {
        std::cerr << qPrintable(scenario.name) << " failed at " << qPrintable(death) << '\n';
        return Fate::Failed;
    }
    ++recoveryCount;
    return fate;
}

void KillLoop::checkAfterDeath()
{
    CacheInvariants invariants(cache->databasePath(), cache->dataDir());
    invariants.except(Exception::RowsOfTheDead);
    if (scenario.mayLoseData)
        invariants.except(Exception::LostData);
    for (const Exception exception : std::as_const(scenario.exceptions))
        invariants.except(exception);
    invariants.setContentCheck([this](const QString &reference, const QString &path) {
        return contentFailure(reference, path);
    });
    const QStringList violations = invariants.violations();
    EXPECT_TRUE(violations.isEmpty()) << qPrintable(violations.join(u'\n'));
    checkBeside();
}

QString KillLoop::contentFailure(const QString &reference, const QString &path)
{
    const QList<KilledResource> all = scenario.resources + QList { bystander };
    for (const KilledResource &resource : all) {
        if (resource.reference != reference)
            continue;
        const QString content = resource.isContainer ? samplePathIn(path) : path;
        if (content.isEmpty())
            return u"its sample is not in place"_s;
        return sumsBelow(content) == sumsBelow(resource.source) ? QString()
                                                                : u"it is not the source's"_s;
    }
    return u"nobody knows it"_s;
}

void KillLoop::checkBeside()
{
    if (!scenario.hasBeside)
        return;
    FileSums sums = sumsBelow(bystanderPath);
    sums.insert(u"time"_s, timeOf(bystanderPath));
    EXPECT_EQ(sums, bystanderSums);
    CacheDatabase database(cache->databasePath());
    EXPECT_EQ(database.status(bystander.reference), u"Ready"_s);
}

void KillLoop::checkOnlyBesideIsLeft()
{
    const QString data = cache->dataDir();
    EXPECT_EQ(sumsBelow(data).keys(), QStringList(bystanderPath.mid(data.size() + 1)));
}

/// Until whoever is dead counts as dead.
void KillLoop::letTimePass() const
{
    if (!QFile::exists(cache->databasePath()))
        return;
    CacheDatabase database(cache->databasePath());
    const QString hasClients = u"SELECT COUNT(*) FROM sqlite_master WHERE name = 'Clients'"_s;
    if (database.value(hasClients).toInt() > 0)
        database.run(u"UPDATE Clients SET lastPingTime = lastPingTime - 31000"_s);
}

/// What fetches have collected, by its place in the staging folder of each.
QMap<QString, qint64> KillLoop::staged() const
{
    QMap<QString, qint64> contents;
    const QMap<QString, qint64> all = sizesBelow(cache->baseDir() + u"/Staging"_s);
    for (auto file = all.begin(); file != all.end(); ++file) {
        const QString place = file.key().section(u'/', 2);
        const bool isLeaving = file.key().section(u'/', 1, 1).contains(u'.');
        if (place.startsWith(u"content/"_s) && !isLeaving)
            contents.insert(place.section(u'/', 1), file.value());
    }
    return contents;
}

/// That the next one has fetched what was not there, and nothing else.
void KillLoop::checkSent(const QMap<QString, qint64> &staged, bool wasReady) const
{
    const QString source = scenario.resources.constFirst().source;
    const bool isFile = QFileInfo(source).isFile();
    const qint64 total = isFile ? QFileInfo(source).size() : sum(sizesBelow(source));
    const qint64 expected = wasReady ? 0 : total - sum(staged);
    const auto sent = [&] {
        qint64 bytes = 0;
        for (const FileAnswers &answers : scenario.answersTo(user))
            bytes += answers.bytesTaken(staged.values().contains(answers.fileSize()));
        return bytes;
    };
    // A line of the log is written when the answer has been sent.
    waitUntil([&] { return sent() == expected; });
    EXPECT_EQ(sent(), expected) << "of " << total << " bytes " << sum(staged) << " were staged";
    for (const QString &path : scenario.answersTo(user).keys())
        EXPECT_FALSE(!isFile && staged.contains(path))
            << qPrintable(path) << " was here as a whole";
}

void KillLoop::checkRecovery()
{
    letTimePass();
    const QMap<QString, qint64> stagedByTheDead = staged();
    const bool wasReady = scenario.answersTo
        && CacheDatabase(cache->databasePath()).status(scenario.resources.constFirst().reference)
            == u"Ready"_s;
    nameNext();
    const auto next = program();
    EXPECT_EQ(next->ask(u"open"_s), u"ok"_s);
    for (const QString &command : std::as_const(scenario.again))
        EXPECT_EQ(next->ask(command).left(2), u"ok"_s) << qPrintable(command);
    if (scenario.isRemoval)
        checkOnlyBesideIsLeft();
    for (const KilledResource &resource : std::as_const(scenario.resources))
        checkResource(next.get(), resource);
    checkBeside();

    // The first opening takes the dead program out, the next one what it used.
    CacheInvariants invariants(cache->databasePath(), cache->dataDir());
    invariants.except(Exception::RowsOfTheDead);
    for (const Exception exception : std::as_const(scenario.exceptions))
        invariants.except(exception);
    const QStringList violations = invariants.violations();
    EXPECT_TRUE(violations.isEmpty()) << qPrintable(violations.join(u'\n'));
    next->send(u"quit"_s);
    EXPECT_EQ(next->end(), 0);
    if (scenario.answersTo)
        checkSent(stagedByTheDead, wasReady);
    checkRemoval();
    CacheDatabase database(cache->databasePath());
    EXPECT_EQ(database.count(u"Clients"_s), 0);
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), 0);
    EXPECT_EQ(database.count(u"ResourceUsages"_s), 0);
}

void KillLoop::checkResource(ActorProcess *next, const KilledResource &resource)
{
    const QString answer = next->ask(u"retrieve "_s + resource.reference);
    ASSERT_EQ(answer.left(3), u"ok "_s) << qPrintable(answer);
    EXPECT_EQ(contentFailure(resource.reference, answer.mid(3)), QString());
    CacheDatabase database(cache->databasePath());
    EXPECT_EQ(database.status(resource.reference), u"Ready"_s);
}

/// Whatever deaths have left goes with the resources at the latest.
void KillLoop::checkRemoval()
{
    EXPECT_EQ(sumsBelow(cache->baseDir() + u"/Staging"_s), FileSums());
    const auto last = program();
    last->send(u"open;purge 1"_s);
    EXPECT_EQ(last->end(), 0);
    EXPECT_EQ(sumsBelow(cache->dataDir()), FileSums());
    CacheDatabase database(cache->databasePath());
    EXPECT_EQ(database.value(u"SELECT currentSize FROM CacheMetadata"_s).toInt(), 0);
}

void KillLoop::recordFigures() const
{
    recordFigure(u"kills"_s, killCount);
    recordFigure(u"recoveries"_s, recoveryCount);
    recordFigure(u"violations"_s, testing::Test::HasFailure() ? 1 : 0);
}

} // namespace zel::test
