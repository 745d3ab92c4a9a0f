#pragma once

#include <QByteArrayView>

#include <system_error>

/// The descriptors that a program is started with, and others that it writes to.
namespace zel::cli::streams {

constexpr int standardInput = 0;
constexpr int standardOutput = 1;
constexpr int standardError = 2;

/// A standard descriptor that the caller of the program has closed would be given to the next file
/// that is opened. So it is taken, in a way in which writing to it fails. To be called first of
/// all.
void occupyClosed();

/// Writes everything; else what stopped it. Waits where there is no room for more, even if the
/// descriptor was set not to. May be called from a signal handler.
std::error_code writeAll(int descriptor, QByteArrayView bytes);

/// Whether it is a pipe whose other end is closed. Does not wait.
bool isReaderGone(int descriptor);

} // namespace zel::cli::streams
