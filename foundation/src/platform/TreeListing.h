#pragma once

#include "Export.h"

#include <QByteArray>

#include <filesystem>
#include <functional>
#include <optional>
#include <system_error>

namespace zel {

/// The files and links of a tree with what a single look at each tells. Names are bytes, as the
/// names of a file system need not be valid text.
class ZEL_RESOURCE_MANAGER_EXPORT TreeListing
{
public:
    /// A file or a link.
    struct Entry
    {
        QByteArray path; ///< begins with the name that was asked for
        qint64 size = 0; ///< bytes; of a link 0
        qint64 modified = 0; ///< nanoseconds since the epoch; of a link 0
        std::optional<QByteArray> linkTarget; ///< of a link
    };

    /// What could not be looked at, and why.
    struct Failure
    {
        std::filesystem::path path; ///< as the system spells it
        std::error_code code; ///< of the system
    };

    /// Called for each entry, on the thread that lists.
    using Take = std::function<void(Entry &&entry)>;

    /// Hands over what lies at folder/name: itself if it is a file or a link, else the files and
    /// links below it, each folder's by name. Links are not followed; what is neither is passed
    /// over, and so is what others remove meanwhile. The first failure ends it; that there is
    /// nothing at folder/name is one, no_such_file_or_directory.
    static std::optional<Failure> make(const std::filesystem::path &folder, const QByteArray &name,
                                       const Take &take);
};

} // namespace zel
