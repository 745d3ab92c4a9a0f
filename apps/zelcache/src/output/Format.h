#pragma once

#include <QString>

#include <chrono>
#include <optional>

namespace zel::cli {

/// Bytes for people, in powers of 1024: "0 B", "1023 B", "1.5 KiB", "20.0 GiB".
QString sizeText(qint64 bytes);

/// The bytes that somebody means by "0", "4096", "500M", "1.5 GiB" or "20GB"; empty for anything
/// else. K, M, G, T, P, E and KiB, MiB, ... are powers of 1024, as in sizeText(); KB, MB, ... are
/// powers of 1000. Letter case does not count; the nearest whole byte counts.
std::optional<qint64> sizeFromText(const QString &text);

/// "1.5 MiB/s".
QString rateText(double bytesPerSecond);

/// "0:42", "12:05", "1:02:03", "2d 03h"; whole seconds, never negative.
QString durationText(std::chrono::seconds duration);

/// The time that somebody means by "90", "0.5", "90s", "15m", "1.5h", "2d" or "1h30m"; a number
/// alone is seconds, only the last number may have a fraction, and letter case does not count.
/// Empty for anything else, for no time at all and for more than a hundred years.
std::optional<std::chrono::milliseconds> durationFromText(const QString &text);

/// A local point in time that sorts as text: "2024-05-31 17:02:11". Milliseconds since the epoch.
QString timeText(qint64 milliseconds);

} // namespace zel::cli
