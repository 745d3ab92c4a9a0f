#pragma once

#include <QString>

#include <chrono>
#include <cstdint>

namespace zel::test {

/// Proofs are short in every run of the suite, and long if scripts/prove asks for it.
bool isLongProof();

/// `brief` or `lasting`, as the proof is short or long.
template<typename T>
T forProof(const T &brief, const T &lasting)
{
    return isLongProof() ? lasting : brief;
}

/// The seed of this run's random numbers: another one each time, unless ZEL_SEED gives one.
std::uint32_t proofSeed();

/// A line of the table that scripts/prove prints: what was counted in the test that runs now.
void recordFigure(const QString &what, qint64 value);

} // namespace zel::test
