#pragma once

#include "platform/KeptDescriptor.h"

#include <QByteArray>
#include <QString>
#include <QSystemSemaphore>

#include <atomic>
#include <optional>

namespace zel {

/// What this process knows of one named system semaphore.
struct RegisteredSemaphore
{
    explicit RegisteredSemaphore(const QString &key);
    /// Opens the keeper, or tries once more. A semaphore that its maker has died over is made anew:
    /// each program would wait for it for ever. Not while anybody may call the keeper.
    void open();

    const QString key;
    /// The process's own object of the key. The object that creates a semaphore in the system also
    /// removes it in its destructor, whoever holds it then, and a waiter goes on with a new one
    /// beside the holder. This one is made before any other object of the key and never destroyed,
    /// so that the others never are the creator.
    QSystemSemaphore keeper;
    /// False while the system refuses the semaphore: calling the keeper from several threads would
    /// abort. Nobody has called it then, so that it may be made anew.
    std::atomic<bool> usable = false;
    /// Whether takeRefusal() has told of it; under the table's mutex.
    bool isRefusalTaken = false;
    /// The thread that holds it in this process.
    std::atomic<Qt::HANDLE> holder = nullptr;
    /// The base directory, locked behind the semaphore; empty for a key that no cache opened.
    /// The semaphore's key file lies in the folder of temporary files, so that other users, another
    /// TMPDIR and a cleaned folder have a semaphore of their own; the directory is the same for
    /// all.
    QByteArray directory;
    KeptDescriptor keptDirectory; ///< held by each cache that is open there
};

/// For as long as it lives, takes of the semaphore find its directory open.
class DirectoryUse
{
public:
    explicit DirectoryUse(RegisteredSemaphore *entry);
    ~DirectoryUse();
    DirectoryUse(const DirectoryUse &) = delete;
    DirectoryUse &operator=(const DirectoryUse &) = delete;

private:
    RegisteredSemaphore *entry;
};

/// The process-wide table of semaphores by key. Entries are made once and never go.
/// All functions may be called on any thread.
namespace SemaphoreRegistry {

/// The entry of the key, made if there is none. Call it before making any object of the key.
RegisteredSemaphore *keep(const QString &key);
/// The same for the semaphore of a cache, whose base directory is locked behind it. One that the
/// system has refused is asked for again: what was in the way may be gone.
RegisteredSemaphore *keepForDirectory(const QString &key, const QString &baseDirectory);
/// Why the system refuses the semaphore, to the first who asks since it does; empty otherwise.
std::optional<QString> takeRefusal(RegisteredSemaphore *entry);
/// The entry of the key, or null for a semaphore that is none of a cache's.
RegisteredSemaphore *find(const QString &key);

} // namespace SemaphoreRegistry

} // namespace zel
