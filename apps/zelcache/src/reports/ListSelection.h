#pragma once

#include "ResourceCacheReader.h"

#include <optional>

namespace zel::cli {

/// Which resources `list` shows, and in which order.
struct ListSelection
{
    enum class Order {
        AsAdded,
        Size, ///< biggest first
        Age, ///< whose status is the oldest first
        Name, ///< by reference
    };

    Order order = Order::AsAdded;
    std::optional<ResourceStatus> status; ///< empty for all
    QString format; ///< as DataFormats names it; empty for all
    QString prefix; ///< of references; empty for all

    /// From what the user wrote, in any case; an empty text chooses nothing. Fails with code 2 and
    /// the possible words.
    static Result<ListSelection> fromTexts(const QString &order, const QString &status,
                                           const QString &format);

    /// What is selected, in the order; equals stay in the order in which they were added. A format
    /// is told by the name of the local copy alone.
    QList<ResourceCacheReader::Resource> applied(
        QList<ResourceCacheReader::Resource> resources) const;
};

} // namespace zel::cli
