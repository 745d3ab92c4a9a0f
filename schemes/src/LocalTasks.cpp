#include "LocalTasks.h"

#include "SchemeMetadata.h"
#include "WorkerTask.h"
#include "errors/Propagate.h"
#include "files/FileUtilsGeneric.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

bool isReadable(const QFileInfo &info)
{
    return info.exists() && info.isReadable() && (!info.isDir() || info.isExecutable());
}

class MetadataReader
{
    Q_DECLARE_TR_FUNCTIONS(zel::LocalTasks)

public:
    static Result<QSharedPointer<ResourceMetadata>> read(const QString &path, const Task &task)
    {
        const QFileInfo info(path);
        if (!isReadable(info)) {
            return ZEL_ERROR(ErrorCode::OperationFailed,
                             tr("\"%1\" does not exist or cannot be read.").arg(path));
        }
        SchemeMetadata::Values values;
        values.name = info.fileName();
        values.path = path;
        values.fullPath = path;
        values.type = info.isDir() ? u"folder"_s : u"file"_s;
        values.itemType
            = info.isDir() ? ResourceMetadata::ItemType::Folder : ResourceMetadata::ItemType::File;
        values.size = FileUtilsGeneric::contentSize(path, [&task] { return !task.isCanceled(); });
        if (task.isCanceled())
            return Error(ErrorCode::Canceled);
        values.modified = info.lastModified().toUTC();
        return QSharedPointer<ResourceMetadata>(new SchemeMetadata(values));
    }
};

} // namespace

std::unique_ptr<Task> LocalTasks::exists(const QString &path)
{
    return makeWorkerTask([path](Task *task) {
        task->setResult(isReadable(QFileInfo(path)));
        return Error();
    });
}

std::unique_ptr<Task> LocalTasks::metadata(const QString &path)
{
    return makeWorkerTask([path](Task *task) -> Error {
        ZEL_TRY_LET(const QSharedPointer<ResourceMetadata> metadata,
                    MetadataReader::read(path, *task));
        task->setResult(metadata);
        return {};
    });
}

} // namespace zel
