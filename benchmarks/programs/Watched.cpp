#include "Watched.h"

#include "Protocol.h"

#include <algorithm>

namespace zel::bench {

namespace {

double quantile(std::vector<double> &values, double share)
{
    const auto place = values.begin()
        + static_cast<std::ptrdiff_t>(static_cast<double>(values.size() - 1) * share);
    std::nth_element(values.begin(), place, values.end());
    return *place;
}

} // namespace

int Watched::run()
{
    startWatchingHolds();
    work();
    holds = stopWatchingHolds();
    if (holds.empty())
        giveUp("there were no holds");
    return static_cast<int>(holds.size());
}

Figures Watched::figures() const
{
    const auto longest
        = std::max_element(holds.begin(), holds.end(), [](const Hold &left, const Hold &right) {
              return left.seconds < right.seconds;
          });
    std::vector<double> seconds;
    std::vector<double> cpu;
    for (const Hold &hold : holds) {
        seconds.push_back(hold.seconds);
        cpu.push_back(hold.cpu);
    }
    return { { "seconds", longest->seconds },
             { "cpu", longest->cpu },
             { "longestCpu", *std::max_element(cpu.begin(), cpu.end()) },
             { "median", quantile(seconds, 0.5) },
             { "99%", quantile(seconds, 0.99) } };
}

} // namespace zel::bench
