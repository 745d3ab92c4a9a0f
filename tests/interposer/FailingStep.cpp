#include "FailingStep.h"

#include <utility>

namespace zel::test {

namespace {

bool isBelow(const std::string &path, const std::string &folder)
{
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

} // namespace

FailingStep::FailingStep(std::string folder, int number, int error, Lasting lasting,
                         std::optional<FileStep::Kind> kind)
    : m_folder(std::move(folder))
    , m_number(number)
    , m_error(error)
    , m_lasting(lasting)
    , m_kind(kind)
{
    watchFileSteps(this);
}

FailingStep::~FailingStep()
{
    watchFileSteps(nullptr);
}

int FailingStep::before(const FileStep &step)
{
    if (m_kind && step.kind != *m_kind)
        return 0;
    if (!isBelow(pathOf(step), m_folder) && !isBelow(newPathOf(step), m_folder))
        return 0;
    const int number = m_seen++;
    const bool fails
        = number == m_number || (number > m_number && m_lasting == Lasting::FromThereOn);
    return fails ? m_error : 0;
}

} // namespace zel::test
