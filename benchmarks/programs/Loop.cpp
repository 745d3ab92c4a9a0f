#include "Loop.h"

#include <benchmark/benchmark.h>

namespace zel::bench {

namespace {

/// Keeps what others print.
class LastRun : public benchmark::BenchmarkReporter
{
public:
    bool ReportContext(const Context &) override { return true; }
    void ReportRuns(const std::vector<Run> &runs) override { run = runs.back(); }

    Run run;
};

class Loop : public Contestant
{
public:
    explicit Loop(std::function<void()> operation)
    {
        const auto repeat = [operation = std::move(operation)](benchmark::State &state) {
            for (auto _ : state)
                operation();
        };
        benchmark::RegisterBenchmark("loop", repeat)->Unit(benchmark::kSecond)->MinTime(minTime);
    }

    int run() override
    {
        benchmark::RunSpecifiedBenchmarks(&last);
        return static_cast<int>(last.run.iterations);
    }

    /// Of the last, longest repetition only, without those that found its length.
    Figures figures() const override
    {
        return { { "seconds", last.run.GetAdjustedRealTime() },
                 { "cpu", last.run.GetAdjustedCPUTime() } };
    }

private:
    static constexpr double minTime = 0.3; // seconds

    LastRun last;
};

} // namespace

bool enterLoop(const std::string &name, const MakeOperation &make)
{
    return enter(
        name, [make](const QString &directory) { return std::make_unique<Loop>(make(directory)); });
}

} // namespace zel::bench
