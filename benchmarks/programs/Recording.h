#pragma once

#include <QString>
#include <QVariantList>

#include <functional>
#include <vector>

namespace zel::bench {

/// What a cache does to its semaphore or to its database.
struct Step
{
    enum class Kind { Take, Give, Statement };

    Kind kind = Kind::Statement;
    QString sql; ///< of a statement
    QVariantList values; ///< of its placeholders, in their order
};

using Script = std::vector<Step>;

/// What `work` has the caches of this process do, in order and on whatever thread. They are opened
/// before, on the calling thread; work on files is left out.
Script record(const std::function<void()> &work);

} // namespace zel::bench
