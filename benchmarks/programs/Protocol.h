#pragma once

#include <functional>
#include <map>
#include <string>

namespace zel::bench {

/// What a round has shown, by name. The driver knows: "seconds" and "cpu" of one operation, "rate"
/// (operations in a second), "operations". Whatever else a row tells is told by its own name.
using Figures = std::map<std::string, double>;

/// The two things that a contestant does when it is told to.
struct Turns
{
    std::function<void()> prepare; ///< what a round needs; not measured
    std::function<Figures()> round;
};

/// Answers the driver's commands, a line each, until they end: "prepare" with "{}", "round" with
/// the figures as one JSON object. Gives the exit code of the program.
int serve(const Turns &turns);

/// Ends the program with a message: a contestant that cannot do its work measures nothing.
[[noreturn]] void giveUp(const std::string &why);

} // namespace zel::bench
