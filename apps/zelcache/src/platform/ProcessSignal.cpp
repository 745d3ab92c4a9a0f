#include "platform/ProcessSignal.h"

#include <csignal>

namespace zel::cli {

void sendSignal(qint64 processId, int number)
{
    // Not to -1 and 0, which stand for many programs.
    if (processId > 0)
        ::kill(pid_t(processId), number);
}

bool isHangup(int number)
{
    return number == SIGHUP;
}

} // namespace zel::cli
