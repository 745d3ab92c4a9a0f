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

void PowerCuts::expect(const QList<CutResource> &resources)
{
    m_resources = resources;
    for (const CutResource &resource : resources)
        m_expected.insert(resource.reference, filesBelow(resource.source));
}

void PowerCuts::record(const QStringList &commands)
{
    m_disk = std::make_unique<DiskModel>(m_cache.baseDir());
    const QString log = outside(u"log"_s);
    QList<qint64> logSizes;
    ActorProcess program(actor, { m_cache.baseDir(), log });
    for (const QString &command : commands) {
        noteAnswer(command, program.ask(command));
        logSizes << QFileInfo(log).size();
    }
    program.send(u"quit"_s);
    EXPECT_EQ(program.end(), 0);
    m_isLarge = QFileInfo(log).size() > mostBytesOfSmall;
    m_steps = readStepLog(log);
    findEnds(logSizes);
    m_left = filesBelow(m_cache.baseDir());
}

void PowerCuts::noteAnswer(const QString &command, const QString &answer)
{
    EXPECT_EQ(answer.section(u' ', 0, 0), u"ok"_s)
        << command.toStdString() << ": " << answer.toStdString();
    const QString place = answer.mid(3);
    if (!place.isEmpty())
        m_removed.try_emplace(command.section(u' ', -1), place);
}

void PowerCuts::findEnds(const QList<qint64> &logSizes)
{
    qint64 size = 0;
    auto command = logSizes.begin();
    for (qsizetype i = 0; i < m_steps.size(); ++i) {
        size += sizeInLog(m_steps.at(i));
        for (; command != logSizes.end() && size >= *command; ++command)
            m_ends << i + 1;
    }
    m_ends << m_steps.size();
}

bool PowerCuts::hasRecorded(const std::function<bool(const LoggedStep &)> &isWanted) const
{
    return std::any_of(m_steps.begin(), m_steps.end(), isWanted);
}

void PowerCuts::cutEverywhere()
{
    const quint32 seed = proofSeed();
    m_random.seed(seed);
    for (qsizetype i = 0; i < m_steps.size() && !testing::Test::HasFailure(); ++i) {
        m_disk->apply(m_steps.at(i));
        for (auto &[reference, data] : m_removed)
            data.see(m_steps.at(i));
        for (const Cut &kind : cuts) {
            if (testing::Test::HasFailure() || !isChosen(i, kind))
                continue;
            cut(kind);
            if (testing::Test::HasFailure()) {
                std::cerr << "cut after step " << i << " of " << m_steps.size() << ", kind "
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
    if (step == m_steps.size() - 1)
        return !m_isLarge || isLongProof() || cut.database == Kept::All;
    if (!m_isLarge && m_ends.contains(step + 1))
        return true;
    if (isLongProof())
        return !m_isLarge || m_random() % stepsBetweenLargeCuts == 0;
    if (m_isLarge && cut.data != Kept::Small)
        return false;
    const auto end = std::upper_bound(m_ends.begin(), m_ends.end(), step);
    const qsizetype begin = end == m_ends.begin() ? 0 : *std::prev(end);
    const qsizetype wanted = cut.data == Kept::Small ? cutsWithHoles : cutsOfAKind;
    return m_random() % std::max(quint32((*end - begin) / wanted), 1u) == 0;
}

void PowerCuts::cut(const Cut &cut)
{
    m_disk->writeTo(m_cache.baseDir(), cut.data, cut.database, m_random);
    ++m_cuts;
    checkRows();
    checkManifests();
    if (!testing::Test::HasFailure() && isTimeForAProgramAfter(cut))
        checkNextFetches();
}

/// A Ready row with a part of its data would be handed out. Without any it is fetched anew, which
/// only removals may leave.
void PowerCuts::checkRows()
{
    if (QFile::exists(m_cache.databasePath())) {
        // Recovered without waiting for the disk: nobody cuts the power of the test.
        CacheDatabase database(m_cache.databasePath());
        database.run(u"PRAGMA synchronous = OFF"_s);
        database.value(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    }
    CacheInvariants invariants(m_cache.databasePath(), m_cache.dataDir());
    invariants.except(Exception::NoDatabase);
    for (const auto &[reference, data] : m_removed) {
        if (data.mayBeMissing())
            invariants.except(Exception::LostData);
    }
    for (const CutResource &resource : std::as_const(m_resources)) {
        if (resource.isContainer) // its size counts what lies elsewhere as well
            invariants.except(Exception::OtherSizes);
    }
    invariants.setContentCheck([this](const QString &reference, const QString &path) {
        ++m_readyRows;
        return contentFailure(reference, path);
    });
    const QStringList violations = invariants.violations();
    EXPECT_TRUE(violations.isEmpty()) << violations.join(u'\n').toStdString();
}

QString PowerCuts::contentFailure(const QString &reference, const QString &path)
{
    const auto known
        = std::find_if(m_resources.begin(), m_resources.end(),
                       [&](const CutResource &each) { return each.reference == reference; });
    if (known == m_resources.end())
        return u"nobody knows it"_s;
    QString content = path;
    if (known->isContainer) {
        const QString answer = askOther(u"samplePath "_s + path);
        if (!answer.startsWith(u"ok "_s))
            return answer;
        content = answer.mid(3);
    }
    const Files files = filesBelow(content);
    if (files == m_expected.value(reference))
        return {};
    return u"it holds "_s + files.keys().join(u',') + u" of "_s
        + QStringList(files.values()).join(u',');
}

QString PowerCuts::askOther(const QString &command)
{
    if (!m_other)
        m_other
            = std::make_unique<ActorProcess>(actor, QStringList { m_cache.addBaseDir(u"none"_s) });
    return m_other->ask(command);
}

/// The newest may be missing; what is there can be read.
void PowerCuts::checkManifests()
{
    const QDir folder(m_cache.baseDir() + u"/Manifests"_s);
    const QStringList names = folder.entryList({ u"*.json"_s }, QDir::Files);
    for (const QString &name : names) {
        const auto manifest = QJsonDocument::fromJson(readFile(folder.filePath(name)));
        EXPECT_FALSE(manifest[u"files"].toArray().isEmpty()) << name.toStdString();
        ++m_manifests;
    }
}

/// More often where a fetch finds what another one has staged, most of all with holes in it.
bool PowerCuts::isTimeForAProgramAfter(const Cut &cut)
{
    quint32 pause = forProof(24u, 20u);
    if (isSomethingStaged())
        pause = cut.data == Kept::Small ? forProof(m_isLarge ? 2u : 1u, 4u) : forProof(5u, 12u);
    return m_random() % pause == 0;
}

bool PowerCuts::isSomethingStaged() const
{
    const QString content = u"/content/"_s;
    QDirIterator all(m_cache.baseDir() + u"/Staging"_s, QDir::Files | QDir::Hidden,
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
    const QDir staging(m_cache.baseDir() + u"/Staging"_s);
    for (const QString &folder : staging.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        const QString path = staging.filePath(folder + u"/record.json"_s);
        QJsonObject record = recordAt(path);
        if (record.isEmpty())
            continue;
        EXPECT_TRUE(record.contains(u"boot"_s));
        record.insert(u"boot"_s, u"00000000-0000-0000-0000-000000000000"_s);
        writeFile(path, QJsonDocument(record).toJson());
    }
    if (!QFile::exists(m_cache.databasePath()))
        return;
    CacheDatabase database(m_cache.databasePath());
    if (hasTables(&database))
        database.run(u"UPDATE Clients SET lastPingTime = lastPingTime - 31000"_s);
}

/// Another program comes once the machine is up again.
void PowerCuts::checkNextFetches()
{
    ++m_programs;
    startMachineAnew();
    ActorProcess next(actor, { m_cache.baseDir() });
    for (const CutResource &resource : std::as_const(m_resources)) {
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
    m_disk->writeTo(copy, Kept::All, Kept::All, m_random);
    const Files made = filesBelow(copy);
    EXPECT_EQ(made.keys(), m_left.keys());
    EXPECT_EQ(made, m_left);
    EXPECT_GT(m_readyRows, 0);
}

void PowerCuts::recordFigures() const
{
    recordFigure(u"steps"_s, m_steps.size());
    recordFigure(u"cuts"_s, m_cuts);
    recordFigure(u"rows found Ready"_s, m_readyRows);
    recordFigure(u"manifests found"_s, m_manifests);
    recordFigure(u"programs afterwards"_s, m_programs);
    recordFigure(u"violations"_s, testing::Test::HasFailure() ? 1 : 0);
}

} // namespace zel::test
