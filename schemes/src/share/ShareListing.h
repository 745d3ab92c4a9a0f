#pragma once

#include "errors/Result.h"

#include <QCoreApplication>
#include <QString>

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace zel {

/// What has to be copied for one file or folder of a share, as it was at one moment: what a copy is
/// measured against.
///
/// A folder comes with all that is in it. Links that stay inside it are copied as links; others,
/// and what is neither file nor folder, are left out. A file "x.wiff" comes with the "x.wiff.scan"
/// beside it, without which its data cannot be read. Names are bytes, and need not be valid text.
class ShareListing
{
    Q_DECLARE_TR_FUNCTIONS(zel::ShareListing)

public:
    enum class Kind { File, Folder, Link };

    struct Entry
    {
        std::string suffix; ///< what follows the resource's own path; empty for itself
        Kind kind = Kind::File;
        qint64 size = 0; ///< bytes of a file
        std::filesystem::file_time_type modified;
        std::filesystem::perms permissions {};
        std::string linkTarget;
    };

    /// Looks at everything once. Code 1 if it is missing or cannot be read, 20 if canceled.
    static Result<ShareListing> of(const std::filesystem::path &source,
                                   const std::function<bool()> &isCanceled);
    /// The validator() that a listing would have now, without keeping the listing.
    static Result<QString> validatorOf(const std::filesystem::path &source,
                                       const std::function<bool()> &isCanceled);

    /// The resource itself first, folders before what is in them.
    const std::vector<Entry> &entries() const { return all; }
    bool isFolder() const { return all.front().kind == Kind::Folder; }
    qint64 totalBytes() const { return bytes; }
    /// Tells this state of the source from any other: by names, sizes and modification times.
    const QString &validator() const { return state; }
    /// How many entries were left out.
    int leftOut() const { return leftOutCount; }

private:
    ShareListing() = default;

    std::vector<Entry> all;
    qint64 bytes = 0;
    QString state;
    int leftOutCount = 0;
};

} // namespace zel
