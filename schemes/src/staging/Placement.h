#pragma once

#include "errors/Result.h"

#include <QCoreApplication>

#include <filesystem>
#include <string>

namespace zel {

/// Brings a staged file or folder to its place in the cache.
class Placement
{
    Q_DECLARE_TR_FUNCTIONS(zel::Placement)

public:
    /// What lies at the target is replaced, in one step where the volume can do that. If the target
    /// lies on another volume, the data is copied to a hidden neighbour of it first, whose name is
    /// made of `owner` (NeighbourName): no two callers with the same one at a time. What was
    /// replaced is at `staged` afterwards, or gone. After a failure it lies at the target still or
    /// again, as far as the volume lets it.
    ///
    /// The target appears as a whole. Its name is not on the disk yet. Code 7 if the target's
    /// volume has no room for the copy.
    static Error place(const std::filesystem::path &staged, const std::filesystem::path &target,
                       const std::string &owner);

private:
    static Result<bool> placeInOneStep(const std::filesystem::path &staged,
                                       const std::filesystem::path &target);
    static Error placeByNeighbour(const std::filesystem::path &staged,
                                  const std::filesystem::path &target, const std::string &owner);
    static Error copy(const std::filesystem::path &from, const std::filesystem::path &to);
    static Error replace(const std::filesystem::path &incoming, const std::filesystem::path &target,
                         const std::filesystem::path &replaced);
    static Error replaceInTwoSteps(const std::filesystem::path &incoming,
                                   const std::filesystem::path &target,
                                   const std::filesystem::path &replaced);
    static Error withFormerBack(const Error &failure, const std::filesystem::path &target,
                                const std::filesystem::path &replaced);
};

} // namespace zel
