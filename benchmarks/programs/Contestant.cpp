#include "Contestant.h"

#include <QCoreApplication>

#include <chrono>

#include <sys/resource.h>

namespace zel::bench {

namespace {

using Entries = std::map<std::string, MakeContestant>;

Entries &entries()
{
    static Entries all;
    return all;
}

double secondsOf(const timeval &time)
{
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Of this process with all its threads.
double cpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
}

Figures measure(Contestant &contestant)
{
    const double cpuBefore = cpuSeconds();
    const auto start = std::chrono::steady_clock::now();
    const double operations = contestant.run();
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    const double cpu = cpuSeconds() - cpuBefore;
    Figures figures = contestant.figures();
    figures.merge(Figures { { "operations", operations },
                            { "seconds", wall.count() / operations },
                            { "cpu", cpu / operations } });
    return figures;
}

} // namespace

bool enter(const std::string &name, MakeContestant make)
{
    return entries().emplace(name, std::move(make)).second;
}

int play(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const auto found = argc == 3 ? entries().find(argv[1]) : entries().end();
    if (found == entries().end())
        giveUp("Usage: PROGRAM row/side DIRECTORY");
    const auto contestant = found->second(QString::fromLocal8Bit(argv[2]));
    return serve({ [&] { contestant->prepare(); },
                   [&] {
                       return measure(*contestant);
                   } });
}

} // namespace zel::bench
