#include "DataFormats.h"
#include "Surface.h"
#include "errors/Logging.h"
#include "errors/Tracer.h"
#include "errors/UnifiedError.h"
#include "files/AppDataLocation.h"
#include "files/FileHash.h"
#include "files/FilePathUtils.h"
#include "files/FileTypes.h"
#include "files/FileUtils.h"
#include "files/FileUtilsGeneric.h"
#include "files/PathImpl.h"
#include "files/PathUtils.h"
#include "platform/CrashHandler.h"
#include "references/ResourceReferenceUtils.h"
#include "settings/SettingsInterface.h"
#include "settings/SettingsUtils.h"
#include "zacq/Zacq.h"

#include <QSet>

using namespace zel;

namespace notes {

namespace {

using Reference = QSharedPointer<ResourceReference>;

/// What subclasses may use.
class OpenWarnings : public Warnings
{
public:
    using Warnings::addWarningInternal;
    using Warnings::addWarningsInternal;
    using Warnings::clearWarningsInternal;
    using Warnings::resetWarningInternal;
    using Warnings::resetWarningsInternal;
};

class OpenSettings : public SettingsInterface
{
public:
    using SettingsInterface::loadInternal;
    using SettingsInterface::saveInternal;
    using SettingsInterface::settingsFilePath;
};

void nameWarnings(Surface &surface)
{
    surface.constructor<Warnings>();
    surface.constructor<Warnings, const Warnings &>();
    surface.constructor<Warnings, Warnings &&>();
    static_assert(std::is_move_assignable_v<Warnings>);
    surface.member<void()>(&Warnings::clearWarnings);
    surface.member<void(const QString &)>(&Warnings::resetWarning);
    surface.member<void(const QList<QString> &)>(&Warnings::resetWarnings);
    surface.member<const QList<QString> &() const>(&Warnings::warnings);
    surface.inSlots(0, &OpenWarnings::addWarningInternal, &OpenWarnings::addWarningsInternal,
                    &OpenWarnings::clearWarningsInternal, &OpenWarnings::resetWarningInternal,
                    &OpenWarnings::resetWarningsInternal);
}

void nameError(Surface &surface)
{
    static_assert(std::is_base_of_v<Warnings, Error>);
    static_assert(std::is_copy_assignable_v<Error> && std::is_move_assignable_v<Error>);
    surface.constructor<Error>();
    surface.constructor<Error, ErrorCode>();
    surface.constructor<Error, ErrorCode, const QString &>();
    surface.constructor<Error, int>();
    surface.constructor<Error, int, const QString &>();
    surface.constructor<Error, const Error &>();
    surface.constructor<Error, Error &&>();
    surface.member<bool() const>(&Error::hasError);
    surface.member<Error &(const char *, const char *, int)>(&Error::ecatch);
    surface.member<ErrorCode() const>(&Error::errorCode);
    surface.member<QString() const>(&Error::errorMessage);
    surface.member<bool(const Error &) const>(&Error::equals);
    surface.member<Error &(const QString &)>(&Error::addWarning);
    surface.member<Error &(const QList<QString> &)>(&Error::addWarnings);
    surface.member<Error &()>(&Error::clearWarnings);
    surface.function<size_t(const Error &, size_t)>(&zel::qHash);
    surface.function<Error(const QSet<Error> &)>(&UnifiedError::computeUnifiedError);

    static_assert(int(ErrorCode::Success) == 0);
    static_assert(int(ErrorCode::OperationFailed) == 1);
    static_assert(int(ErrorCode::BadArgument) == 2);
    static_assert(int(ErrorCode::BadData) == 4);
    static_assert(int(ErrorCode::UnsupportedContainer) == 5);
    static_assert(int(ErrorCode::Canceled) == 20);
    static_assert(int(ErrorCode::FeatureLacking) == 21);
}

void nameReferences(Surface &surface)
{
    using Class = ResourceReference;
    static_assert(std::has_virtual_destructor_v<Class>);
    static_assert(Class::Invalid == 0 && Class::File == 3 && Class::Host1 == 16);
    surface.holds(Class::staticMetaObject.indexOfEnumerator("Scheme") >= 0);
    surface.function<Result<Reference>(const QString &)>(&Class::fromString);
    surface.function<Result<Class::Scheme>(const QString &)>(&Class::scheme);
    surface.member<Class::Scheme() const>(&Class::scheme);
    surface.function<QString(Class::Scheme)>(&Class::schemeFriendlyName);
    surface.function<Error(const Class::SchemeDescription &)>(&Class::registerScheme);
    surface.function<void(Class::Scheme)>(&Class::unregisterScheme);
    surface.member<bool(const Class &) const>(&Class::operator==);
    surface.member<QString(bool) const>(&Class::referenceText);
    surface.member<std::optional<QString>() const>(&Class::referencePath);
    surface.member<std::optional<QString>() const>(&Class::referenceFullPath);
    surface.member<QVersionNumber() const>(&Class::referenceVersion);
    surface.inSlots(0, &Class::referenceText);
    surface.ascending(&Class::referenceText, &Class::referencePath);
    surface.function<bool(const Reference &, const Reference &)>(&ResourceReferenceUtils::compare);
}

void nameFiles(Surface &surface)
{
    using Options = FileUtils::CopyFilesOptions;
    using Validator = FileUtils::CopyFilesValidator;
    using Names = QList<FileUtils::CustomName>;
    static_assert(int(RecursionPolicy::Recursive) == 1);
    static_assert(int(DuplicateFilesPolicy::Overwrite) == 1);
    surface.constructor<Options, RecursionPolicy, DuplicateFilesPolicy>();
    surface.constructor<Validator>();
    surface.function<bool(const QString &, const QString &, Options, const Validator &,
                          const Names &, QList<QString> *)>(&FileUtils::copyFiles);
    surface.function<bool(const QString &, const QString &)>(&FileUtils::isSubPath);
    surface.function<qint64(const QString &)>(&FileUtilsGeneric::contentSize);
    surface.function<qint64(const QString &, const std::function<bool()> &)>(
        &FileUtilsGeneric::contentSize);
    surface.function<Error(const QString &)>(&FileUtilsGeneric::mkPath);
    surface.function<bool(const QString &, const QString &)>(&PathUtils::hasExtension);
    surface.function<bool(const QString &)>(&PathUtils::isDirectory);
    surface.function<bool(const QString &)>(&PathUtils::isExistingDir);
    surface.function<bool(const QString &)>(&PathUtils::isExistingFile);
    surface.function<QString(const QString &)>(&FilePathUtils::absoluteFilePath);
    surface.function<bool(const QString &)>(&FilePathUtils::hasWinLongPathPrefix);
    surface.function<bool(const QString &)>(&FilePathUtils::isWinLongPath);
    surface.function<bool(const FileHash &, const FileHash &)>(
        [](const FileHash &left, const FileHash &right) { return left == right; });
    surface.function<QString(QString, bool, const QList<QStandardPaths::StandardLocation> &)>(
        &getAppDataLocationFile);
    static_assert(std::is_same_v<decltype(PathImpl<PathType::Unknown>::kind), qint32>);
}

void nameFileTypes(Surface &surface)
{
    using Data = FileTypes::FileTypeData;
    using Type = ExtendableEnum<Data>;
    surface.constructor<Type, QLatin1StringView, Data>();
    surface.constructor<ExtendableEnumRef<Data>, const Type &>();
    surface.function<const std::vector<Type> &()>(&Type::registeredValues);
    surface.function<bool(const QString &, ExtendableEnumRef<Data>)>(&FileTypes::isType);
}

void nameDataFormats(Surface &surface)
{
    using Format = DataFormats::Format;
    surface.member<QString>(&Format::name);
    surface.member<QString>(&Format::extension);
    surface.member<QString>(&Format::description);
    surface.member<bool>(&Format::isFile);
    surface.member<bool>(&Format::isFolder);
    surface.function<QList<Format>()>(&DataFormats::all);
    surface.function<QStringList(const QString &)>(&DataFormats::byName);
    surface.function<QStringList(const QString &)>(&DataFormats::detect);
    surface.holds(DataFormats::byName(QStringLiteral("run.mzML")).size() == 1);
}

void nameSettings(Surface &surface)
{
    surface.member<void()>(&SettingsInterface::load);
    surface.member<void(QSettings *) const>(&OpenSettings::saveInternal);
    surface.member<void(QSettings *)>(&OpenSettings::loadInternal);
    surface.member<QString() const>(&OpenSettings::settingsFilePath);
    surface.inSlots(0, &OpenSettings::saveInternal, &OpenSettings::loadInternal,
                    &OpenSettings::settingsFilePath);
    surface.function<QString(const QString &)>(&SettingsUtils::settingsFilePath);
}

void nameTracing(Surface &surface)
{
    using Span = void(const char *, const char *, const char *, const char *);
    surface.function<bool()>(&Tracer::isInitialized);
    surface.function<const char *(const char *)>(&Tracer::rawData);
    surface.function<const char *(const QByteArray &)>(&Tracer::rawData);
    surface.function<const char *(const QString &)>(&Tracer::rawData);
    surface.function<Span>(&Tracer::beginTraceC);
    surface.function<Span>(&Tracer::endTraceC);
    surface.function<bool(const char16_t *)>(&tracer_categories_settings::isCategoryEnabled);
    surface.function<QLoggingCategory *(const char *, QtMsgType, bool)>(&loggingCategory);
    surface.function<CrashHandler &()>(&CrashHandler::instance);
    surface.member<void(_EXCEPTION_POINTERS *)>(&CrashHandler::crashDetected);
}

void nameContainers(Surface &surface)
{
    using zacq::Zacq;
    static_assert(int(Zacq::Mode::ReadOnly) == 0 && int(Zacq::Type::Folder) == 2);
    surface.function<bool(const QString &, bool)>(&zacq::isZacqFile);
    surface.constructor<Zacq, const QString &>();
    surface.member<Error(Zacq::Mode)>(&Zacq::open);
    surface.member<Zacq::Type() const>(&Zacq::getType);
    surface.member<Result<QString>() const>(&Zacq::sampleFilePath);
    surface.member<const zacq::ZacqMetadata &() const>(&Zacq::metadata);
    surface.member<Error(const QString &, const QString &)>(&Zacq::makeSparseZacqBlocking);
    surface.function<bool(const QString &, bool)>(&Zacq::isSparseZacq);
    surface.function<std::optional<Zacq::MovedContent>(const QString &)>(&Zacq::movedContent);
    surface.function<QString(const QString &)>(&Zacq::sparseTarget);
    surface.function<qint64(const QString &)>(&Zacq::manifestSize);
    surface.function<Error(const QString &)>(&Zacq::remove);
}

} // namespace

void nameFoundation(Surface &surface)
{
    nameWarnings(surface);
    nameError(surface);
    nameReferences(surface);
    nameFiles(surface);
    nameFileTypes(surface);
    nameDataFormats(surface);
    nameSettings(surface);
    nameTracing(surface);
    nameContainers(surface);
}

} // namespace notes
