#pragma once

#include "errors/Error.h"
#include "platform/TreeCopy.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QString>

#include <chrono>

namespace zel {

/// Copies a file or folder to a place where nothing lies yet. It appears there as a whole, or not
/// at all: a failure leaves nothing behind, and what a copy leaves beside the place that was killed
/// goes with the next one to a place in that folder. What comes to the place meanwhile is not
/// replaced. Threads: as many calls at once as you like.
class ZEL_RESOURCE_MANAGER_EXPORT WholeCopy
{
    Q_DECLARE_TR_FUNCTIONS(zel::WholeCopy)

public:
    /// A file at its place, to be known again: it is another one once somebody has touched it.
    struct Placed
    {
        /// The one that lies there now, if any does.
        static Placed at(const QString &path);
        /// Whether nobody has touched it since, nor put another one in its place. Not if nothing
        /// lay there.
        bool isThereStill() const;

        QString path; ///< where it lies
        QByteArray identity; ///< empty if nothing lies there
    };

    /// After a success the data, its name and that of the folder around it are on the disk. The
    /// folder has to be there.
    ///
    /// The failure names what could not be read or written, or the place that is taken; code 7 for
    /// want of space, code 20 without a message if the progress was refused, else 1. A success has
    /// warnings if links that lead out of the folder were left out.
    static Error copy(const QString &source, const QString &target,
                      const TreeCopy::Progress &progress = {});
    /// The same for a file that takes the place of what an earlier call has put there in vain, if
    /// that lies there still. `own` tells of it, and afterwards of what this call has left there: a
    /// call that fails may find that it cannot even take its file away again. Only a file replaces
    /// a file: where one of the two is a folder, the place is taken.
    static Error copyOver(const QString &source, const QString &target, Placed *own,
                          const TreeCopy::Progress &progress = {});

    /// Whether a file or folder of this name is what a copy makes on its way.
    static bool isOnItsWay(const QByteArray &name);
    /// Whether the program that makes this copy still runs. One in another container cannot be seen
    /// from here, and counts as running if what has the name was changed less than a day ago.
    static bool isInProgress(const QByteArray &name, std::chrono::milliseconds unchangedFor);
};

} // namespace zel
