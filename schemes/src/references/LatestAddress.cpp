#include "references/LatestAddress.h"

#include "threads/Mutex.h"

#include <QHash>

namespace zel {

namespace {

struct Table
{
    Mutex mutex { "the table of addresses" }; ///< guards the addresses, too
    QHash<QString, std::weak_ptr<LatestAddress>> entries;
};

// Never destroyed: references may live in what goes at exit.
Table &table()
{
    static auto *addresses = new Table;
    return *addresses;
}

} // namespace

struct LatestAddress::Key
{
};

std::shared_ptr<LatestAddress> LatestAddress::of(const QString &referenceKey)
{
    Table &addresses = table();
    const std::lock_guard lock(addresses.mutex);
    std::weak_ptr<LatestAddress> &entry = addresses.entries[referenceKey];
    std::shared_ptr<LatestAddress> latest = entry.lock();
    if (!latest) {
        latest = std::make_shared<LatestAddress>(Key(), referenceKey);
        entry = latest;
    }
    return latest;
}

LatestAddress::LatestAddress(Key, const QString &referenceKey)
    : referenceKey(referenceKey)
{
}

LatestAddress::~LatestAddress()
{
    Table &addresses = table();
    const std::lock_guard lock(addresses.mutex);
    // Somebody may have named the file anew since the last reference went.
    const auto entry = addresses.entries.constFind(referenceKey);
    if (entry != addresses.entries.constEnd() && entry->expired())
        addresses.entries.erase(entry);
}

void LatestAddress::set(const QByteArray &newAddress)
{
    const std::lock_guard lock(table().mutex);
    address = newAddress;
}

QByteArray LatestAddress::get() const
{
    const std::lock_guard lock(table().mutex);
    return address;
}

} // namespace zel
