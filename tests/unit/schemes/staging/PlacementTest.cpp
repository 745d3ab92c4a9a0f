#include "staging/Placement.h"

#include "Fate.h"
#include "FileSteps.h"
#include "SchemeErrors.h"
#include "TemporaryCache.h"
#include "Volumes.h"
#include "staging/NeighbourName.h"

#include <QDir>
#include <QTemporaryDir>

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <functional>

#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// A volume on which nothing can change places, as many cannot; kills the process before a step.
class PoorVolume final : public FileStepWatcher
{
public:
    explicit PoorVolume(int stepsToLive)
        : stepsToLive(stepsToLive)
    {
    }

    int before(const FileStep &step) override
    {
        if (changesFiles(step) && stepsToLive-- == 0)
            ::kill(::getpid(), SIGKILL);
        const bool isExchange = step.kind == FileStep::Kind::Rename && step.flags != 0;
        return isExchange ? EINVAL : 0;
    }

private:
    int stepsToLive;
};

/// The same, and some renames fail.
class FaultyVolume final : public FileStepWatcher
{
public:
    using IsRefused = std::function<bool(const std::string &from, const std::string &to)>;

    explicit FaultyVolume(IsRefused isRefused)
        : isRefused(std::move(isRefused))
    {
        watchFileSteps(this);
    }
    FaultyVolume(const FaultyVolume &) = delete;
    FaultyVolume &operator=(const FaultyVolume &) = delete;
    ~FaultyVolume() override { watchFileSteps(nullptr); }

private:
    int before(const FileStep &step) override
    {
        if (step.kind != FileStep::Kind::Rename)
            return 0;
        if (step.flags != 0)
            return EINVAL;
        return isRefused(pathOf(step), newPathOf(step)) ? EIO : 0;
    }

    const IsRefused isRefused;
};

bool isNeighbour(const std::string &path, const char *prefix)
{
    return path.find('/' + std::string(prefix)) != std::string::npos;
}

/// From one volume to a place on another one at which something lies already.
class PlacementTest : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!areOnTwoVolumes(staging.path(), cache.baseDir()))
            GTEST_SKIP() << "no second volume to write to";
        writeFile(target() + u"/run.d"_s + u"/old"_s, "old");
    }

    QString target() const { return cache.dataDir() + u"/share/folder"_s; }

    Error place()
    {
        return Placement::place(staging.filePath(u"run.d"_s).toStdString(),
                                (target() + u"/run.d"_s).toStdString(), "owner-state-0");
    }
    /// In a process of its own; false if it was killed.
    bool place(int stepsToLive)
    {
        writeFile(staging.filePath(u"run.d/new"_s), "new");
        const pid_t child = ::fork();
        if (child == 0) {
            PoorVolume volume(stepsToLive);
            watchFileSteps(&volume);
            ::_exit(place().hasError() ? 1 : 0);
        }
        return fateOfChild(child) != Fate::Killed;
    }
    /// What lies beside the target.
    QStringList neighbours() const
    {
        QStringList names
            = QDir(target()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
        names.removeAll(u"run.d"_s);
        return names;
    }

    TemporaryCache cache;
    QTemporaryDir staging { u"/dev/shm/zel-placement-XXXXXX"_s };
};

} // namespace

TEST_F(PlacementTest, place_killedAtEachStep_leavesOnlyNamesThatAreKnownAndTheNextOneNone)
{
    QSet<QString> seen;
    int step = 0;
    for (; !HasFailure() && !place(step); ++step) {
        for (const QString &name : neighbours()) {
            EXPECT_TRUE(NeighbourName::isOne(name.toStdString())) << name.toStdString();
            seen.insert(name);
        }
        EXPECT_TRUE(place(-1));
        EXPECT_EQ(neighbours(), QStringList()) << step;
        EXPECT_EQ(readFile(target() + u"/run.d/new"_s), "new");
        writeFile(target() + u"/run.d/old"_s, "old");
    }
    EXPECT_EQ(seen, (QSet<QString> { u".incoming-owner-state-0"_s, u".replaced-owner-state-0"_s }));
}

TEST_F(PlacementTest, place_newOneCannotTakeThePlace_formerOneIsBack)
{
    writeFile(staging.filePath(u"run.d/new"_s), "new");
    const FaultyVolume volume(
        [](const auto &from, const auto &) { return isNeighbour(from, ".incoming-"); });
    const Error error = place();
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(u".incoming-owner-state-0"_s))
        << error.errorMessage().toStdString();
    EXPECT_EQ(readFile(target() + u"/run.d/old"_s), "old");
    EXPECT_EQ(neighbours(), QStringList());
}

TEST_F(PlacementTest, place_formerOneCannotGoAway_staysAndTheReasonIsTold)
{
    writeFile(staging.filePath(u"run.d/new"_s), "new");
    const FaultyVolume volume(
        [](const auto &, const auto &to) { return isNeighbour(to, ".replaced-"); });
    const Error error = place();
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(u".replaced-owner-state-0"_s))
        << error.errorMessage().toStdString();
    EXPECT_EQ(readFile(target() + u"/run.d/old"_s), "old");
    EXPECT_EQ(neighbours(), QStringList());
}

TEST_F(PlacementTest, place_formerOneCannotGoBackEither_bothFailuresAreTold)
{
    writeFile(staging.filePath(u"run.d/new"_s), "new");
    const FaultyVolume volume([](const auto &from, const auto &) {
        return isNeighbour(from, ".incoming-") || isNeighbour(from, ".replaced-");
    });
    const Error error = place();
    EXPECT_TRUE(error.errorMessage().contains(u".incoming-owner-state-0"_s))
        << error.errorMessage().toStdString();
    EXPECT_TRUE(error.errorMessage().contains(u".replaced-owner-state-0"_s))
        << error.errorMessage().toStdString();
    EXPECT_EQ(readFile(target() + u"/.replaced-owner-state-0/old"_s), "old");
}

TEST_F(PlacementTest, place_noRoomBesideTheTarget_isToldBeforeTheFirstByte)
{
    writeFile(staging.filePath(u"run.d/new"_s), {});
    ASSERT_TRUE(QFile::resize(staging.filePath(u"run.d/new"_s), qint64(1) << 60));
    const Error error = place();
    EXPECT_EQ(int(error.errorCode()), SchemeErrors::noSpace);
    EXPECT_EQ(error.errorMessage(), u"There is no room for \"%1\"."_s.arg(target()));
    EXPECT_EQ(readFile(target() + u"/run.d/old"_s), "old");
    EXPECT_EQ(neighbours(), QStringList());
}

TEST_F(PlacementTest, place_oneVolumeThatExchangesNothing_movesWithoutACopy)
{
    const QString near = cache.outside(u"near/run.d"_s);
    writeFile(near + u"/new"_s, "new");
    const FaultyVolume volume([](const auto &, const auto &) { return false; });
    const std::filesystem::path secondName = cache.outside(u"second"_s).toStdString();
    std::filesystem::create_hard_link((near + u"/new"_s).toStdString(), secondName);
    EXPECT_EQ(Placement::place(near.toStdString(), (target() + u"/run.d"_s).toStdString(),
                               "owner-state-0"),
              Error());
    const std::filesystem::path placed = (target() + u"/run.d/new"_s).toStdString();
    EXPECT_TRUE(std::filesystem::equivalent(placed, secondName));
    EXPECT_FALSE(QFileInfo::exists(target() + u"/run.d/old"_s));
    EXPECT_EQ(neighbours(), QStringList());
}

TEST_F(PlacementTest, neighbourName_otherNames_areNone)
{
    for (const char *name : { "run.d", "incoming-run", ".leftover-1", "", ".incoming" })
        EXPECT_FALSE(NeighbourName::isOne(name)) << name;
}
