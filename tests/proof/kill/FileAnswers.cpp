#include "FileAnswers.h"

#include <algorithm>
#include <numeric>

namespace zel::test {

namespace {

constexpr int partialContent = 206;

qint64 sum(const QList<qint64> &sizes)
{
    return std::accumulate(sizes.begin(), sizes.end(), qint64(0));
}

} // namespace

void FileAnswers::add(int status, qint64 bytes)
{
    (status == partialContent ? rests : wholes).append(bytes);
}

qint64 FileAnswers::bytesTaken(bool hadAll) const
{
    const bool isOneOnlyBegun = !wholes.isEmpty() && (hadAll || !rests.isEmpty());
    const qint64 begun = isOneOnlyBegun ? *std::min_element(wholes.begin(), wholes.end()) : 0;
    return sum(wholes) + sum(rests) - begun;
}

} // namespace zel::test
