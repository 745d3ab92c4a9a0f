#pragma once

namespace zel::test {

/// Lets one step of a statement of SQLite fail, in this whole process, and counts them all: a
/// statement takes one step to be executed and one for each further row. Those that SQLite makes by
/// itself do not count. Nothing of the failing step happens. Only one such object may live at a
/// time.
class FailingStatement
{
public:
    /// Results of SQLite's interface.
    enum class Result {
        Error = 1,
        Busy = 5,
        NoMemory = 7,
        InputOutput = 10,
        Corrupt = 11,
        Full = 13
    };

    /// The step of that number, beginning with 0, gives `result`.
    explicit FailingStatement(int number, Result result = Result::InputOutput);
    FailingStatement(const FailingStatement &) = delete;
    FailingStatement &operator=(const FailingStatement &) = delete;
    ~FailingStatement();

    /// Whether there was a step of that number.
    bool hasFailed() const;
    int seen() const;

private:
    int number;
};

} // namespace zel::test
