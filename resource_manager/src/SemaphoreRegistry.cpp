#include "SemaphoreRegistry.h"

#include "errors/Logging.h"
#include "platform/UnfinishedSemaphore.h"
#include "threads/Mutex.h"

#include <QDir>
#include <QFile>
#include <QHash>

#include <algorithm>
#include <utility>

namespace zel {

namespace {

using namespace std::chrono_literals;

/// Far more than lies between the two calls that make a semaphore.
constexpr auto patienceWithMaker = 2s;

struct Table
{
    Mutex mutex { "the table of semaphores" };
    QHash<QString, RegisteredSemaphore *> entries;
};

Table &table()
{
    static auto *semaphores = new Table;
    return *semaphores;
}

/// The entry that was asked for last: mostly it is the next one, too, as a program has one cache.
std::atomic<RegisteredSemaphore *> latest = nullptr;

/// By bytes: the look-up by text would take half as long as the semaphore itself. By views: a text
/// of the program itself moves when it is asked for its UTF-16, and another thread may read it.
bool isOf(const RegisteredSemaphore *entry, const QString &key)
{
    if (!entry)
        return false;
    const QStringView own(entry->key);
    return own.size() == key.size() && std::equal(own.begin(), own.end(), key.cbegin());
}

RegisteredSemaphore *entryOf(Table &semaphores, const QString &key)
{
    RegisteredSemaphore *&entry = semaphores.entries[key];
    if (!entry)
        entry = new RegisteredSemaphore(key);
    return entry;
}

/// Under the table's mutex: a failing call of two threads would abort.
void tryAgain(RegisteredSemaphore *entry)
{
    entry->open();
    if (entry->usable)
        entry->isRefusalTaken = false;
}

} // namespace

RegisteredSemaphore::RegisteredSemaphore(const QString &key)
    : key(key)
    , keeper(QString())
{
    open();
}

void RegisteredSemaphore::open()
{
    const auto openKeeper = [this] {
        // The same key once more would be taken for no change.
        keeper.setKey(QString());
        keeper.setKey(key, 1, QSystemSemaphore::Open);
        usable = keeper.error() == QSystemSemaphore::NoError;
    };
    openKeeper();
    // Before anybody waits for it.
    while (usable && UnfinishedSemaphore::remove(key, patienceWithMaker)) {
        qCWarning(lcResourceManager)
            << "The semaphore" << key
            << "was not set up by a program that has died; it is made anew.";
        openKeeper();
    }
}

DirectoryUse::DirectoryUse(RegisteredSemaphore *entry)
    : entry(entry)
{
    entry->keptDirectory.hold();
}

DirectoryUse::~DirectoryUse()
{
    entry->keptDirectory.letGo();
}

RegisteredSemaphore *SemaphoreRegistry::keep(const QString &key)
{
    Table &semaphores = table();
    const std::lock_guard lock(semaphores.mutex);
    return entryOf(semaphores, key);
}

RegisteredSemaphore *SemaphoreRegistry::keepForDirectory(const QString &key,
                                                         const QString &baseDirectory)
{
    Table &semaphores = table();
    const std::lock_guard lock(semaphores.mutex);
    RegisteredSemaphore *entry = entryOf(semaphores, key);
    // Written once: lockers read it without the table's mutex.
    if (entry->directory.isEmpty())
        entry->directory = QFile::encodeName(QDir(baseDirectory).absolutePath());
    entry->keptDirectory.renew(); // the folder may have been made anew since it was opened
    if (!entry->usable)
        tryAgain(entry);
    return entry;
}

std::optional<QString> SemaphoreRegistry::takeRefusal(RegisteredSemaphore *entry)
{
    // The object that tells why may be made anew on another thread.
    const std::lock_guard lock(table().mutex);
    if (entry->usable || std::exchange(entry->isRefusalTaken, true))
        return std::nullopt;
    return entry->keeper.errorString();
}

RegisteredSemaphore *SemaphoreRegistry::find(const QString &key)
{
    RegisteredSemaphore *const former = latest;
    if (isOf(former, key))
        return former;
    Table &semaphores = table();
    const std::lock_guard lock(semaphores.mutex);
    RegisteredSemaphore *const entry = semaphores.entries.value(key);
    if (entry)
        latest = entry;
    return entry;
}

} // namespace zel
