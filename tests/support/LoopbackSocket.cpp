#include "LoopbackSocket.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

namespace zel::test {

LoopbackSocket::LoopbackSocket()
    : handle(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    auto *const place = reinterpret_cast<sockaddr *>(&address);

    EXPECT_EQ(::bind(handle, place, length), 0);
    EXPECT_EQ(::listen(handle, 64), 0);
    EXPECT_EQ(::getsockname(handle, place, &length), 0);
    boundPort = ntohs(address.sin_port);
}

LoopbackSocket::~LoopbackSocket()
{
    close();
}

void LoopbackSocket::close()
{
    if (handle >= 0)
        ::close(handle);
    handle = -1;
}

} // namespace zel::test
