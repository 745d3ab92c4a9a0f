#include "Vanishing.h"

#include <filesystem>
#include <fstream>
#include <utility>

namespace zel::test {

namespace fs = std::filesystem;

Vanishing::Vanishing(std::string folder, Successor successor, std::string watched, int number)
    : folder(std::move(folder))
    , successor(successor)
    , watched(std::move(watched) + '/')
    , number(number)
{
    watchFileSteps(this);
}

Vanishing::~Vanishing()
{
    watchFileSteps(nullptr);
}

int Vanishing::before(const FileStep &step)
{
    if (!pathOf(step).starts_with(watched) || seen++ != number)
        return 0;
    // The others go on meanwhile, and may put something into it while it is emptied.
    std::error_code failure;
    do {
        fs::remove_all(folder, failure);
    } while (failure == std::errc::directory_not_empty);
    if (successor == Successor::File)
        std::ofstream(folder) << "in the way";
    return 0;
}

} // namespace zel::test
