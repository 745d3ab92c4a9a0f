#include "Vanishing.h"

#include <filesystem>
#include <fstream>
#include <utility>

namespace zel::test {

namespace fs = std::filesystem;

Vanishing::Vanishing(std::string folder, Successor successor, std::string watched, int number)
    : m_folder(std::move(folder))
    , m_successor(successor)
    , m_watched(std::move(watched) + '/')
    , m_number(number)
{
    watchFileSteps(this);
}

Vanishing::~Vanishing()
{
    watchFileSteps(nullptr);
}

int Vanishing::before(const FileStep &step)
{
    if (!pathOf(step).starts_with(m_watched) || m_seen++ != m_number)
        return 0;
    // The others go on meanwhile, and may put something into it while it is emptied.
    std::error_code failure;
    do {
        fs::remove_all(m_folder, failure);
    } while (failure == std::errc::directory_not_empty);
    if (m_successor == Successor::File)
        std::ofstream(m_folder) << "in the way";
    return 0;
}

} // namespace zel::test
