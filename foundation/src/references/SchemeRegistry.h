#pragma once

#include "references/ResourceReference.h"
#include "threads/Mutex.h"

#include <QList>

#include <memory>

namespace zel {

/// The schemes that programs have made known. One for the process, which never dies, since
/// references are made and asked until the very end. Every member may be called on any thread.
class SchemeRegistry
{
public:
    using Description = ResourceReference::SchemeDescription;

    static SchemeRegistry &instance();

    /// False if another scheme has one of the prefixes; nothing is changed then. Prefixes are in
    /// lower case.
    bool insert(const Description &description);
    void remove(ResourceReference::Scheme scheme);

    /// Null for one that is not known. Shared: a cache may have many references to look up.
    using Found = std::shared_ptr<const Description>;
    Found find(ResourceReference::Scheme scheme) const;
    /// Of a prefix of ASCII characters, in any case.
    Found findByPrefix(QStringView prefix) const;
    /// All prefixes, sorted.
    QStringList prefixes() const;

private:
    SchemeRegistry() = default;

    mutable Mutex mutex { "the table of schemes" };
    /// A handful: going through them takes less time than making what a table is asked with.
    QList<Found> descriptions;
};

} // namespace zel
