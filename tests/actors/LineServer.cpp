#include "LineServer.h"

#include <QCoreApplication>

#include <array>
#include <cstdio>

#include <unistd.h>

namespace zel::test {

LineServer::LineServer(Command command)
    : command(std::move(command))
    , notifier(STDIN_FILENO, QSocketNotifier::Read)
{
    connect(&notifier, &QSocketNotifier::activated, this, &LineServer::read);
}

void LineServer::read()
{
    std::array<char, 4096> buffer {};
    const ssize_t count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
    if (count <= 0) {
        notifier.setEnabled(false);
        QCoreApplication::quit();
        return;
    }
    input.append(buffer.data(), count);
    for (qsizetype end = input.indexOf('\n'); end >= 0; end = input.indexOf('\n')) {
        const QString line = QString::fromUtf8(input.left(end));
        input.remove(0, end + 1);
        const QString answer = command(line);
        if (!answer.isNull())
            say(answer);
    }
}

void say(const QString &line)
{
    std::fprintf(stdout, "%s\n", qPrintable(line));
    std::fflush(stdout);
}

void awaitLine()
{
    char byte = 0;
    while (::read(STDIN_FILENO, &byte, 1) == 1 && byte != '\n') { }
}

} // namespace zel::test
