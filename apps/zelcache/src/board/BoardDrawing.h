#pragma once

#include <QByteArray>
#include <QStringList>

/// What a terminal has to be sent so that it shows the board and nothing else, in place: without a
/// moment in which a line is missing, and without a line break that could scroll it.
namespace zel::cli::drawing {

/// Takes the screen over: what stood on it comes back with leaving().
QByteArray entering();
QByteArray leaving();
/// Empties the screen, for a size at which the former lines may have been wrapped.
QByteArray emptying();
/// From one set of lines to the next: only lines that differ are written.
QByteArray change(const QStringList &before, const QStringList &after);

} // namespace zel::cli::drawing
