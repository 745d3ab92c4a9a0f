#pragma once

#include "errors/Error.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <initializer_list>

/// Ends the program, and so reports the input, unless the condition holds.
#define ZEL_MUST(condition)                                                                        \
    do {                                                                                           \
        if (!(condition))                                                                          \
            ::zel::fuzz::fail(#condition, __FILE__, __LINE__);                                     \
    } while (false)

/// What the targets have in common.
///
/// A target runs in a world of its own (Isolation.h), so that an input that fools the library does
/// not harm the machine.
namespace zel::fuzz {

[[noreturn]] void fail(const char *condition, const char *file, int line);

/// What every failure must have: one of the codes, a text without control characters, and a trail.
void checkFailure(const Error &error, std::initializer_list<int> codes);
/// Whatever came of it: a success, or a failure as above.
void checkOutcome(const Error &error, std::initializer_list<int> codes);

/// Tells the fuzzer about a result that it has not seen yet, for builds whose code does not.
void noteOutcome(const QString &outcome);

/// A path below the folder that a target may change.
QString pathOf(const QString &name);
/// Empties that folder.
void clearFolder();
/// Makes a file with the folders around it; false if the names do not permit one.
bool writeFile(const QString &path, const QByteArray &content);
QByteArray readFile(const QString &path);

/// The input as bytes and as text.
QByteArray bytesOf(const std::uint8_t *data, std::size_t size);
QString textOf(const std::uint8_t *data, std::size_t size);

} // namespace zel::fuzz
