#include "Proof.h"
#include "ResourceManager.h"
#include "SoakWorld.h"

#include <gmock/gmock.h>

#include <QSqlDatabase>

#include <cstdlib>
#include <random>

#include <sys/sem.h>
#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// In memory, as syncs take most of the time and nothing here is about what survives a power cut.
///
/// malloc() keeps pieces that a thread has freed for it and counts them as given out, which is more
/// than what some hundred retrieves may lose. Only a program's start can tell it not to.
__attribute__((constructor)) void startSuited(int, char **arguments, char **)
{
    constexpr auto variable = "GLIBC_TUNABLES";
    constexpr auto inMemory = "/dev/shm";
    if (std::getenv(variable))
        return;
    if (::access(inMemory, W_OK) == 0)
        ::setenv("TMPDIR", inMemory, 1);
    ::setenv(variable, "glibc.malloc.tcache_count=0", 1);
    ::execv("/proc/self/exe", arguments);
}

constexpr int points = 12;

class SoakTest : public SoakWorld
{
protected:
    /// The first rounds go before the first point, so that what is made once is made.
    Growth soak(int rounds, const std::function<void()> &round)
    {
        const int between = rounds / points;
        Growth growth(between);
        run(between * 2, round);
        for (int point = 0; point < points && !HasFatalFailure(); ++point) {
            run(between, round);
            growth.add(useAtRest());
            EXPECT_EQ(violationsAtRest(), QStringList());
        }
        return growth;
    }

    void proveOneByOne(const QList<Kind> &kinds)
    {
        int retrieves = 0;
        for (const Kind &kind : kinds) {
            SCOPED_TRACE(qPrintable(kind.name));
            const int rounds = forProof(480, 12'000) / kind.cost;
            const Growth growth = soak(rounds, kind.round);
            EXPECT_EQ(growth.violations({ mostHeapBytes(), kind.namesAnew }), QStringList());
            retrieves += rounds;
        }
        recordFigure(u"kinds"_s, kinds.size());
        recordFigure(u"retrieves"_s, retrieves);
        recordFigure(u"violations"_s, HasFailure() ? 1 : 0);
    }

    /// What grows when each round leaves something behind.
    QString foundWith(const std::function<void(int)> &leave)
    {
        const QList<Kind> kinds = scriptedKinds();
        int round = 0;
        const Growth growth = soak(20 * points, [&] {
            kinds.first().round();
            leave(++round);
        });
        return growth.violations({ mostHeapBytes(), false }).join(u'\n');
    }

    /// Less than the smallest piece that malloc() gives, so that one that is lost every other
    /// retrieve is found; in the long form one in 32.
    static double mostHeapBytes() { return forProof(16.0, 1.0); }
};

} // namespace

TEST_F(SoakTest, scriptedSource_eachKindOfRetrieve_nothingGrows)
{
    proveOneByOne(scriptedKinds());
}

TEST_F(SoakTest, schemes_eachKindOfRetrieve_nothingGrows)
{
    proveOneByOne(schemeKinds());
}

TEST_F(SoakTest, manager_eachKindOfCall_nothingGrows)
{
    proveOneByOne(managerKinds());
}

TEST_F(SoakTest, allMixed_aHundredThousandRetrieves_nothingGrows)
{
    const std::uint32_t seed = proofSeed();
    SCOPED_TRACE("ZEL_SEED=" + std::to_string(seed));
    const QList<Kind> all = kinds();
    std::vector<int> weights;
    for (const Kind &kind : all)
        weights.push_back(kind.weight);
    for (const Kind &kind : all)
        run(names, kind.round);
    std::discrete_distribution<qsizetype> choice(weights.begin(), weights.end());
    std::mt19937 random(seed);

    const int rounds = forProof(1'200, 100'000);
    const Growth growth = soak(rounds, [&] { all.at(choice(random)).round(); });
    EXPECT_EQ(growth.violations({ mostHeapBytes(), false }), QStringList());
    recordFigure(u"retrieves"_s, rounds);
    for (int i = 0; i < ProcessUse::QuantityCount; ++i) {
        const auto quantity = ProcessUse::Quantity(i);
        recordFigure(u"growth of "_s + QString::fromLatin1(ProcessUse::name(quantity)),
                     growth.of(quantity));
    }
    recordFigure(u"violations"_s, HasFailure() ? 1 : 0);
}

TEST_F(SoakTest, leakWithEachRetrieve_ofAnySort_isFound)
{
    const auto finds = [](const char *text) {
        return testing::HasSubstr(text);
    };
    QList<QByteArray> lost;
    const QString lostBytes = foundWith([&](int) { lost.append(QByteArray(100, 'x')); });
    EXPECT_THAT(lostBytes.toStdString(), finds("heap bytes grow"));
    auto *parent = new QObject(&ResourceManager::instance());
    const QString objects = foundWith([&](int) { new QObject(parent); });
    EXPECT_THAT(objects.toStdString(), finds("objects grow"));
    delete parent;

    QList<int> descriptors;
    const QString files = foundWith([&](int) { descriptors.append(::dup(STDERR_FILENO)); });
    EXPECT_THAT(files.toStdString(), finds("descriptors grow"));
    for (const int descriptor : descriptors)
        ::close(descriptor);

    const auto connection = [](int round) {
        return u"leak%1"_s.arg(round);
    };
    const QString connections
        = foundWith([&](int round) { QSqlDatabase::addDatabase(u"QSQLITE"_s, connection(round)); });
    EXPECT_THAT(connections.toStdString(), finds("connections grow"));
    for (const QString &name : QSqlDatabase::connectionNames().filter(u"leak"_s))
        QSqlDatabase::removeDatabase(name);

    QList<int> sets;
    const QString semaphores = foundWith([&](int) {
        sets.append(::semget(IPC_PRIVATE, 1, 0600));
        ::semctl(sets.last(), 0, SETVAL, 1);
    });
    EXPECT_THAT(semaphores.toStdString(), finds("semaphores grow"));
    for (const int set : sets)
        ::semctl(set, 0, IPC_RMID);

    const QString entries = foundWith(
        [&](int round) { writeFile(cache.baseDir() + u"/Staging/%1"_s.arg(round), "x"); });
    EXPECT_THAT(entries.toStdString(), finds("entries grow"));
}
