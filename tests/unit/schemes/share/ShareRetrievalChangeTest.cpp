#include "ShareRetrievalFixture.h"

#include "Fate.h"

#include <chrono>
#include <csignal>
#include <filesystem>

#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

/// Copies in whose middle the program dies, the source changes or somebody else publishes.
class ShareRetrievalChangeTest : public ShareRetrievalFixture
{
protected:
    static void setBack(const QString &path)
    {
        const std::filesystem::path file = path.toStdString();
        std::filesystem::last_write_time(
            file, std::filesystem::last_write_time(file) - std::chrono::hours(1));
    }
    /// Of the fetch of a file that is changed to this in its middle.
    int codeIfSourceBecomes(const QByteArray &changed)
    {
        writeFile(source(u"run.raw"_s), largeContent());
        SteppedTask task;
        task.atStep = 3;
        task.action = [&] {
            writeFile(source(u"run.raw"_s), changed);
        };
        return int(retrieve(task, plan, u"run.raw"_s).errorCode());
    }
};

TEST_F(ShareRetrievalChangeTest, run_killedAtAnyStep_theNextOneEndsWithTheWholeFile)
{
    const FetchPlan folder = planFor(u"share:/run.d"_s, u"run.d"_s);
    const QByteArray content = largeContent();
    writeFile(source(u"run.d/a"_s), content);
    writeFile(source(u"run.d/b/c"_s), content);
    bool isKilled = true;
    int step = 1;
    for (; isKilled; ++step) {
        const pid_t child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            SteppedTask task;
            task.atStep = step;
            task.action = [] {
                std::raise(SIGKILL);
            };
            _exit(retrieve(task, folder, u"run.d"_s).hasError() ? 1 : 0);
        }
        isKilled = fateOfChild(child) == Fate::Killed;
        EXPECT_NE(isKilled, QFileInfo::exists(folder.expectedPath)) << "step " << step;
    }
    EXPECT_GT(step, 10);
    EXPECT_EQ(readFile(folder.expectedPath + u"/a"_s), content);
    EXPECT_EQ(readFile(folder.expectedPath + u"/b/c"_s), content);
    EXPECT_TRUE(places().isEmpty());
}

TEST_F(ShareRetrievalChangeTest, run_killedBeforePublishing_theNextOnePublishesWithoutCopying)
{
    writeFile(source(u"run.raw"_s), largeContent());
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        FetchPlan killing = plan;
        killing.isReady = [](const QString &) -> bool {
            std::raise(SIGKILL);
            return false;
        };
        _exit(retrieve(killing, u"run.raw"_s).hasError() ? 1 : 0);
    }
    ASSERT_EQ(fateOfChild(child), Fate::Killed);
    EXPECT_FALSE(QFileInfo::exists(plan.expectedPath));

    Task task(nullptr);
    QSignalSpy told(&task, &Task::progress);
    ASSERT_FALSE(retrieve(task, plan, u"run.raw"_s).hasError());
    EXPECT_EQ(told.first().at(0), told.first().at(1));
    EXPECT_EQ(readFile(plan.expectedPath), largeContent());
}

TEST_F(ShareRetrievalChangeTest, run_sourceChangesAtAnyStep_isAFailureOrTheNewState)
{
    const QByteArray first = largeContent();
    const QByteArray second = QByteArray(first).replace('1', '2');
    writeFile(source(u"run.raw"_s), first);
    SteppedTask whole;
    ASSERT_FALSE(retrieve(whole, planFor(u"share:/w"_s, u"w"_s), u"run.raw"_s).hasError());

    for (int step = 1; step <= whole.steps; ++step) {
        writeFile(source(u"run.raw"_s), first);
        setBack(source(u"run.raw"_s)); // clocks of files may be coarse
        const FetchPlan stepPlan = planFor(u"share:/%1"_s.arg(step), u"%1.raw"_s.arg(step));
        SteppedTask task;
        task.atStep = step;
        task.action = [&] {
            writeFile(source(u"run.raw"_s), second);
        };
        const Error error = retrieve(task, stepPlan, u"run.raw"_s);
        EXPECT_EQ(int(error.errorCode()), 6) << step;
        EXPECT_FALSE(QFileInfo::exists(stepPlan.expectedPath));
        ASSERT_FALSE(retrieve(stepPlan, u"run.raw"_s).hasError());
        EXPECT_EQ(readFile(stepPlan.expectedPath), second) << step;
    }
}

TEST_F(ShareRetrievalChangeTest, run_sourceGrowsMeanwhile_hasCode6)
{
    EXPECT_EQ(codeIfSourceBecomes(largeContent() + largeContent()), 6);
}

TEST_F(ShareRetrievalChangeTest, run_sourceShrinksMeanwhile_hasCode6)
{
    EXPECT_EQ(codeIfSourceBecomes("short"), 6);
}

TEST_F(ShareRetrievalChangeTest, run_fileAppearsInFolderMeanwhile_hasCode6)
{
    const FetchPlan folder = planFor(u"share:/run.d"_s, u"run.d"_s);
    writeFile(source(u"run.d/a"_s), largeContent());
    SteppedTask task;
    task.atStep = 4;
    task.action = [&] {
        writeFile(source(u"run.d/b"_s), "new");
    };
    EXPECT_EQ(int(retrieve(task, folder, u"run.d"_s).errorCode()), 6);
    EXPECT_FALSE(QFileInfo::exists(folder.expectedPath));
}

TEST_F(ShareRetrievalChangeTest, run_resourceBecomesReadyMeanwhile_dropsItsOwn)
{
    writeFile(source(u"run.raw"_s), largeContent());
    SteppedTask task;
    task.atStep = 3;
    task.action = [&] {
        writeFile(plan.expectedPath, "of the other");
        ready << plan.referenceKey;
    };
    ASSERT_FALSE(retrieve(task, plan, u"run.raw"_s).hasError());
    EXPECT_EQ(readFile(plan.expectedPath), "of the other");
    EXPECT_TRUE(places().isEmpty());
}
