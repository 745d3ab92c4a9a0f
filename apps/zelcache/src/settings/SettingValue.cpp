#include "settings/SettingValue.h"

#include "errors/Propagate.h"
#include "output/Format.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::SettingValue)
};

/// Not QDir's idea of it: there, a path that starts with a colon is absolute as well.
bool isAbsolute(const QString &directory)
{
    return directory.startsWith(u'/');
}

/// As it stands in the file, where a comma makes a list.
QString textInFile(const QVariant &value)
{
    return value.toStringList().join(u", "_s);
}

QString complaintAboutDirectory(const QVariant &value)
{
    if (value.typeId() == QMetaType::QStringList)
        return Texts::tr("is a list, since a comma without quotes parts it; the default counts");
    if (value.toString().isEmpty())
        return Texts::tr("is empty; the default counts");
    if (!isAbsolute(value.toString()))
        return Texts::tr("is no absolute directory: \"%1\"").arg(value.toString());
    return {};
}

QString complaintAboutSize(const QVariant &value)
{
    bool isNumber = false;
    const qint64 bytes = value.toString().toLongLong(&isNumber);
    if (!isNumber)
        return Texts::tr("is no whole number of bytes: \"%1\"; it counts as 0")
            .arg(textInFile(value));
    if (bytes <= 0)
        return Texts::tr("is no size that a cache can have: %1").arg(bytes);
    return {};
}

Result<QVariant> directoryFromText(const QString &text)
{
    if (text.isEmpty())
        return ZEL_ERROR(ErrorCode::BadArgument, Texts::tr("a directory must not be empty."));
    if (!isAbsolute(text))
        return ZEL_ERROR(ErrorCode::BadArgument,
                         Texts::tr("\"%1\" is no absolute directory.").arg(text));
    const QFileInfo info(text);
    if (info.exists() && !info.isDir())
        return ZEL_ERROR(ErrorCode::BadArgument, Texts::tr("\"%1\" is not a directory.").arg(text));
    // Spelled in one way, since the spelling selects the lock.
    return QVariant(QDir::cleanPath(text));
}

Error orderFailure(const ResourceCacheSizes &sizes)
{
    if (sizes.optimalSize <= sizes.maximumSize)
        return {};
    const QString text = Texts::tr("the optimal size %1 would be above the maximum %2.");
    return ZEL_ERROR(
        ErrorCode::BadArgument,
        text.arg(sizeAndBytesText(sizes.optimalSize), sizeAndBytesText(sizes.maximumSize)));
}

} // namespace

QString complaintAbout(SettingKey key, const QVariant &value)
{
    return key == SettingKey::CacheLocationPath ? complaintAboutDirectory(value)
                                                : complaintAboutSize(value);
}

Result<QVariant> settingFromText(SettingKey key, const QString &text,
                                 const ResourceCacheSizes &sizes)
{
    if (key == SettingKey::CacheLocationPath)
        return ZEL_PASS(directoryFromText(text));
    const std::optional<qint64> bytes = sizeFromText(text);
    if (!bytes || *bytes <= 0)
        return ZEL_ERROR(
            ErrorCode::BadArgument,
            Texts::tr("\"%1\" is no size above 0; write bytes, or 500MiB, 1.5TiB.").arg(text));
    ResourceCacheSizes changed = sizes;
    if (key == SettingKey::OptimalCacheSize)
        changed.optimalSize = *bytes;
    else
        changed.maximumSize = *bytes;
    Error error;
    ZEL_TRY(error, orderFailure(changed));
    return QVariant(qlonglong(*bytes));
}

QString sizeAndBytesText(qint64 bytes)
{
    return u"%1 (%2)"_s.arg(QString::number(bytes), sizeText(bytes));
}

} // namespace zel::cli
