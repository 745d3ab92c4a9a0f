#include "NoteScheme.h"

#include "ResourceHandlerFactory.h"
#include "ResourceMetadataFactory.h"
#include "errors/Propagate.h"

#include <QFile>

#include <algorithm>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace notes {

namespace {

const auto prefix = u"note:"_s;

Result<QSharedPointer<ResourceReference>> parse(const QString &text)
{
    const QString words = text.mid(prefix.size());
    if (words.isEmpty())
        return ZEL_ERROR(ErrorCode::BadArgument, u"A note has words."_s);
    return QSharedPointer<ResourceReference>(new NoteReference(words));
}

QString indexOf(const QString &notePath)
{
    return notePath + u".index"_s;
}

Error write(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.flush())
        return ZEL_ERROR(ErrorCode::OperationFailed, file.errorString());
    return Error();
}

Error writeNote(const QString &path, const QString &words)
{
    Error error;
    ZEL_TRY(error, write(path, words.toUtf8()));
    return ZEL_PASS(write(indexOf(path), QByteArray::number(words.size())));
}

} // namespace

Error registerNotes()
{
    ResourceHandlerFactory::registerResourceHandlerScheme(
        noteScheme, [](const QSharedPointer<ResourceReference> &reference, ResourceCache *cache) {
            return QSharedPointer<ResourceHandler>(new NoteHandler(reference, cache));
        });
    ResourceMetadataFactory::registerMetadataScheme(noteScheme, [](const QJsonObject &object) {
        return QSharedPointer<ResourceMetadata>(new NoteMetadata(object.value(kName).toString()));
    });
    return ZEL_PASS(ResourceReference::registerScheme(
        { noteScheme, { u"note"_s }, u"notes"_s, QVersionNumber(1), &parse }));
}

NoteReference::NoteReference(const QString &words)
    : ResourceReference(noteScheme)
    , words(words)
{
}

QString NoteReference::referenceText(bool forDisplay) const
{
    return forDisplay ? words : prefix + words;
}

NoteHandler::NoteHandler(const QSharedPointer<ResourceReference> &reference, ResourceCache *cache)
    : RemoteResourceHandler(reference, cache)
    , words(reference->referenceText(true))
{
}

Result<std::unique_ptr<GetSiblingsTask>> NoteHandler::siblings() const
{
    return std::unique_ptr<GetSiblingsTask>(new NoteSiblings(words));
}

std::unique_ptr<Task> NoteHandler::existsTask() const
{
    auto task = std::make_unique<Task>();
    task->setFunction([](Task *self) {
        self->setResult<bool>(true);
        return Error(0);
    });
    return task;
}

std::unique_ptr<Task> NoteHandler::metadataTask() const
{
    auto task = std::make_unique<Task>();
    task->setFunction([words = words](Task *self) {
        self->setResult(QSharedPointer<ResourceMetadata>(new NoteMetadata(words)));
        return Error(0);
    });
    return task;
}

std::unique_ptr<Task> NoteHandler::createRetrieveTask(const PathImpl<PathType::Dir> &)
{
    const QString path = localPath().value();
    auto task = std::make_unique<Task>();
    task->setFunction([path, words = words] { return ZEL_PASS(writeNote(path, words)); },
                      Task::ExecutionMode::Asynchronous);
    return task;
}

QString NoteHandler::cacheFileName() const
{
    return words + u"/text.note"_s;
}

NoteMetadata::NoteMetadata(const QString &words)
    : words(words)
{
}

NoteSiblings::NoteSiblings(const QString &words)
    : GetSiblingsTask(nullptr)
    , words(words)
{
}

NoteSiblings::~NoteSiblings() = default;

Result<GetSiblingsTask::References> NoteSiblings::readSiblings()
{
    QString backwards = words;
    std::reverse(backwards.begin(), backwards.end());
    ZEL_TRY_LET(const auto sibling, ResourceReference::fromString(prefix + backwards));
    return References { sibling };
}

const ExtendableEnum<FileTypes::FileTypeData> noteFiles(QLatin1StringView("NOTE"),
                                                        { { u"note"_s } });

QList<QString> NoteIndexes::getAssociatedResources(const QString &path) const
{
    return { indexOf(path) };
}

bool Agreement::confirmRetrieve(const References &references)
{
    asked = references;
    return true;
}

} // namespace notes
