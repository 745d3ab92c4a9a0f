#include "DataFormats.h"

#include "MsFileInfo.h"

#include <algorithm>

namespace zel {

using msreader::DataSourceLocation;
using msreader::MsFileInfo;
using msreader::VendorDataFormat;

namespace {

QList<VendorDataFormat> sorted(const QSet<VendorDataFormat> &formats)
{
    QList<VendorDataFormat> list = formats.values();
    std::sort(list.begin(), list.end());
    return list;
}

QStringList namesOf(const QSet<VendorDataFormat> &formats)
{
    QStringList names;
    const QList<VendorDataFormat> list = sorted(formats);
    for (const VendorDataFormat format : list)
        names.append(msreader::vendorDataFormatToString(format));
    return names;
}

DataFormats::Format describe(VendorDataFormat format)
{
    return { msreader::vendorDataFormatToString(format), MsFileInfo::fileNameExtension(format),
             MsFileInfo::formatDescription(format), MsFileInfo::isFile(format),
             MsFileInfo::isFolder(format) };
}

/// In its clean form: people end the name of a folder with a slash, detectors compare ends.
DataSourceLocation locationOf(const QString &path)
{
    DataSourceLocation location(path);
    location.normalizePath();
    return location;
}

} // namespace

QList<DataFormats::Format> DataFormats::all()
{
    QList<Format> descriptions;
    const QList<VendorDataFormat> formats = sorted(msreader::allFormats());
    for (const VendorDataFormat format : formats)
        descriptions.append(describe(format));
    return descriptions;
}

QStringList DataFormats::byName(const QString &path)
{
    return namesOf(MsFileInfo::detectFormatsByName(locationOf(path)));
}

QStringList DataFormats::detect(const QString &path)
{
    return namesOf(MsFileInfo::detectFormats(locationOf(path)));
}

} // namespace zel
