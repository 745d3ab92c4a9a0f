#include "folder/FolderRetrieval.h"

#include "../staging/StagingFixture.h"
#include "Task.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

using FolderRetrievalTest = StagingFixture;

TEST_F(FolderRetrievalTest, run_staleStagingOfOthers_isRemovedBeforeTheListing)
{
    append(*open(planFor(u"dav:/done.d"_s), u"v"_s), "staged");
    ready << u"dav:/done.d"_s;
    ASSERT_EQ(places().size(), 1);

    const FetchPlan plan = planFor(u"dav:/run.d"_s, u"run.d"_s);
    Task task(nullptr);
    int listings = 0;
    const auto lister = [&](const auto &) -> Result<RemoteListing> {
        ++listings;
        EXPECT_EQ(places().isEmpty(), listings == 1);
        return RemoteListing();
    };
    const Error error = FolderRetrieval(&task, plan, lister, HttpSettings()).run();
    EXPECT_FALSE(error.hasError()) << error.description().toStdString();
    EXPECT_EQ(listings, 2);
    EXPECT_TRUE(QFileInfo(plan.expectedPath).isDir());
    EXPECT_TRUE(places().isEmpty());
}
