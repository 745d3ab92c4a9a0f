#include "ArchiveHandler.h"

#include "ArchiveIndex.h"
#include "ArchiveMetadata.h"
#include "ArchiveSiblings.h"
#include "RunCopy.h"
#include "errors/Propagate.h"

#include <QCryptographicHash>
#include <QDir>
#include <QFileInfo>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace archive {

namespace {

std::unique_ptr<Task> workerTask(const std::function<Error(Task *)> &work)
{
    auto task = std::make_unique<Task>();
    task->setFunction(work);
    task->setExecutionMode(Task::ExecutionMode::Asynchronous);
    return task;
}

Result<ArchivedRun> look(const ArchiveReference &reference)
{
    ZEL_TRY_LET(const ArchiveIndex index, ArchiveIndex::read(reference.folder()));
    if (const auto run = index.find(reference.id()))
        return *run;
    return ZEL_ERROR(ErrorCode::OperationFailed,
                     u"There is no %1."_s.arg(reference.referenceText(true)));
}

Error answerExists(const ArchiveReference &reference, Task *task)
{
    // No answer, and so a failure, if the share is gone: the run may well be there.
    ZEL_TRY_LET(const ArchiveIndex index, ArchiveIndex::read(reference.folder()));
    const auto run = index.find(reference.id());
    task->setResult<bool>(run && QFileInfo(run->file).isReadable());
    return Error();
}

Error answerMetadata(const ArchiveReference &reference, Task *task)
{
    ZEL_TRY_LET(const ArchivedRun run, look(reference));
    task->setResult(QSharedPointer<ResourceMetadata>(new ArchiveMetadata(run, reference.folder())));
    return Error();
}

Error fetch(const ArchiveReference &reference, const QString &target, Task *task)
{
    ZEL_TRY_LET(const ArchivedRun run, look(reference));
    return ZEL_PASS(copyRun(run, target, task));
}

} // namespace

ArchiveHandler::ArchiveHandler(const QSharedPointer<ArchiveReference> &run, ResourceCache *cache)
    : RemoteResourceHandler(run, cache)
    , run(run)
{
}

Result<std::unique_ptr<GetSiblingsTask>> ArchiveHandler::siblings() const
{
    return std::unique_ptr<GetSiblingsTask>(new ArchiveSiblings(run));
}

std::unique_ptr<Task> ArchiveHandler::existsTask() const
{
    return workerTask([run = run](Task *task) { return ZEL_PASS(answerExists(*run, task)); });
}

std::unique_ptr<Task> ArchiveHandler::metadataTask() const
{
    return workerTask([run = run](Task *task) { return ZEL_PASS(answerMetadata(*run, task)); });
}

std::unique_ptr<Task> ArchiveHandler::createRetrieveTask(
    const PathImpl<PathType::Dir> &targetDirectory)
{
    const QString target = QDir(targetDirectory).filePath(fileName());
    return workerTask(
        [run = run, target](Task *task) { return ZEL_PASS(fetch(*run, target, task)); });
}

/// A folder for this run alone, since all of it goes when the run leaves the cache. A digest has
/// none of the characters that a folder cannot have, and two archives may both have a run 0042.
QString ArchiveHandler::cacheFileName() const
{
    const QByteArray key = run->referenceText(false).toUtf8();
    const QByteArray digest = QCryptographicHash::hash(key, QCryptographicHash::Sha256).toHex();
    return QString::fromLatin1(digest.left(32)) + u'/' + fileName();
}

/// The format of data is told by the end of its name.
QString ArchiveHandler::fileName() const
{
    return u"run-"_s + run->id() + u".mzML"_s;
}

} // namespace archive
