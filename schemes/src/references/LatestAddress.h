#pragma once

#include <QByteArray>
#include <QString>

#include <map>

namespace zel {

/// The signed address under which a file was last named in this process, shared by all references
/// to the file that live.
///
/// Links to stores of objects are signed for a while, and a program that is given a new link goes
/// on with the handler that it has, made of an old one. What was signed last is what opens the door
/// for longest. Kept in memory for as long as a reference to the file lives, and nowhere else. May
/// be used on any thread.
class LatestAddress
{
public:
    /// The one of the file with this key form.
    explicit LatestAddress(const QString &referenceKey);
    ~LatestAddress();
    LatestAddress(const LatestAddress &) = delete;
    LatestAddress &operator=(const LatestAddress &) = delete;

    void set(const QByteArray &address);
    /// Empty if the file was only ever named without a signature.
    QByteArray get() const;

private:
    struct Shared
    {
        int holders = 0;
        QByteArray address;
    };
    /// Ordered, so that places in it last: who holds one need not look it up again.
    using Entries = std::map<QString, Shared>;
    struct Table;
    static Table &table();

    Entries::iterator entry;
};

} // namespace zel
