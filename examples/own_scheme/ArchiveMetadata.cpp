#include "ArchiveMetadata.h"

#include "errors/Propagate.h"

#include <QDir>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace archive {

namespace {

const auto batchKey = u"Batch"_s;
const auto revisionKey = u"Revision"_s;

} // namespace

ArchiveMetadata::ArchiveMetadata(const ArchivedRun &run, const QString &folder)
    : sample(run.sample)
    , path(QDir(folder).relativeFilePath(run.file))
    , fullPath(run.file)
    , batch_(run.batch)
    , revision(run.revision)
{
}

QString ArchiveMetadata::metadataType() const
{
    return u"run"_s;
}

QJsonObject ArchiveMetadata::toJson() const
{
    QJsonObject object = ResourceMetadata::toJson();
    object.insert(kType, metadataType());
    object.insert(batchKey, batch_);
    object.insert(revisionKey, revision.toString());
    return object;
}

Result<QSharedPointer<ResourceMetadata>> ArchiveMetadata::fromJson(const QJsonObject &object)
{
    for (const QString &key : { kName, kPath, kFullPath, batchKey, revisionKey }) {
        if (!object.value(key).isString())
            return ZEL_ERROR(ErrorCode::BadData, u"\"%1\" of a run is missing."_s.arg(key));
    }
    auto *metadata = new ArchiveMetadata;
    metadata->sample = object.value(kName).toString();
    metadata->path = object.value(kPath).toString();
    metadata->fullPath = object.value(kFullPath).toString();
    metadata->batch_ = object.value(batchKey).toString();
    metadata->revision = QVersionNumber::fromString(object.value(revisionKey).toString());
    return QSharedPointer<ResourceMetadata>(metadata);
}

} // namespace archive
