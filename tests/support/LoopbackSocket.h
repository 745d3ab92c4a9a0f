#pragma once

#include <QtGlobal>

namespace zel::test {

/// A socket that listens on a free port of the loopback address: the kernel picks the port and it
/// belongs to this socket from then on, so no other test can take it away meanwhile.
class LoopbackSocket
{
public:
    LoopbackSocket();
    ~LoopbackSocket();
    LoopbackSocket(const LoopbackSocket &) = delete;
    LoopbackSocket &operator=(const LoopbackSocket &) = delete;

    int descriptor() const { return handle; }
    quint16 port() const { return boundPort; }
    void close();

private:
    int handle = -1;
    quint16 boundPort = 0;
};

} // namespace zel::test
