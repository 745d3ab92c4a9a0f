#pragma once

#include <QByteArray>

#include <functional>
#include <optional>
#include <utility>

namespace zel {

/// Holds the transfers of this process back from crowding one server. Any thread.
class HostLimiter
{
public:
    /// One of a server's places; given back with the object.
    class Place
    {
    public:
        explicit Place(QByteArray server);
        ~Place();
        Place(Place &&other) noexcept
            : server(std::exchange(other.server, {}))
        {
        }
        Place(const Place &) = delete;
        Place &operator=(const Place &) = delete;
        Place &operator=(Place &&other) noexcept
        {
            std::swap(server, other.server);
            return *this;
        }

    private:
        QByteArray server;
    };

    /// Waits for one of `limit` places; empty if canceled meanwhile.
    static std::optional<Place> enter(const QByteArray &server, int limit,
                                      const std::function<bool()> &isCanceled);
};

} // namespace zel
