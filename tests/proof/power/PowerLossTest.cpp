#include "ActorProcess.h"
#include "CacheDatabase.h"
#include "DiskModel.h"
#include "Proof.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Sizes and sums by the path below the resource's.
using Files = QMap<QString, QString>;

QString digestOf(const QString &path)
{
    const QByteArray bytes = readFile(path);
    const QByteArray sum = QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex().left(8);
    return QString::number(bytes.size()) + u':' + QString::fromLatin1(sum);
}

/// What a cut leaves, of the data and of the database. Each pair is a disk that could be.
struct Cut
{
    Kept data;
    Kept database;
};
constexpr Cut cuts[] = {
    { Kept::Synced, Kept::Synced }, { Kept::Synced, Kept::All }, { Kept::Names, Kept::All },
    { Kept::All, Kept::Synced },    { Kept::Some, Kept::Some },  { Kept::Some, Kept::All },
};

/// Records what a program does to its cache, and cuts the power after each of its steps.
class PowerLossTest : public testing::Test
{
protected:
    QString share(const QString &name) const { return m_cache.outside(u"share/"_s + name); }

    /// Lets a program obey the commands, and takes its cache apart again.
    QList<LoggedStep> record(const QStringList &commands)
    {
        const QString log = m_cache.outside(u"log"_s);
        ActorProcess program(QStringLiteral(ZEL_SCHEMES_ACTOR), { m_cache.baseDir(), log });
        for (const QString &command : commands)
            EXPECT_TRUE(program.ask(command).startsWith(u"ok"_s)) << command.toStdString();
        program.send(u"quit"_s);
        EXPECT_EQ(program.end(), 0);
        return readStepLog(log);
    }

    static Files filesBelow(const QString &path)
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

    /// A Ready row with a part of its data would be handed out. Without any it is fetched anew,
    /// which only removals may leave.
    void checkRows()
    {
        if (!QFile::exists(m_cache.databasePath()))
            return;
        CacheDatabase database(m_cache.databasePath());
        database.run(u"PRAGMA synchronous = OFF"_s); // nobody cuts the power of the test
        EXPECT_EQ(database.value(u"PRAGMA integrity_check"_s).toString(), u"ok"_s);
        if (database.value(u"SELECT COUNT(*) FROM sqlite_master"_s) == 0)
            return;
        const QString ready = u"FROM CachedResources WHERE status = 'Ready' ORDER BY id"_s;
        const QStringList references = database.column(u"SELECT reference "_s + ready);
        const QStringList paths = database.column(u"SELECT cachedPath "_s + ready);
        for (qsizetype i = 0; i < references.size(); ++i) {
            if (!QFileInfo::exists(paths.at(i))) {
                EXPECT_TRUE(m_isDataRemoved) << references.at(i).toStdString() << " is not there";
                continue;
            }
            const QString source = references.at(i).mid(QStringLiteral("share:").size());
            EXPECT_EQ(filesBelow(paths.at(i)), filesBelow(source))
                << references.at(i).toStdString();
            ++m_readyRows;
        }
    }

    /// The newest may be missing; what is there can be read.
    void checkManifests()
    {
        const QDir folder(m_cache.baseDir() + u"/Manifests"_s);
        const QStringList names = folder.entryList({ u"*.json"_s }, QDir::Files);
        for (const QString &name : names) {
            const auto manifest = QJsonDocument::fromJson(readFile(folder.filePath(name)));
            EXPECT_FALSE(manifest[u"files"].toArray().isEmpty()) << name.toStdString();
            ++m_manifests;
        }
    }

    /// Another program comes once the machine is up again: whoever fetched has been silent for
    /// long.
    void checkNextFetch(const QString &reference)
    {
        if (QFile::exists(m_cache.databasePath())) {
            CacheDatabase database(m_cache.databasePath());
            if (database.value(u"SELECT COUNT(*) FROM sqlite_master"_s) != 0)
                database.run(u"UPDATE Clients SET lastPingTime = lastPingTime - 31000"_s);
        }
        ActorProcess next(QStringLiteral(ZEL_SCHEMES_ACTOR), { m_cache.baseDir() });
        const QString answer = next.ask(u"retrieve "_s + reference);
        ASSERT_TRUE(answer.startsWith(u"ok "_s)) << answer.toStdString();
        EXPECT_EQ(filesBelow(answer.mid(3)), filesBelow(reference.mid(6)));
        next.send(u"quit"_s);
        EXPECT_EQ(next.end(), 0);
    }

    /// After each step a cut of each kind, and after some of them another program.
    void cutEverywhere(const QList<LoggedStep> &steps, const QStringList &references)
    {
        const quint32 seed = proofSeed();
        std::mt19937 random(seed);
        DiskModel disk(m_cache.baseDir());
        int cutsMade = 0;
        int programs = 0;
        for (qsizetype i = 0; i < steps.size() && !HasFailure(); ++i) {
            disk.apply(steps.at(i));
            for (const Cut &cut : cuts) {
                if (HasFailure() || random() % forProof(cutsBetween, 1u) != 0)
                    continue;
                disk.writeTo(m_cache.baseDir(), cut.data, cut.database, random);
                checkRows();
                checkManifests();
                if (!HasFailure() && ++cutsMade % forProof(100, 10) == 0) {
                    checkNextFetch(references.at(++programs % references.size()));
                }
                if (HasFailure()) {
                    std::cerr << "cut after step " << i << " of " << steps.size() << ", kind "
                              << &cut - &cuts[0] << ", ZEL_SEED=" << seed << '\n';
                }
            }
        }
        recordFigure(u"steps"_s, steps.size());
        recordFigure(u"cuts"_s, cutsMade);
        recordFigure(u"rows found Ready"_s, m_readyRows);
        recordFigure(u"manifests found"_s, m_manifests);
        recordFigure(u"programs afterwards"_s, programs);
        recordFigure(u"violations"_s, HasFailure() ? 1 : 0);
        EXPECT_GT(m_readyRows, 0);
        EXPECT_GT(m_manifests, 0);
    }

    static constexpr quint32 cutsBetween = 6;
    const TemporaryCache m_cache;
    bool m_isDataRemoved = false; ///< by what was recorded
    int m_readyRows = 0;
    int m_manifests = 0;
};

QByteArray content(int size)
{
    QByteArray bytes;
    while (bytes.size() < size)
        bytes += QByteArray::number(bytes.size()) + ' ';
    return bytes;
}

} // namespace

// Or the cuts are made in something else than what happened.
TEST_F(PowerLossTest, model_allKept_isWhatTheProgramLeft)
{
    writeFile(share(u"run.mzML"_s), content(20'000));
    const QList<LoggedStep> steps
        = record({ u"retrieve share:"_s + share(u"run.mzML"_s), u"purge"_s });
    Files left = filesBelow(m_cache.baseDir());
    DiskModel disk(m_cache.baseDir());
    for (const LoggedStep &step : steps)
        disk.apply(step);
    std::mt19937 random;
    disk.writeTo(m_cache.outside(u"copy"_s), Kept::All, Kept::All, random);
    Files made = filesBelow(m_cache.outside(u"copy"_s));
    EXPECT_EQ(made.keys(), left.keys());
    EXPECT_EQ(made, left);
}

TEST_F(PowerLossTest, fetchOfFiles_cutAfterEachStep_eachReadyRowHasAllOfItsData)
{
    writeFile(share(u"a/x.wiff"_s), content(20'000));
    writeFile(share(u"b/run.mzML"_s), content(70'000));
    const QStringList references { u"share:"_s + share(u"a/x.wiff"_s),
                                   u"share:"_s + share(u"b/run.mzML"_s) };
    cutEverywhere(record({ u"retrieve "_s + references.at(0), u"retrieve "_s + references.at(1) }),
                  references);
}

TEST_F(PowerLossTest, fetchOfAFolder_cutAfterEachStep_eachReadyRowHasAllOfItsData)
{
    for (const char *name : { "a", "b/c", "b/d/e" })
        writeFile(share(u"run.d/"_s + QString::fromLatin1(name)), content(5'000));
    const QString reference = u"share:"_s + share(u"run.d"_s);
    cutEverywhere(record({ u"retrieve "_s + reference }), { reference });
}

TEST_F(PowerLossTest, purgeAndFetchAgain_cutAfterEachStep_noReadyRowHasAPartOfItsData)
{
    m_isDataRemoved = true;
    writeFile(share(u"run.d/a"_s), content(5'000));
    writeFile(share(u"run.d/b"_s), content(5'000));
    const QString reference = u"share:"_s + share(u"run.d"_s);
    const QString retrieve = u"retrieve "_s + reference;
    cutEverywhere(record({ retrieve, u"purge"_s, retrieve, u"purge"_s }), { reference });
}
