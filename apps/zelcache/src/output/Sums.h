#pragma once

#include <QtNumeric>

#include <limits>

namespace zel::cli {

/// The sum of two sizes. A row or a source may tell any; what is more than a number holds is the
/// largest one, what is less the smallest.
inline qint64 sumOf(qint64 left, qint64 right)
{
    qint64 sum = 0;
    if (!qAddOverflow(left, right, &sum))
        return sum;
    return right > 0 ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
}

/// The difference, in the same manner.
inline qint64 differenceOf(qint64 left, qint64 right)
{
    qint64 difference = 0;
    if (!qSubOverflow(left, right, &difference))
        return difference;
    return right < 0 ? std::numeric_limits<qint64>::max() : std::numeric_limits<qint64>::min();
}

/// The sum of many: `sizeOf` gives the size of one of them.
template<typename List, typename SizeOf>
qint64 sumOver(const List &list, const SizeOf &sizeOf)
{
    qint64 sum = 0;
    for (const auto &each : list)
        sum = sumOf(sum, sizeOf(each));
    return sum;
}

} // namespace zel::cli
