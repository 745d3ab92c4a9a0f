#pragma once

#include "errors/Error.h"

#include <QString>

/// What actors have in common beside the lines that they obey.
namespace zel::test {

/// Those that are killed on purpose are not to fill the disk.
void leaveNoCore();

/// "ok", or "error CODE MESSAGE" in one line.
QString toAnswer(const Error &error);

/// Fetches the resource unless it is there: "ok PATH", or the failure.
QString retrieve(const QString &text);

} // namespace zel::test
