#pragma once

#include "DataSourceLocation.h"
#include "MsDataFormat.h"

#include <QSet>

namespace zel::msreader {

/// Answers questions about one format, and finds the formats of a path.
///
/// All of it may be called on any thread. Recognition never fails: what nobody knows has no format.
class MsFileInfo
{
public:
    /// Without the dot before it. These four answer an unknown format with an empty text or false,
    /// and log a warning.
    static QString fileNameExtension(VendorDataFormat format);
    static QString formatDescription(VendorDataFormat format);
    /// A format may be both.
    static bool isFile(VendorDataFormat format);
    static bool isFolder(VendorDataFormat format);

    /// All formats that the location may have; several if nothing tells them apart.
    ///
    /// `extensionOnly` looks at the name alone, which costs no access to the disk; otherwise the
    /// data and the inner files that make the format must be there. `stopAtFirst` ends with the
    /// first detector that says yes, in an order that never changes.
    static QSet<VendorDataFormat> detectFormats(const DataSourceLocation &location,
                                                bool extensionOnly, bool stopAtFirst);
    /// In full, from all detectors.
    static QSet<VendorDataFormat> detectFormats(const DataSourceLocation &location);
    /// By name, from all detectors.
    static QSet<VendorDataFormat> detectFormatsByName(const DataSourceLocation &location);
    static bool isSupportedDataSource(const DataSourceLocation &location, bool extensionOnly);
};

/// Every format that some detector knows.
QSet<VendorDataFormat> allFormats();
/// The extensions, without their dots, of the formats that are files and of those that are folders.
QSet<QString> fileFormatExtensions();
QSet<QString> folderFormatExtensions();

} // namespace zel::msreader
