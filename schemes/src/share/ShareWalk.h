#pragma once

#include "share/ShareListing.h"

namespace zel {

/// Goes through a file or folder of a share in an order that is always the same.
class ShareWalk
{
    Q_DECLARE_TR_FUNCTIONS(zel::ShareWalk)

public:
    using Visitor = std::function<void(const ShareListing::Entry &entry)>;

    ShareWalk(const std::filesystem::path &source, const Visitor &visitor,
              const std::function<bool()> &isCanceled);

    Error run();
    int leftOut() const { return leftOutCount; }

private:
    using Names = std::vector<std::string>;

    Error visitFolder(const std::string &suffix, int depth);
    Error visit(const std::string &suffix, int depth);
    Error visitLink(ShareListing::Entry entry, int depth);
    Error visitWholeFile(const std::string &suffix);
    Error visitCompanions();
    Result<std::filesystem::file_time_type> modifiedOf(const std::filesystem::path &path) const;
    Result<Names> namesIn(const std::filesystem::path &folder) const;
    std::filesystem::path pathOf(const std::string &suffix) const;
    Error failure(const std::filesystem::path &path, const std::error_code &code) const;

    const std::filesystem::path source;
    const Visitor visitor;
    const std::function<bool()> isCanceled;
    int leftOutCount = 0;
};

} // namespace zel
