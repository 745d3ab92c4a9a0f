#pragma once

#include "board/BoardModel.h"

#include <QStringList>

#include <limits>

namespace zel::cli {

/// The room that a terminal has for the board.
struct BoardRoom
{
    int columns = 80;
    int rows = std::numeric_limits<int>::max(); ///< as many as it takes, where lines are appended
};

/// The board as lines of text that fit: none is longer than one column less than there are, since
/// a terminal wraps behind the last one. The middle of a long reference is left out, and what has
/// no row is counted. Escaped already.
QStringList boardLines(const Board &board, const BoardRoom &room);

} // namespace zel::cli
