// Fetches the note of the words that it is given, and prints where it lies.
#include "NoteScheme.h"
#include "ResourceCache.h"
#include "ResourceCacheReader.h"
#include "ResourceManager.h"
#include "Surface.h"
#include "errors/Propagate.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonObject>
#include <QTextStream>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace {

/// The families of names that are not what this program was written for.
QStringList changedFamilies()
{
    const std::pair<QString, void (*)(notes::Surface &)> families[] {
        { u"manager"_s, &notes::nameManager }, { u"cache"_s, &notes::nameCache },
        { u"dao"_s, &notes::nameDao },         { u"handlers"_s, &notes::nameHandlers },
        { u"tasks"_s, &notes::nameTasks },     { u"foundation"_s, &notes::nameFoundation },
        { u"results"_s, &notes::nameResults },
    };
    QStringList changed;
    for (const auto &[name, nameAll] : families) {
        notes::Surface surface;
        nameAll(surface);
        if (!surface.isAsAgreed())
            changed.append(name);
    }
    return changed;
}

Error failed(const QString &what)
{
    return ZEL_ERROR(ErrorCode::OperationFailed, what);
}

/// Everything else that a handler can be asked.
Error ask(const QSharedPointer<ResourceHandler> &handler)
{
    ZEL_TRY_LET(const bool exists, handler->exists());
    if (!exists)
        return failed(u"The note does not exist."_s);

    ZEL_TRY_LET(const auto metadata, handler->retrieveMetadata());
    ZEL_TRY_LET(const auto copy, ResourceMetadata::fromJson(metadata->toJson(), notes::noteScheme));
    if (copy->toJson() != metadata->toJson())
        return failed(u"The metadata of the note has changed on its way."_s);

    Error error;
    ZEL_TRY_LET(const auto siblings, handler->siblings());
    siblings->exec();
    ZEL_TRY(error, siblings->waitForAllFinished(-1));
    return siblings->siblings().size() == 1 ? error : failed(u"The note has no sibling."_s);
}

/// The index beside the note belongs to the note, once a provider says so.
Error countIndex(const QSharedPointer<ResourceHandler> &handler, const QString &path)
{
    Error error;
    ResourceCache *cache = ResourceManager::cache();
    cache->registerAssociatedResourcesProvider(notes::noteFiles,
                                               std::make_unique<notes::NoteIndexes>());
    ZEL_TRY(error, ResourceManager::updateFileSizes({ handler }));
    const ResourceCacheReader reader(cache->path().databasePath());
    ZEL_TRY_LET(const auto snapshot, reader.read());
    const qint64 expected = QFileInfo(path).size() + QFileInfo(path + u".index"_s).size();
    return snapshot.currentSize == expected ? error : failed(u"The index has not been counted."_s);
}

Result<QString> fetch(const QString &baseDirectory, const QString &reference)
{
    Error error;
    ZEL_TRY(error, notes::registerNotes());
    ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(baseDirectory);
    ResourceManager::overrideDefaultSettings(settings);
    ResourceManager::setRetrieveMode(ResourceHandler::Prompt);
    ResourceManager::setDefaultResourcePromptingInterface(std::make_unique<notes::Agreement>());

    ZEL_TRY_LET(const auto handler, ResourceManager::getHandler(reference));
    ZEL_TRY(error, ask(handler));
    ZEL_TRY(error, handler->retrieve());
    ZEL_TRY_LET(const ResourceStatus status, ResourceManager::cache()->readStatus(reference));
    if (status != ResourceStatus::Ready)
        return failed(u"The note has been fetched and is not ready."_s);
    ZEL_TRY_LET(const auto path, handler->expectedPath());
    ZEL_TRY(error, countIndex(handler, path));
    return path.toString();
}

} // namespace

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 3) {
        QTextStream(stderr) << "usage: note_reader BASE_DIRECTORY WORDS\n";
        return 2;
    }
    if (const QStringList changed = changedFamilies(); !changed.isEmpty()) {
        QTextStream(stderr) << "changed: " << changed.join(u", "_s) << '\n';
        return 3;
    }
    const Result<QString> path = fetch(arguments.at(1), u"note:"_s + arguments.at(2));
    if (!path.hasValue()) {
        QTextStream(stderr) << path.error().description() << '\n';
        return 1;
    }
    QTextStream(stdout) << path.value() << '\n';
    return 0;
}
