#include "DataSourceLocation.h"

#include "errors/Propagate.h"
#include "files/FilePathUtils.h"
#include "values/StringifierState.h"

namespace zel::msreader {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Empty without a sample.
QString toText(const std::optional<DataSourceLocation::Sample> &sample)
{
    if (!sample)
        return {};
    return u"sampleName: %1, nativeSampleId: %2"_s.arg(sample->sampleName, sample->nativeSampleId);
}

} // namespace

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
