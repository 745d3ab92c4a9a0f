#include "staging/Placement.h"

#include "Fate.h"
#include "FileSteps.h"
#include "TemporaryCache.h"
#include "Volumes.h"
#include "staging/NeighbourName.h"

#include <QDir>
#include <QTemporaryDir>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <vector>

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

/// The same, and nothing that lies beside the target can be moved there.
class ClosedTarget final : public FileStepWatcher
{
public:
    /// `closedTo` are the beginnings of names.
    ClosedTarget(std::string target, std::vector<std::string> closedTo)
        : target(std::move(target))
        , closedTo(std::move(closedTo))
    {
        watchFileSteps(this);
    }
    ClosedTarget(const ClosedTarget &) = delete;
    ClosedTarget &operator=(const ClosedTarget &) = delete;
    ~ClosedTarget() override { watchFileSteps(nullptr); }

private:
    int before(const FileStep &step) override
    {
        if (step.kind != FileStep::Kind::Rename)
            return 0;
        if (step.flags != 0)
            return EINVAL;
        const bool isClosed = newPathOf(step) == target
            && std::any_of(closedTo.begin(), closedTo.end(), [&](const std::string &name) {
                                  return pathOf(step).find('/' + name) != std::string::npos;
                              });
        return isClosed ? EIO : 0;
    }

    const std::string target;
    const std::vector<std::string> closedTo;
};

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
    const ClosedTarget closed((target() + u"/run.d"_s).toStdString(), { ".incoming-" });
    const Error error = place();
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(u".incoming-owner-state-0"_s))
        << error.errorMessage().toStdString();
    EXPECT_EQ(readFile(target() + u"/run.d/old"_s), "old");
    EXPECT_EQ(neighbours(), QStringList());
}

TEST_F(PlacementTest, place_formerOneCannotGoBackEither_bothFailuresAreTold)
{
    writeFile(staging.filePath(u"run.d/new"_s), "new");
    const ClosedTarget closed((target() + u"/run.d"_s).toStdString(),
                              { ".incoming-", ".replaced-" });
    const Error error = place();
    EXPECT_TRUE(error.errorMessage().contains(u".incoming-owner-state-0"_s))
        << error.errorMessage().toStdString();
    EXPECT_TRUE(error.errorMessage().contains(u".replaced-owner-state-0"_s))
        << error.errorMessage().toStdString();
    EXPECT_EQ(readFile(target() + u"/.replaced-owner-state-0/old"_s), "old");
}

TEST_F(PlacementTest, neighbourName_otherNames_areNone)
{
    for (const char *name : { "run.d", "incoming-run", ".leftover-1", "", ".incoming" })
        EXPECT_FALSE(NeighbourName::isOne(name)) << name;
}
