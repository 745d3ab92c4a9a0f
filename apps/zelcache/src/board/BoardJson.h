#pragma once

#include "board/BoardModel.h"

#include <QJsonObject>

namespace zel::cli {

/// The board for programs, without what all answers have. A cache that cannot be read leaves the
/// lists out and has an "error" instead.
QJsonObject boardJson(const Board &board);

} // namespace zel::cli
