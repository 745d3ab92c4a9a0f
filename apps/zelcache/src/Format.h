#pragma once

#include <QString>

#include <chrono>

namespace zel::cli {

/// Bytes for people, in powers of 1024: "0 B", "1023 B", "1.5 KiB", "20.0 GiB".
QString sizeText(qint64 bytes);

/// "1.5 MiB/s".
QString rateText(double bytesPerSecond);

/// "0:42", "12:05", "1:02:03", "2d 03h"; whole seconds, never negative.
QString durationText(std::chrono::seconds duration);

/// A local point in time that sorts as text: "2024-05-31 17:02:11". Milliseconds since the epoch.
QString timeText(qint64 milliseconds);

} // namespace zel::cli
