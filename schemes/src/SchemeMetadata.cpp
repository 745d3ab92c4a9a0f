#include "SchemeMetadata.h"

#include "errors/Propagate.h"

#include <QCoreApplication>
#include <QMetaEnum>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

const auto sizeKey = u"Size";
const auto filesKey = u"Files";
const auto modifiedKey = u"Modified";
const auto versionKey = u"Version";

QString text(const QJsonObject &object, QStringView key)
{
    return object.value(key).toString();
}

std::optional<qint64> number(const QJsonObject &object, QStringView key)
{
    bool isNumber = false;
    const qint64 value = text(object, key).toLongLong(&isNumber);
    return isNumber ? std::optional(value) : std::nullopt;
}

ResourceMetadata::ItemType itemType(const QString &key)
{
    const int value
        = QMetaEnum::fromType<ResourceMetadata::ItemType>().keyToValue(key.toLatin1().constData());
    return value < 0 ? ResourceMetadata::ItemType::Invalid : ResourceMetadata::ItemType(value);
}

} // namespace

SchemeMetadata::SchemeMetadata(const Values &values)
    : values(values)
{
}

Result<QSharedPointer<ResourceMetadata>> SchemeMetadata::fromJson(const QJsonObject &object)
{
    for (const QString &key : { kName, kPath, kFullPath }) {
        if (!object.value(key).isString()) {
            return ZEL_ERROR(
                ErrorCode::BadData,
                QCoreApplication::translate("zel::SchemeMetadata",
                                            "The description of the resource has no \"%1\".")
                    .arg(key));
        }
    }
    Values values;
    values.name = text(object, kName);
    values.path = text(object, kPath);
    values.fullPath = text(object, kFullPath);
    values.type = text(object, kType);
    values.itemType = zel::itemType(text(object, kItemType));
    values.size = number(object, sizeKey);
    values.fileCount = number(object, filesKey);
    values.modified = QDateTime::fromString(text(object, modifiedKey), Qt::ISODateWithMs);
    values.version = QVersionNumber::fromString(text(object, versionKey));
    return QSharedPointer<ResourceMetadata>(new SchemeMetadata(values));
}

QJsonObject SchemeMetadata::toJson() const
{
    QJsonObject object = ResourceMetadata::toJson();
    object.insert(kType, values.type);
    const QMetaEnum itemTypes = QMetaEnum::fromType<ItemType>();
    object.insert(kItemType, QString::fromLatin1(itemTypes.valueToKey(int(values.itemType))));
    if (values.size)
        object.insert(sizeKey, QString::number(*values.size));
    if (values.fileCount)
        object.insert(filesKey, QString::number(*values.fileCount));
    if (values.modified.isValid())
        object.insert(modifiedKey, values.modified.toUTC().toString(Qt::ISODateWithMs));
    if (!values.version.isNull())
        object.insert(versionKey, values.version.toString());
    return object;
}

} // namespace zel
