#include "folder/FolderFileSink.h"

#include "../list/ListSchemeFixture.h"
#include "FileSteps.h"
#include "NginxServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cerrno>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

/// Lets the first wait for a file that has been begun fail, and no other.
class FailingPartSync final : public FileStepWatcher
{
public:
    FailingPartSync() { watchFileSteps(this); }
    FailingPartSync(const FailingPartSync &) = delete;
    FailingPartSync &operator=(const FailingPartSync &) = delete;
    ~FailingPartSync() override { watchFileSteps(nullptr); }

    bool hasFailed() const { return failed; }

private:
    int before(const FileStep &step) override
    {
        const bool isOfPart = step.kind == FileStep::Kind::Sync
            && pathOf(step).find("/.begun/") != std::string::npos;
        return isOfPart && !failed.exchange(true) ? EIO : 0;
    }

    std::atomic<bool> failed = false;
};

using FolderFileSinkTest = ListSchemeFixture;

} // namespace

TEST_F(FolderFileSinkTest, write_partCannotBeSynced_nextFetchHasEachByteAtItsPlace)
{
    NginxServer::Options options;
    options.directives = u"autoindex on; autoindex_format json;"_s;
    NginxServer server(options);
    const QByteArray content = pattern(20'000'000); // is synced once before its end
    server.addFile(u"run.d/a"_s, content);
    const QString folder = listAt(server.url(u"run.d/"_s));
    {
        const FailingPartSync failing;
        EXPECT_EQ(failureOf(folder), int(ErrorCode::OperationFailed));
        EXPECT_TRUE(failing.hasFailed());
    }

    EXPECT_TRUE(readFile(retrieve(folder) + u"/a"_s) == content);
}

} // namespace zel
