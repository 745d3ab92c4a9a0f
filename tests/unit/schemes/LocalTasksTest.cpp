#include "LocalTasks.h"

#include "FileSteps.h"
#include "Task.h"
#include "TemporaryCache.h"

#include <QTemporaryDir>

#include <atomic>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Cancels a task as soon as it opens a folder of a name.
class CancelAt final : public FileStepWatcher
{
public:
    CancelAt(Task *task, std::string name)
        : task(task)
        , name(std::move(name))
    {
        watchFileSteps(this);
    }
    CancelAt(const CancelAt &) = delete;
    CancelAt &operator=(const CancelAt &) = delete;
    ~CancelAt() override { watchFileSteps(nullptr); }

    int before(const FileStep &step) override
    {
        if (step.kind == FileStep::Kind::Open && pathOf(step).find(name) != std::string::npos) {
            ++opened;
            task->cancel();
        }
        return 0;
    }

    std::atomic<int> opened = 0;

private:
    Task *const task;
    const std::string name;
};

} // namespace

// A folder on a far share can take minutes.
TEST(LocalTasksTest, metadata_canceledInTheWalk_endsAtTheNextEntry)
{
    const QTemporaryDir directory;
    for (int i = 0; i < 50; ++i)
        writeFile(directory.filePath(u"run.d/part%1/file"_s.arg(i)), "x");
    const auto task = LocalTasks::metadata(directory.filePath(u"run.d"_s));
    const CancelAt watcher(task.get(), "/part");
    task->exec();
    EXPECT_EQ(task->waitForAllFinished(-1).errorCode(), ErrorCode::Canceled);
    EXPECT_EQ(watcher.opened, 1);
}
