#pragma once

#include "integrity/ContentManifest.h"

#include <filesystem>

namespace zel::ContentListing {

/// Adds what lies at folder/name to the list: itself if it is a file or a link, else the files and
/// links below it, by name. Links are not followed; what is neither is passed over. The paths begin
/// with the name; there are no sums yet. Code 1 if something cannot be looked at, 2 if there is
/// nothing at all.
Error add(const std::filesystem::path &folder, const QByteArray &name,
          QList<ContentManifest::File> &files);

} // namespace zel::ContentListing
