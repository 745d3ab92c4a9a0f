#include "internal/FormatDetectorAgilent.h"

#include "files/PathUtils.h"

#include <QDirIterator>

namespace zel::msreader::internal {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QStringView dataFolder = u".d/AcqData";
constexpr QStringView dataFiles[] = {
    u".d/AcqData/msprofile.bin",
    u".d/AcqData/mspeak.bin",
    u".d/AcqData/msscan.bin",
};

// The name first: nearly all entries are told by it without a question to the disk.
bool isAcquiredData(const QString &entry)
{
    if (entry.endsWith(dataFolder, Qt::CaseInsensitive))
        return PathUtils::isDirectory(entry);
    for (const QStringView file : dataFiles) {
        if (entry.endsWith(file, Qt::CaseInsensitive))
            return PathUtils::isExistingFile(entry);
    }
    return false;
}

} // namespace

FormatDetectorAgilent::FormatDetectorAgilent(int mostEntries)
    : FormatDetectorSimple(VendorDataFormat::AgilentAcqData, true, u".d"_s, u"Agilent"_s)
    , mostEntries(mostEntries)
{
}

QSet<VendorDataFormat> FormatDetectorAgilent::detectFormat(const QString &path) const
{
    if (FormatDetectorSimple::matchesByName(path).isEmpty() || !PathUtils::isDirectory(path))
        return {};

    // Following links, the iterator remembers the real path of each folder and enters none twice.
    QDirIterator entries(path, QDirIterator::FollowSymlinks | QDirIterator::Subdirectories);
    for (int count = 0; count < mostEntries && entries.hasNext(); ++count) {
        if (isAcquiredData(entries.next()))
            return supportedFormats();
    }
    return {};
}

} // namespace zel::msreader::internal
