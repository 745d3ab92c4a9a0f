#pragma once

#include "LineServer.h"
#include "errors/Error.h"

#include <QString>

#include <functional>

/// What actors have in common beside the lines that they obey.
namespace zel::test {

/// Those that are killed on purpose are not to fill the disk.
void leaveNoCore();

/// "ok", or "error CODE MESSAGE" in one line.
QString toAnswer(const Error &error);

/// Fetches the resource unless it is there: "ok PATH", or the failure.
QString retrieve(const QString &text);

/// The whole of a main(): lets the manager have its cache in the folder of the first argument, sets
/// the rest up, and obeys line by line until it is told to end.
int runActor(int argc, char **argv, const std::function<void()> &setUp,
             const LineServer::Command &obey);

} // namespace zel::test
