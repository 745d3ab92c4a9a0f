#pragma once

#include <QtGlobal>

namespace zel::cli {

/// Sends the signal of this number to one program; nothing for a number that is none of a program.
void sendSignal(qint64 processId, int number);

/// Whether it is the signal which tells that a terminal or a connection is gone.
bool isHangup(int number);

} // namespace zel::cli
