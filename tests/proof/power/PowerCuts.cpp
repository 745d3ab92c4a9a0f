#include "PowerCuts.h"

#include "CacheDatabase.h"
#include "CacheInvariants.h"
#include "Proof.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <iostream>
#include <utility>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;
using Exception = CacheInvariants::Exception;

namespace {

const QString actor = QStringLiteral(ZEL_POWER_ACTOR);

// What is written out for each cut is large if more than this was written in all. It is then cut
// less often, in a short proof only where it shows what a next fetch goes on with.
constexpr qint64 mostBytesOfSmall = 8 * 1024 * 1024;
constexpr quint32 stepsBetweenLargeCuts = 4; // in a long proof

// In a short proof: after the steps of one command, of each kind, and of that which leaves holes.
constexpr qsizetype cutsOfAKind = 2;
constexpr qsizetype cutsWithHoles = 4;

QString digestOf(const QString &path)
{
    const QByteArray bytes = readFile(path);
    const QByteArray sum = QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex().left(8);
    return QString::number(bytes.size()) + u':' + QString::fromLatin1(sum);
}

qint64 sizeInLog(const LoggedStep &step)
{
    return qint64(sizeof step.head) + step.head.pathLength + step.head.newPathLength
        + qint64(step.head.byteCount);
}

/// Empty without a whole one.
QJsonObject recordAt(const QString &path)
{
    return QFile::exists(path) ? QJsonDocument::fromJson(readFile(path)).object() : QJsonObject();
}

bool hasTables(CacheDatabase *database)
{
    return database->value(u"SELECT COUNT(*) FROM sqlite_master"_s) != 0;
}

} // namespace

Files filesBelow(const QString &path)
{
    if (QFileInfo(path).isFile())
        return { { u""_s, digestOf(path) } };
    Files files;
    QDirIterator all(path, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString file = all.next();
        files.insert(file.mid(path.size() + 1), digestOf(file));
    }
    return files;
}

/// Each pair is a disk that could be.
const PowerCuts::Cut PowerCuts::cuts[] = {
    { Kept::Synced, Kept::Synced }, { Kept::Synced, Kept::All }, { Kept::Names, Kept::All },
    { Kept::All, Kept::Synced },    { Kept::Some, Kept::Some },  { Kept::Some, Kept::All },
    { Kept::Small, Kept::All },
};

void PowerCuts::expect(const QList<CutResource> &all)
{
    resources = all;
    for (const CutResource &resource : all)
        expected.insert(resource.reference, filesBelow(resource.source));
}

void PowerCuts::record(const QStringList &commands)
{
    disk = std::make_unique<DiskModel>(cache.baseDir());
    const QString log = outside(u"log"_s);
    QList<qint64> logSizes;
    ActorProcess program(actor, { cache.baseDir(), log });
    for (const QString &command : commands) {
        noteAnswer(command, program.ask(command));
        logSizes << QFileInfo(log).size();
    }
    program.send(u"quit"_s);
    EXPECT_EQ(program.end(), 0);
    isLarge = QFileInfo(log).size() > mostBytesOfSmall;
    steps = readStepLog(log);
    findEnds(logSizes);
    left = filesBelow(cache.baseDir());
}

void PowerCuts::noteAnswer(const QString &command, const QString &answer)
{
    EXPECT_EQ(answer.section(u' ', 0, 0), u"ok"_s)
        << command.toStdString() << ": " << answer.toStdString();
    const QString place = answer.mid(3);
    if (!place.isEmpty())
        removed.try_emplace(command.section(u' ', -1), place);
}

void PowerCuts::findEnds(const QList<qint64> &logSizes)
{
    qint64 size = 0;
    auto command = logSizes.begin();
    for (qsizetype i = 0; i < steps.size(); ++i) {
        size += sizeInLog(steps.at(i));
        for (; command != logSizes.end() && size >= *command; ++command)
            ends << i + 1;
    }
    ends << steps.size();
}

bool PowerCuts::hasRecorded(const std::function<bool(const LoggedStep &)> &isWanted) const
{
    return std::any_of(steps.begin(), steps.end(), isWanted);
}

void PowerCuts::cutEverywhere()
{
    const quint32 seed = proofSeed();
    random.seed(seed);
    for (qsizetype i = 0; i < steps.size() && !testing::Test::HasFailure(); ++i) {
        disk->apply(steps.at(i));
        for (auto &[reference, data] : removed)
            data.see(steps.at(i));
        for (const Cut &kind : cuts) {
            if (testing::Test::HasFailure() || !isChosen(i, kind))
                continue;
            cut(kind);
            if (testing::Test::HasFailure()) {
                std::cerr << "cut after step " << i << " of " << steps.size() << ", kind "
                          << &kind - &cuts[0] << ", ZEL_SEED=" << seed << '\n';
            }
        }
    }
    checkModel();
    recordFigures();
}

/// A command of few steps is cut as often as one of many. After the last step of a command nothing
/// is to come any more that makes up for a sync that is lacking.
bool PowerCuts::isChosen(qsizetype step, const Cut &cut)
{
    if (step == steps.size() - 1)
        return !isLarge || isLongProof() || cut.database == Kept::All;
    if (!isLarge && ends.contains(step + 1))
        return true;
    if (isLongProof())
        return !isLarge || random() % stepsBetweenLargeCuts == 0;
    if (isLarge && cut.data != Kept::Small)
        return false;
    const auto end = std::upper_bound(ends.begin(), ends.end(), step);
    const qsizetype begin = end == ends.begin() ? 0 : *std::prev(end);
    const qsizetype wanted = cut.data == Kept::Small ? cutsWithHoles : cutsOfAKind;
    return random() % std::max(quint32((*end - begin) / wanted), 1u) == 0;
}

void PowerCuts::cut(const Cut &cut)
{
    disk->writeTo(cache.baseDir(), cut.data, cut.database, random);
    ++cutCount;
    checkRows();
    checkManifests();
    if (!testing::Test::HasFailure() && isTimeForAProgramAfter(cut))
        checkNextFetches();
}

/// A Ready row with a part of its data would be handed out. Without any it is fetched anew, which
/// only removals may leave.
void PowerCuts::checkRows()
{
    if (QFile::exists(cache.databasePath())) {
        // Recovered without waiting for the disk: nobody cuts the power of the test.
        CacheDatabase database(cache.databasePath());
        database.run(u"PRAGMA synchronous = OFF"_s);
        database.value(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    }
    CacheInvariants invariants(cache.databasePath(), cache.dataDir());
    invariants.except(Exception::NoDatabase);
    for (const auto &[reference, data] : removed) {
        if (data.mayBeMissing())
            invariants.except(Exception::LostData);
    }
    for (const CutResource &resource : std::as_const(resources)) {
        if (resource.isContainer) // its size counts what lies elsewhere as well
            invariants.except(Exception::OtherSizes);
    }
    invariants.setContentCheck([this](const QString &reference, const QString &path) {
        ++readyCount;
        return contentFailure(reference, path);
    });
    const QStringList violations = invariants.violations();
    EXPECT_TRUE(violations.isEmpty()) << violations.join(u'\n').toStdString();
}

QString PowerCuts::contentFailure(const QString &reference, const QString &path)
{
    const auto known
        = std::find_if(resources.begin(), resources.end(),
                       [&](const CutResource &each) { return each.reference == reference; });
    if (known == resources.end())
        return u"nobody knows it"_s;
    QString content = path;
    if (known->isContainer) {
        const QString answer = askOther(u"samplePath "_s + path);
        if (!answer.startsWith(u"ok "_s))
            return answer;
        content = answer.mid(3);
    }
    const Files files = filesBelow(content);
    if (files == expected.value(reference))
        return {};
    return u"it holds "_s + files.keys().join(u',') + u" of "_s
        + QStringList(files.values()).join(u',');
}

QString PowerCuts::askOther(const QString &command)
{
    if (!other)
        other = std::make_unique<ActorProcess>(actor, QStringList { cache.addBaseDir(u"none"_s) });
    return other->ask(command);
}

/// The newest may be missing; what is there can be read.
void PowerCuts::checkManifests()
{
    const QDir folder(cache.baseDir() + u"/Manifests"_s);
    const QStringList names = folder.entryList({ u"*.json"_s }, QDir::Files);
    for (const QString &name : names) {
        const auto manifest = QJsonDocument::fromJson(readFile(folder.filePath(name)));
        EXPECT_FALSE(manifest[u"files"].toArray().isEmpty()) << name.toStdString();
        ++manifestCount;
    }
}

/// More often where a fetch finds what another one has staged, most of all with holes in it.
bool PowerCuts::isTimeForAProgramAfter(const Cut &cut)
{
    quint32 pause = forProof(24u, 20u);
    if (isSomethingStaged())
        pause = cut.data == Kept::Small ? forProof(isLarge ? 2u : 1u, 4u) : forProof(5u, 12u);
    return random() % pause == 0;
}

bool PowerCuts::isSomethingStaged() const
{
    const QString content = u"/content/"_s;
    QDirIterator all(cache.baseDir() + u"/Staging"_s, QDir::Files | QDir::Hidden,
                     QDirIterator::Subdirectories);
    while (all.hasNext()) {
        const QString path = all.next();
        const qsizetype end = path.indexOf(content);
        if (end > 0 && all.fileInfo().size() > 0
            && !recordAt(path.left(end) + u"/record.json"_s).isEmpty())
            return true;
    }
    return false;
}

/// Nobody lives any more, and whoever did has been silent for long.
void PowerCuts::startMachineAnew() const
{
    const QDir staging(cache.baseDir() + u"/Staging"_s);
    for (const QString &folder : staging.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString path = staging.filePath(folder + u"/record.json"_s);
        QJsonObject record = recordAt(path);
        if (record.isEmpty())
            continue;
        EXPECT_TRUE(record.contains(u"boot"_s));
        record.insert(u"boot"_s, u"00000000-0000-0000-0000-000000000000"_s);
        writeFile(path, QJsonDocument(record).toJson());
    }
    if (!QFile::exists(cache.databasePath()))
        return;
    CacheDatabase database(cache.databasePath());
    if (hasTables(&database))
        database.run(u"UPDATE Clients SET lastPingTime = lastPingTime - 31000"_s);
}

/// Another program comes once the machine is up again.
void PowerCuts::checkNextFetches()
{
    ++programCount;
    startMachineAnew();
    ActorProcess next(actor, { cache.baseDir() });
    for (const CutResource &resource : std::as_const(resources)) {
        const QString answer = next.ask(u"retrieve "_s + resource.reference);
        ASSERT_TRUE(answer.startsWith(u"ok "_s)) << answer.toStdString();
        EXPECT_EQ(contentFailure(resource.reference, answer.mid(3)), QString());
    }
    next.send(u"quit"_s);
    EXPECT_EQ(next.end(), 0);
}

/// Or the cuts were made in something else than what happened.
void PowerCuts::checkModel()
{
    if (testing::Test::HasFailure())
        return;
    const QString copy = outside(u"copy"_s);
    disk->writeTo(copy, Kept::All, Kept::All, random);
    const Files made = filesBelow(copy);
    EXPECT_EQ(made.keys(), left.keys());
    EXPECT_EQ(made, left);
    EXPECT_GT(readyCount, 0);
}

void PowerCuts::recordFigures() const
{
    recordFigure(u"steps"_s, steps.size());
    recordFigure(u"cuts"_s, cutCount);
    recordFigure(u"rows found Ready"_s, readyCount);
    recordFigure(u"manifests found"_s, manifestCount);
    recordFigure(u"programs afterwards"_s, programCount);
    recordFigure(u"violations"_s, testing::Test::HasFailure() ? 1 : 0);
}

} // namespace zel::test
