#include "MsDataFormat.h"

#include "errors/Propagate.h"
#include "files/FilePathUtils.h"
#include "files/StringifierState.h"

#include <algorithm>
#include <array>

namespace zel::msreader {

using namespace Qt::Literals::StringLiterals;

namespace {

struct FormatText
{
    QString text;
    VendorDataFormat format;
};

// Never destroyed: formats may be named until the process ends.
const auto &s_formatTexts = *new const std::array<FormatText, 26> { {
    { u"Unknown"_s, VendorDataFormat::Unknown },
    { u"Testing"_s, VendorDataFormat::Testing },
    { u"Zyspec2"_s, VendorDataFormat::Zyspec2 },
    { u"BrukerFID"_s, VendorDataFormat::BrukerFID },
    { u"BrukerYEP"_s, VendorDataFormat::BrukerYEP },
    { u"BrukerBAF"_s, VendorDataFormat::BrukerBAF },
    { u"BrukerU2"_s, VendorDataFormat::BrukerU2 },
    { u"BrukerBAF_and_U2"_s, VendorDataFormat::BrukerBAF_and_U2 },
    { u"BrukerTims"_s, VendorDataFormat::BrukerTims },
    { u"BrukerTsf"_s, VendorDataFormat::BrukerTsf },
    { u"AgilentAcqData"_s, VendorDataFormat::AgilentAcqData },
    { u"Mobilion"_s, VendorDataFormat::Mobilion },
    { u"Waters"_s, VendorDataFormat::Waters },
    { u"Shimadzu"_s, VendorDataFormat::Shimadzu },
    { u"SciexWiff"_s, VendorDataFormat::SciexWiff },
    { u"SciexWiff2"_s, VendorDataFormat::SciexWiff2 },
    { u"MsFaux"_s, VendorDataFormat::MsFaux },
    { u"MsFaux2"_s, VendorDataFormat::MsFaux2 },
    { u"Thermo"_s, VendorDataFormat::Thermo },
    { u"Mgf"_s, VendorDataFormat::Mgf },
    { u"Mzml"_s, VendorDataFormat::Mzml },
    { u"Mzxml"_s, VendorDataFormat::Mzxml },
    { u"Zacq"_s, VendorDataFormat::Zacq },
    { u"DataCut"_s, VendorDataFormat::DataCut },
    { u"DataCutEmbedded"_s, VendorDataFormat::DataCutEmbedded },
    { u"Csv2d"_s, VendorDataFormat::Csv2d },
} };

/// Empty without a sample.
QString toText(const std::optional<DataSourceLocation::Sample> &sample)
{
    if (!sample)
        return {};
    return u"sampleName: %1, nativeSampleId: %2"_s.arg(sample->sampleName, sample->nativeSampleId);
}

} // namespace

QString vendorDataFormatToString(VendorDataFormat format)
{
    const auto isFormat = [format](const FormatText &entry) {
        return entry.format == format;
    };
    const auto *const found = std::find_if(s_formatTexts.begin(), s_formatTexts.end(), isFormat);
    if (found == s_formatTexts.end())
        return QString::number(static_cast<int>(format), 10);
    return found->text;
}

Result<VendorDataFormat> vendorDataFormatFromString(const QString &text)
{
    const auto isText = [&text](const FormatText &entry) {
        return QString::compare(entry.text, text, Qt::CaseInsensitive) == 0;
    };
    const auto *const found = std::find_if(s_formatTexts.begin(), s_formatTexts.end(), isText);
    if (found != s_formatTexts.end())
        return found->format;
    return ZEL_ERROR(
        ErrorCode::BadArgument,
        QCoreApplication::translate(
            "zel::msreader", "Could not find match for converting vendor data format to string: %1")
            .arg(text));
}

DataSourceLocation::DataSourceLocation(const QString &path)
    : DataSourceLocation(localPathKind, path, nullptr)
{
}

DataSourceLocation::DataSourceLocation(int kind, const QString &path, DatabaseHandler *handler)
    : kind_(kind)
    , path_(path)
    , dbHandler_(handler)
{
}

DataSourceLocation DataSourceLocation::fromDatabaseHandler(DatabaseHandler *handler)
{
    return DataSourceLocation(databaseHandlerKind, QString(), handler);
}

int DataSourceLocation::kind() const
{
    return kind_;
}

QString DataSourceLocation::path() const
{
    return path_;
}

DatabaseHandler *DataSourceLocation::dbHandler() const
{
    return dbHandler_;
}

std::optional<QString> DataSourceLocation::displayName() const
{
    return displayName_;
}

void DataSourceLocation::setDisplayName(const std::optional<QString> &name)
{
    displayName_ = name;
}

std::optional<DataSourceLocation::Sample> DataSourceLocation::sample() const
{
    return sample_;
}

void DataSourceLocation::setSample(const std::optional<Sample> &newSample)
{
    sample_ = newSample;
}

QVariant DataSourceLocation::payload() const
{
    return payload_;
}

void DataSourceLocation::setPayload(const QVariant &newPayload)
{
    payload_ = newPayload;
}

void DataSourceLocation::normalizePath()
{
    if (kind_ == localPathKind || kind_ == databaseHandlerKind)
        path_ = FilePathUtils::absoluteFilePath(path_);
}

Error DataSourceLocation::checkValidVendorFilePath(const QString &path)
{
    if (path.isEmpty())
        return ZEL_ERROR(ErrorCode::BadArgument, tr("Vendor file name is empty"));
    if (FilePathUtils::isWinLongPath(path) && !FilePathUtils::hasWinLongPathPrefix(path)) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         tr("The path exceeds %1").arg(FilePathUtils::winMaxPathLength));
    }
    return {};
}

QString DataSourceLocation::toString() const
{
    QString text;
    const StringifierState state;
    QDebug writer = state.writerTo(&text);
    writer << "[";
    if (kind_ == localPathKind || kind_ == databaseHandlerKind)
        writeInside(writer);
    writer << "]";
    return text;
}

void DataSourceLocation::writeInside(QDebug &writer) const
{
    if (kind_ == localPathKind)
        writer << "local_path: " << path_;
    else
        writer << "dbHandler: " << static_cast<const void *>(dbHandler_);
    if (displayName_ && !displayName_->isEmpty())
        writer << "(" << *displayName_ << ")";
    if (sample_)
        writer << " : " << toText(sample_);
}

QString DataSourceLocation::toString(const QList<DataSourceLocation> &locations)
{
    QStringList texts;
    for (const DataSourceLocation &location : locations)
        texts.append(location.toString());
    return texts.join(u", "_s);
}

uint DataSourceLocation::hash() const
{
    return static_cast<uint>(qHash(toText(sample_), 0) + qHash(displayName_.value_or(QString()), 0)
                             + qHash(path_, 0));
}

} // namespace zel::msreader
