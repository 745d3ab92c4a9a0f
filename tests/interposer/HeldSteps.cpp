#include "HeldSteps.h"

#include "Holds.h"

#include <utility>

#include <fcntl.h>

namespace zel::test {

namespace {

bool readsFolder(const FileStep &step)
{
    return step.kind == FileStep::Kind::List
        || (step.kind == FileStep::Kind::Open && (step.flags & O_DIRECTORY) != 0);
}

} // namespace

HeldSteps::HeldSteps(std::string folder)
    : folder(std::move(folder) + '/')
{
    watchFileSteps(this);
}

HeldSteps::~HeldSteps()
{
    watchFileSteps(nullptr);
}

int HeldSteps::count() const
{
    return steps;
}

int HeldSteps::folders() const
{
    return folderSteps;
}

int HeldSteps::before(const FileStep &step)
{
    if (!isHolding() || !(pathOf(step) + '/').starts_with(folder))
        return 0;
    ++steps;
    if (readsFolder(step))
        ++folderSteps;
    return 0;
}

} // namespace zel::test
