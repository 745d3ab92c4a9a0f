#include "RunCopy.h"

#include "ArchiveReports.h"
#include "errors/Propagate.h"
#include "platform/FileSync.h"

#include <QFile>
#include <QFileInfo>
#include <QScopeGuard>
#include <QUuid>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace archive {

namespace {

constexpr qint64 pieceSize = 1024 * 1024;

/// Percent of the bytes of both files. Bytes themselves would not fit: progress has 32 bits.
class Progress
{
public:
    Progress(Task *task, qint64 totalBytes)
        : task(task)
        , total(totalBytes)
    {
    }

    void add(qint64 bytes)
    {
        done += bytes;
        const int percent = total > 0 ? int(done * 100 / total) : 0;
        if (percent == told)
            return;
        told = percent;
        task->setProgress(percent, 100);
    }
    bool isCanceled() const { return task->isCanceled(); }

private:
    Task *const task;
    const qint64 total;
    qint64 done = 0;
    int told = -1;
};

Error failureOf(const QFile &file)
{
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     u"\"%1\": %2"_s.arg(file.fileName(), file.errorString()));
}

Error copyBytes(QFile &source, QFile &target, Progress &progress)
{
    while (!progress.isCanceled()) {
        const QByteArray piece = source.read(pieceSize);
        if (piece.isEmpty())
            return source.error() == QFile::NoError ? Error() : failureOf(source);
        // On a full disk the count is too small; nothing else tells of it.
        if (target.write(piece) != piece.size())
            return failureOf(target);
        progress.add(piece.size());
    }
    return ZEL_ERROR(ErrorCode::Canceled, u"The copy of a run has been canceled."_s);
}

Error copyFile(const QString &from, const QString &to, Progress &progress)
{
    QFile source(from);
    // A name of its own: a process that was taken for dead may be at the same copy.
    QFile part(to + u'.' + QUuid::createUuid().toString(QUuid::Id128) + u".part"_s);
    const auto removal = qScopeGuard([&part] { part.remove(); }); // of what was not renamed
    if (!source.open(QIODevice::ReadOnly))
        return failureOf(source);
    if (!part.open(QIODevice::WriteOnly | QIODevice::NewOnly))
        return failureOf(part);

    Error error;
    ZEL_TRY(error, copyBytes(source, part, progress));
    ZEL_TRY(error, FileSync::syncFile(part));
    ZEL_TRY(error, FileSync::renameDurably(part.fileName(), to));
    return error;
}

} // namespace

Error copyRun(const ArchivedRun &run, const QString &target, Task *task)
{
    if (QFileInfo(run.file).size() != run.bytes) {
        return ZEL_ERROR(ErrorCode::BadData,
                         u"\"%1\" is not as long as the index says."_s.arg(run.file));
    }
    Error error;
    Progress progress(task, run.bytes + QFileInfo(run.report).size());
    if (!run.report.isEmpty())
        ZEL_TRY(error, copyFile(run.report, reportPathFor(target), progress));
    ZEL_TRY(error, copyFile(run.file, target, progress));
    return error;
}

} // namespace archive
