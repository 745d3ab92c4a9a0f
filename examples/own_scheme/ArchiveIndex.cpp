#include "ArchiveIndex.h"

#include "errors/Propagate.h"
#include "files/FileUtils.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace archive {

namespace {

/// A full path; empty for a file that the index does not name.
QString pathOf(const QJsonObject &object, const QString &key, const QString &folder)
{
    const QString file = object.value(key).toString();
    return file.isEmpty() ? QString() : QDir(folder).filePath(file);
}

} // namespace

Result<ArchiveIndex> ArchiveIndex::read(const QString &folder)
{
    QFile file(QDir(folder).filePath(u"index.json"_s));
    if (!file.open(QIODevice::ReadOnly)) {
        return ZEL_ERROR(
            ErrorCode::OperationFailed,
            u"The index \"%1\" cannot be read: %2"_s.arg(file.fileName(), file.errorString()));
    }
    QJsonParseError problem;
    const auto document = QJsonDocument::fromJson(file.readAll(), &problem);
    if (problem.error != QJsonParseError::NoError) {
        return ZEL_ERROR(ErrorCode::BadData,
                         u"\"%1\" is no index: %2"_s.arg(file.fileName(), problem.errorString()));
    }

    ArchiveIndex index;
    const QJsonArray entries = document.object().value(u"runs"_s).toArray();
    for (const auto &entry : entries) {
        ZEL_TRY_LET(const ArchivedRun run, runOf(entry.toObject(), folder));
        index.runs.append(run);
    }
    return index;
}

Result<ArchivedRun> ArchiveIndex::runOf(const QJsonObject &object, const QString &folder)
{
    ArchivedRun run;
    run.id = object.value(u"id"_s).toString();
    run.file = pathOf(object, u"file"_s, folder);
    run.report = pathOf(object, u"report"_s, folder);
    run.sample = object.value(u"sample"_s).toString();
    run.batch = object.value(u"batch"_s).toString();
    run.revision = QVersionNumber::fromString(object.value(u"revision"_s).toString());
    run.bytes = object.value(u"bytes"_s).toInteger(-1);

    const bool isNamed = !run.id.isEmpty() && !run.id.contains(u'/');
    const bool isInside = FileUtils::isSubPath(run.file, folder)
        && (run.report.isEmpty() || FileUtils::isSubPath(run.report, folder));
    if (!isNamed || !isInside || run.bytes < 0) {
        return ZEL_ERROR(
            ErrorCode::BadData,
            u"The index of \"%1\" describes the run \"%2\" wrongly."_s.arg(folder, run.id));
    }
    return run;
}

std::optional<ArchivedRun> ArchiveIndex::find(const QString &id) const
{
    const auto found = std::find_if(runs.begin(), runs.end(),
                                    [&id](const ArchivedRun &run) { return run.id == id; });
    return found == runs.end() ? std::nullopt : std::optional(*found);
}

QList<ArchivedRun> ArchiveIndex::batch(const QString &name) const
{
    QList<ArchivedRun> found;
    std::copy_if(runs.begin(), runs.end(), std::back_inserter(found),
                 [&name](const ArchivedRun &run) { return run.batch == name; });
    return found;
}

} // namespace archive
