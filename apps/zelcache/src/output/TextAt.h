#pragma once

#include <QString>

#include <functional>

namespace zel::cli {

/// What stands at an index of something long, each text made only when it is written.
using TextAt = std::function<QString(qsizetype index)>;

} // namespace zel::cli
