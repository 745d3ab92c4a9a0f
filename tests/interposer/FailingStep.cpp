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
    : folder(std::move(folder))
    , number(number)
    , error(error)
    , lasting(lasting)
    , kind(kind)
{
    watchFileSteps(this);
}

FailingStep::~FailingStep()
{
    watchFileSteps(nullptr);
}

int FailingStep::before(const FileStep &step)
{
    if (kind && step.kind != *kind)
        return 0;
    if (!isBelow(pathOf(step), folder) && !isBelow(newPathOf(step), folder))
        return 0;
    const int place = count++;
    const bool fails = place == number || (place > number && lasting == Lasting::FromThereOn);
    return fails ? error : 0;
}

} // namespace zel::test
