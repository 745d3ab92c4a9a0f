#include "references/LatestAddress.h"

#include "threads/Mutex.h"

namespace zel {

struct LatestAddress::Table
{
    Mutex mutex { "the table of addresses" }; ///< guards the addresses, too
    Entries entries;
};

// Never destroyed: references may live in what goes at exit.
LatestAddress::Table &LatestAddress::table()
{
    static auto *addresses = new Table;
    return *addresses;
}

LatestAddress::LatestAddress(const QString &referenceKey)
{
    Table &addresses = table();
    const std::lock_guard lock(addresses.mutex);
    entry = addresses.entries.try_emplace(referenceKey).first;
    ++entry->second.holders;
}

LatestAddress::~LatestAddress()
{
    Table &addresses = table();
    const std::lock_guard lock(addresses.mutex);
    if (--entry->second.holders == 0)
        addresses.entries.erase(entry);
}

void LatestAddress::set(const QByteArray &address)
{
    const std::lock_guard lock(table().mutex);
    entry->second.address = address;
}

QByteArray LatestAddress::get() const
{
    const std::lock_guard lock(table().mutex);
    return entry->second.address;
}

} // namespace zel
