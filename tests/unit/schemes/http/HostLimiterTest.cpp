#include "http/HostLimiter.h"

#include <future>

using namespace zel;

namespace {

std::optional<HostLimiter::Place> enter(const QByteArray &server, int limit = 1)
{
    return HostLimiter::enter(server, limit, [] { return false; });
}

bool isFull(const QByteArray &server, int limit = 1)
{
    return !HostLimiter::enter(server, limit, [] { return true; });
}

} // namespace

TEST(HostLimiterTest, enter_placesOfOneServer_areCountedByThemselves)
{
    const auto first = enter("a:80", 2);
    EXPECT_FALSE(isFull("a:80", 2));
    const auto second = enter("a:80", 2);
    EXPECT_TRUE(isFull("a:80", 2));
    EXPECT_FALSE(isFull("b:80"));
}

TEST(HostLimiterTest, enter_canceledWhileItWaits_hasNoPlace)
{
    auto held = enter("a:80");
    int looks = 0;
    EXPECT_FALSE(HostLimiter::enter("a:80", 1, [&] { return ++looks > 1; }));
    EXPECT_EQ(looks, 2);
    held.reset();
    EXPECT_FALSE(isFull("a:80")); // who was canceled keeps none
}

TEST(HostLimiterTest, enter_full_waitsUntilAPlaceIsGivenBack)
{
    auto held = enter("a:80");
    std::promise<void> waits;
    auto waiter = std::async(std::launch::async, [&, isTold = false]() mutable {
        return HostLimiter::enter("a:80", 1,
                                  [&] {
                                      if (!std::exchange(isTold, true))
                                          waits.set_value();
                                      return false;
                                  })
            .has_value();
    });
    waits.get_future().wait();
    held.reset();
    EXPECT_TRUE(waiter.get());
}

TEST(HostLimiterTest, place_movedAway_isGivenBackOnce)
{
    auto held = enter("a:80");
    {
        const HostLimiter::Place moved = std::move(*held);
        held.reset();
        EXPECT_TRUE(isFull("a:80"));
    }
    EXPECT_FALSE(isFull("a:80"));
}
