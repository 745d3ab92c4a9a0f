#include "Holds.h"

#include <cstdlib>
#include <fstream>

namespace {

/// Writes at the end of the program how often it took a system semaphore, to the file that
/// ZEL_HOLDS_FILE names.
class CountedHolds
{
public:
    CountedHolds() { zel::test::startCountingHolds(); }
    CountedHolds(const CountedHolds &) = delete;
    CountedHolds &operator=(const CountedHolds &) = delete;
    ~CountedHolds()
    {
        if (const char *file = std::getenv("ZEL_HOLDS_FILE"))
            std::ofstream(file) << zel::test::stopCountingHolds();
    }
};

const CountedHolds counted;

} // namespace
