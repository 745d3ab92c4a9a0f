#pragma once

#include "ActorProcess.h"

#include <QMap>
#include <QString>

#include <memory>
#include <optional>

namespace zel::test {

/// What a program must find whole and unchanged for as long as it holds it.
struct Hold
{
    int version = 0;
    QString path;
};

/// A fetch that has not been answered.
struct Flight
{
    QString name;
    int opening = 0;
    bool mayFail = false; ///< its source fails, or it was canceled
    bool isVoid = false; ///< something befell it after which it may find nothing
};

/// A command that has not been answered. Until then what it does may have happened or not.
struct Errand
{
    enum class Kind {
        Other, ///< nothing that anybody holds depends on it
        Release,
        Outdated, ///< removes copies of older versions, whoever holds them
        Opening, ///< its program may be registered in either cache, or in none
    };

    QString command;
    Kind kind = Kind::Other;
    QString name = {}; ///< of the resource, if it is about one
    bool mayFail = false;
    int id = 0;
};

/// One of the programs, and what the model knows of it.
struct Player
{
    int number = 0;
    std::unique_ptr<ActorProcess> process; ///< null while there is none
    int base = 0; ///< which of the caches it uses
    int version = 1; ///< that its references declare
    qint64 clientId = -1; ///< its row in that cache
    int opening = 0; ///< each has a number of its own among all players
    int startedOpening = 0; ///< the first one of this process
    bool isOpen = false;
    int stoppedUntil = -1; ///< the step; negative if it runs
    /// It may have been silent for too long; until it is seen to have been in time.
    bool isSuspect = false;
    /// It was taken for dead: nothing it has counts until it opens a cache anew.
    bool isGhost = false;
    QMap<QString, Hold> holds;
    QMap<int, Flight> flights;
    std::optional<Errand> errand; ///< until it is answered, it is given nothing else to do
    QMap<int, QString> answers;
    QString lastCommand;

    bool isStopped() const { return stoppedUntil >= 0; }
    bool isOn(Errand::Kind kind) const { return errand && errand->kind == kind; }
    bool isRegistered() const { return process && isOpen && !isGhost; }
};

} // namespace zel::test
