#include "internal/FormatDetectorBruker.h"

#include "files/PathUtils.h"

#include <QDir>
#include <QDirIterator>

#include <algorithm>

namespace zel::msreader::internal {

using namespace Qt::Literals::StringLiterals;
using PathUtils::isExistingDir;
using PathUtils::isExistingFile;

namespace {

constexpr QLatin1StringView fidFiles[] = {
    "/1/1SRef/fid"_L1, "/1SRef/fid"_L1, "/1/1SLin/fid"_L1, "/1SLin/fid"_L1,
    "/1/1Ref/fid"_L1,  "/1Ref/fid"_L1,  "/1/1Lin/fid"_L1,  "/1Lin/fid"_L1,
};

bool hasFidFile(const QString &folder)
{
    return std::any_of(std::begin(fidFiles), std::end(fidFiles),
                       [&](QLatin1StringView name) { return isExistingFile(folder + name); });
}

// Here "fid" is a folder, unlike in the names above, and counts only where no baf lies beside it.
bool hasFidFolder(const QString &folder)
{
    return isExistingDir(folder + u"/fid"_s) && !isExistingFile(folder + u"/Analysis.baf"_s)
        && !isExistingFile(folder + u"/analysis.baf"_s);
}

bool isSelfOrParent(const QString &entry)
{
    return entry.endsWith(u"/.") || entry.endsWith(u"/..");
}

bool hasFid(const QString &path)
{
    bool pathIsAsked = false;
    QDirIterator entries(path, QDirIterator::FollowSymlinks);
    while (entries.hasNext()) {
        const QString entry = entries.next();
        if (isSelfOrParent(entry))
            continue;
        // Nothing lies below a file, and the listing has told which entries are files.
        if (entries.fileInfo().isDir() && (hasFidFile(entry) || hasFidFolder(entry)))
            return true;
        // Asked with the first entry only: the answer is the same for each.
        if (!pathIsAsked && hasFidFolder(path))
            return true;
        pathIsAsked = true;
    }
    return false;
}

// Unlike above, "analysis.baf" does not count.
VendorDataFormat bafAndU2FormatOf(const QString &path)
{
    const bool baf = isExistingFile(path + u"/Analysis.baf"_s);
    const bool u2 = isExistingFile(brukerU2Path(path));
    if (baf && u2)
        return VendorDataFormat::BrukerBAF_and_U2;
    if (baf)
        return VendorDataFormat::BrukerBAF;
    return u2 ? VendorDataFormat::BrukerU2 : VendorDataFormat::Unknown;
}

} // namespace

QSet<VendorDataFormat> FormatDetectorBruker::supportedFormats() const
{
    // Never destroyed, like the detectors themselves.
    static const auto *const formats = new QSet<VendorDataFormat> {
        VendorDataFormat::BrukerFID,        VendorDataFormat::BrukerYEP,
        VendorDataFormat::BrukerBAF,        VendorDataFormat::BrukerU2,
        VendorDataFormat::BrukerBAF_and_U2, VendorDataFormat::BrukerTims,
        VendorDataFormat::BrukerTsf,
    };
    return *formats;
}

QSet<VendorDataFormat> FormatDetectorBruker::matchesByName(const QString &path) const
{
    if (!PathUtils::hasExtension(path, u"d"_s))
        return {};
    return supportedFormats();
}

QSet<VendorDataFormat> FormatDetectorBruker::detectFormat(const QString &path) const
{
    if (matchesByName(path).isEmpty())
        return {};
    const VendorDataFormat format = brukerFormatOf(path);
    if (format == VendorDataFormat::Unknown)
        return {};
    return { format };
}

QString FormatDetectorBruker::fileNameExtension(VendorDataFormat) const
{
    return u"d"_s;
}

bool FormatDetectorBruker::isFile(VendorDataFormat) const
{
    return false;
}

bool FormatDetectorBruker::isFolder(VendorDataFormat) const
{
    return true;
}

QString FormatDetectorBruker::formatDescription(VendorDataFormat format) const
{
    if (format == VendorDataFormat::BrukerTims)
        return u"Bruker Tims"_s;
    if (format == VendorDataFormat::BrukerTsf)
        return u"Bruker Tsf"_s;
    return u"Bruker"_s;
}

// The order of the questions is the whole of the classification: folders with several marks exist.
VendorDataFormat brukerFormatOf(const QString &path)
{
    if (hasFid(path))
        return VendorDataFormat::BrukerFID;
    if (isExistingFile(path + u"/Analysis.yep"_s))
        return VendorDataFormat::BrukerYEP;
    if (const VendorDataFormat format = bafAndU2FormatOf(path); format != VendorDataFormat::Unknown)
        return format;
    if (isExistingFile(path + u"/analysis.tdf"_s) || isExistingFile(path + u"/Analysis.tdf"_s))
        return VendorDataFormat::BrukerTims;
    if (isExistingFile(path + u"/analysis.tsf"_s) || isExistingFile(path + u"/Analysis.tsf"_s))
        return VendorDataFormat::BrukerTsf;
    return VendorDataFormat::Unknown;
}

QString brukerU2Path(const QString &path)
{
    QString name = QDir(path).dirName();
    if (!name.endsWith(u".d", Qt::CaseInsensitive))
        return {};
    return path + u'/' + name.replace(u".d"_s, u".u2"_s);
}

} // namespace zel::msreader::internal
