#pragma once

#include "folder/RemoteListing.h"
#include "http/HttpSettings.h"

#include <functional>
#include <map>

namespace zel::RemoteSizes {

/// The sizes of all files, by path: as listed, and where the listing does not tell them, as the
/// server does, which is asked for each such file. A file whose size nobody tells is left out.
///
/// Code 1 if a file is not there, 20 if canceled; the failure names the file as one of the folder.
/// Code 4 if the sizes do not add up to a number of 63 bits.
Result<std::map<QString, qint64>> of(const RemoteListing &listing, const QString &folderName,
                                     const HttpSettings &settings,
                                     const std::function<bool()> &isCanceled);

} // namespace zel::RemoteSizes
