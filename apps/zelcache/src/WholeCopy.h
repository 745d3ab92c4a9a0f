#pragma once

#include "errors/Error.h"
#include "platform/TreeCopy.h"

#include <QByteArray>
#include <QString>

namespace zel::cli {

/// Copies a file or folder to a place where nothing lies yet. It appears there as a whole, with all
/// of it on the disk, or not at all: a failure leaves nothing behind, and what a copy leaves that
/// was killed goes with the next one to that place.
///
/// The failure names what could not be read or written; code 7 for want of space, code 20 without a
/// message if the progress was refused. A success has
/// warnings if links that lead out of the folder were left out.
Error copyWhole(const QString &source, const QString &target,
                const TreeCopy::Progress &progress = {});

/// Whether a file or folder of this name is what a copy makes on its way.
bool isCopyOnItsWay(const QByteArray &name);
/// Whether the program that makes this copy still runs.
bool isCopyInProgress(const QByteArray &name);

} // namespace zel::cli
