#include "board/BoardLooker.h"

#include "ThreadStarts.h"

#include <QEventLoop>
#include <QTemporaryDir>
#include <QTimer>

#include <gtest/gtest.h>

namespace zel::cli {

using namespace std::chrono_literals;

namespace {

/// Looks at a folder without a cache, again and again.
class BoardLookerTest : public testing::Test
{
protected:
    BoardLookerTest()
    {
        settings.cachePath.setBaseDirPath(PathImpl<PathType::Dir>(folder.path()));
        QTimer::singleShot(10s, &loop, &QEventLoop::quit);
    }
    /// Whether the next look is told of.
    bool looks(BoardLooker &looker)
    {
        const int before = seen;
        looker.look();
        if (seen == before)
            loop.exec();
        return seen == before + 1;
    }
    BoardLooker::OnSeen note()
    {
        return [this](const Result<BoardLook> &look) {
            ++seen;
            EXPECT_FALSE(look.hasValue());
            loop.quit();
        };
    }

    const QTemporaryDir folder;
    ResourceManagerSettings settings;
    QEventLoop loop;
    int seen = 0;
};

} // namespace

TEST_F(BoardLookerTest, look_againAndAgain_isToldEachTime)
{
    BoardLooker looker(settings, note());
    EXPECT_TRUE(looks(looker));
    EXPECT_TRUE(looks(looker));
    EXPECT_TRUE(looker.isOver());
}

TEST_F(BoardLookerTest, look_noThreadToBeHad_isToldAllTheSame)
{
    BoardLooker looker(settings, note());
    {
        const test::ThreadLimit limit(0);
        EXPECT_TRUE(looks(looker));
    }
    EXPECT_TRUE(looks(looker));
}

} // namespace zel::cli
