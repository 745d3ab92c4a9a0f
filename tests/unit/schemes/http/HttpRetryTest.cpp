#include "http/HttpRetry.h"

using namespace zel;

namespace {

class HttpRetryTest : public testing::Test
{
protected:
    HttpSettings settings;
    HttpHead head;
};

} // namespace

TEST_F(HttpRetryTest, waitForNext_inARow_isLongerEachTimeUpToTheLongestAndEnds)
{
    std::vector<std::chrono::milliseconds> waits;
    settings.backOff = std::chrono::seconds(4);
    settings.longestBackOff = std::chrono::seconds(10);
    settings.wait = [&](std::chrono::milliseconds time) {
        waits.push_back(time);
    };
    HttpRetry retry(settings, 3, [] { return false; });
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(retry.waitForNext(head));
    EXPECT_FALSE(retry.waitForNext(head));
    ASSERT_EQ(waits.size(), 3u);
    for (const auto &[time, least] :
         { std::pair(waits[0], 4), std::pair(waits[1], 8), std::pair(waits[2], 10) }) {
        EXPECT_GE(time, std::chrono::seconds(least));
        EXPECT_LE(time, std::chrono::milliseconds(least * 1250));
    }
}

TEST_F(HttpRetryTest, waitForNext_succeededMeanwhile_countsAnew)
{
    settings.wait = [](std::chrono::milliseconds) {
    };
    HttpRetry retry(settings, 1, [] { return false; });
    EXPECT_TRUE(retry.waitForNext(head));
    retry.succeeded();
    EXPECT_TRUE(retry.waitForNext(head));
    EXPECT_FALSE(retry.waitForNext(head));
}

TEST_F(HttpRetryTest, waitForNext_canceledWhileItReallyWaits_ends)
{
    settings.backOff = std::chrono::hours(1);
    settings.longestBackOff = std::chrono::hours(1);
    int looks = 0;
    HttpRetry retry(settings, 1, [&] { return ++looks > 1; });
    EXPECT_FALSE(retry.waitForNext(head));
    EXPECT_GE(looks, 2);
}
