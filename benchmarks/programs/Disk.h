#pragma once

#include <QString>

#include <fcntl.h>

namespace zel::bench {

/// An open file or folder; the program ends if it cannot be opened.
class OpenFile
{
public:
    explicit OpenFile(const QString &path, int flags = O_RDONLY);
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;
    ~OpenFile();

    const int descriptor;
};

/// Waits until everything on the disk of `path` is written: what one side leaves to be written
/// later must not be at the cost of the next.
void settle(const QString &path);

} // namespace zel::bench
