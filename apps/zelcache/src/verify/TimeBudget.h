#pragma once

#include <QString>

#include <chrono>
#include <optional>

namespace zel::cli {

/// The time that somebody means by "30s", "10m", "1.5h" or "2d"; empty for anything else, for no
/// time at all, and for more than a year. Letter case does not count.
std::optional<std::chrono::milliseconds> timeBudgetFromText(const QString &text);

} // namespace zel::cli
