#pragma once

#include "Protocol.h"

#include <QString>

#include <functional>
#include <memory>

namespace zel::bench {

/// One side of a row, in a process of its own.
class Contestant
{
public:
    Contestant() = default;
    Contestant(const Contestant &) = delete;
    Contestant &operator=(const Contestant &) = delete;
    virtual ~Contestant() = default;

    /// Makes what the next round needs. Not measured.
    virtual void prepare() { }
    /// The round itself, measured as a whole. Gives how many operations that was.
    virtual int run() = 0;
    /// What it tells of the last round beside the times, or better than they do.
    virtual Figures figures() const { return {}; }
};

/// Makes the contestant; `directory` is there, empty, and shared by the processes of a row that
/// has several.
using MakeContestant = std::function<std::unique_ptr<Contestant>(const QString &directory)>;

/// Makes a contestant known under "row/side". For the scope of a file:
///     const bool known = enter("evict/ours", [](const QString &directory) { ... });
bool enter(const std::string &name, MakeContestant make);

/// The whole of main(): PROGRAM row/side DIRECTORY.
int play(int argc, char **argv);

} // namespace zel::bench
