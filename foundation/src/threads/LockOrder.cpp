#include "threads/LockOrder.h"

#include "platform/StackTrace.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace zel {

namespace {

using Kind = std::string_view;

struct Held
{
    const void *lock;
    Kind kind;
    std::thread::id thread;
    StackTrace where;
};

/// How a lock of one kind was taken behind one of another for the first time.
struct Order
{
    Kind first;
    Kind second;
    StackTrace whereFirst;
    StackTrace whereSecond;
};

struct Records
{
    std::mutex mutex;
    std::vector<Held> held;
    std::map<Kind, std::map<Kind, Order>> orders; ///< by first, by second
};

/// Never destroyed: locks are taken until the very end.
Records &records()
{
    static auto *const all = new Records;
    return *all;
}

/// The orders that lead from one kind to the other; empty if none do.
std::vector<Order> wayBetween(const Records &all, Kind from, Kind to, std::set<Kind> &seen)
{
    const auto next = all.orders.find(from);
    if (next == all.orders.end() || !seen.insert(from).second)
        return {};
    for (const auto &[kind, order] : next->second) {
        if (kind == to)
            return { order };
        std::vector<Order> way = wayBetween(all, kind, to, seen);
        if (!way.empty()) {
            way.insert(way.begin(), order);
            return way;
        }
    }
    return {};
}

std::string operator+(const std::string &text, Kind kind)
{
    return text + std::string(kind);
}

std::string section(const std::string &title, const StackTrace &where)
{
    return title + ":\n" + where.text();
}

[[noreturn]] void endWith(const std::string &text)
{
    std::fputs(text.c_str(), stderr);
    std::abort();
}

[[noreturn]] void endForSecondTake(const Held &first, const void *lock)
{
    const bool isSame = first.lock == lock;
    endWith(std::string("Deadlock: a thread holds ") + first.kind + " and takes "
            + (isSame ? "it once more.\n" : "another of this kind.\n")
            + section("The first was taken here", first.where)
            + section("The second is taken here", StackTrace::ofThisThread()));
}

[[noreturn]] void endForOrder(const Held &first, Kind kind, const std::vector<Order> &way)
{
    std::string text = std::string("Deadlock: a thread holds ") + first.kind + " and takes " + kind
        + ", which are taken the other way round elsewhere.\n";
    text += section(std::string("Here it took ") + first.kind, first.where);
    text += section(std::string("Here it takes ") + kind, StackTrace::ofThisThread());
    for (const Order &order : way) {
        text += section(std::string("Elsewhere, ") + order.first + " was taken here",
                        order.whereFirst);
        text += section(std::string("and behind it ") + order.second + " here", order.whereSecond);
    }
    endWith(text);
}

/// A lock that the thread holds, and what is wrong with taking this one behind it.
struct Mistake
{
    Held first;
    std::vector<Order> way; ///< empty for a second take
};

std::optional<Mistake> mistakeIn(const Records &all, const Held &first, const void *lock, Kind kind)
{
    if (first.lock == lock || first.kind == kind)
        return Mistake { first, {} };
    std::set<Kind> seen;
    const std::vector<Order> way = wayBetween(all, kind, first.kind, seen);
    return way.empty() ? std::nullopt : std::optional(Mistake { first, way });
}

std::optional<Mistake> noteOrders(Records &all, const void *lock, Kind kind)
{
    const std::lock_guard guard(all.mutex);
    for (const Held &first : all.held) {
        if (first.thread != std::this_thread::get_id())
            continue;
        std::map<Kind, Order> &known = all.orders[first.kind];
        if (first.lock != lock && known.count(kind) > 0)
            continue;
        if (const auto mistake = mistakeIn(all, first, lock, kind))
            return mistake;
        known.insert({ kind, { first.kind, kind, first.where, StackTrace::ofThisThread() } });
    }
    return std::nullopt;
}

} // namespace

void LockOrder::beforeTake(const void *lock, const char *kind)
{
    const std::optional<Mistake> mistake = noteOrders(records(), lock, kind);
    if (!mistake)
        return;
    // Outside of our own lock: who hears of the end may give locks back.
    if (mistake->way.empty())
        endForSecondTake(mistake->first, lock);
    endForOrder(mistake->first, kind, mistake->way);
}

void LockOrder::afterTake(const void *lock, const char *kind)
{
    const StackTrace where = StackTrace::ofThisThread();
    Records &all = records();
    const std::lock_guard guard(all.mutex);
    // Work that moves to another thread takes its lock along.
    std::erase_if(all.held, [lock](const Held &held) { return held.lock == lock; });
    all.held.push_back({ lock, kind, std::this_thread::get_id(), where });
}

void LockOrder::beforeGivingBack(const void *lock)
{
    Records &all = records();
    const std::lock_guard guard(all.mutex);
    std::erase_if(all.held, [lock](const Held &held) { return held.lock == lock; });
}

} // namespace zel
