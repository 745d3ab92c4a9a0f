#include "zacq/ZacqManifest.h"

#include "errors/Propagate.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace zel::zacq {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr int formatVersion = 1;
constexpr int mostLevels = 64;

QString pointerText(const ZacqManifest::Pointer &pointer)
{
    return u"../"_s.repeated(pointer.levelsUp) + targetsFolderName + u'/' + pointer.targetName;
}

/// Reads "../../zacq/NAME.zacq" and nothing else.
std::optional<ZacqManifest::Pointer> readPointer(const QJsonObject &object)
{
    ZacqManifest::Pointer pointer;
    pointer.id = object[u"id"_s].toString();
    const QString text = object[u"target"_s].toString();
    const QStringList parts = text.split(u'/');
    pointer.levelsUp = static_cast<int>(parts.size()) - 2;
    pointer.targetName = parts.last();
    return pointer.isUsable() && text == pointerText(pointer) ? std::optional(pointer)
                                                              : std::nullopt;
}

std::optional<ZacqManifest::Owner> readOwner(const QJsonObject &object)
{
    const ZacqManifest::Owner owner { object[u"path"_s].toString(), object[u"id"_s].toString() };
    return isInsidePath(owner.path) && !owner.id.isEmpty() ? std::optional(owner) : std::nullopt;
}

/// False if the object lacks something or holds what it should not.
bool readSample(ZacqManifest *manifest, const QJsonObject &sample)
{
    manifest->metadata.sampleName = sample[u"name"_s].toString();
    manifest->samplePath = sample[u"path"_s].toString();
    manifest->sampleSize = sample[u"size"_s].toInteger(-1);
    const auto hash = FileHash::fromString(sample[u"hash"_s].toString());
    if (!sample[u"name"_s].isString() || !hash.hasValue() || manifest->sampleSize < 0)
        return false;
    manifest->metadata.contentHash = hash.value();
    // The file form has none. One that is no text reads as empty, and an empty one is no place.
    return !sample.contains(u"path"_s) || isSamplePath(manifest->samplePath);
}

/// The same.
bool readInto(ZacqManifest *manifest, const QJsonObject &object)
{
    if (!readSample(manifest, object[u"sample"_s].toObject()))
        return false;
    if (object.contains(u"sparse"_s))
        manifest->pointer = readPointer(object[u"sparse"_s].toObject());
    if (object.contains(u"owner"_s))
        manifest->owner = readOwner(object[u"owner"_s].toObject());
    return object.contains(u"sparse"_s) == manifest->pointer.has_value()
        && object.contains(u"owner"_s) == manifest->owner.has_value();
}

} // namespace

bool isInsidePath(const QString &path)
{
    const QStringList parts = path.split(u'/');
    return !path.contains(u'\\') && !path.contains(QChar::Null)
        && std::none_of(parts.begin(), parts.end(), [](const QString &part) {
               return part.isEmpty() || part == u"."_s || part == u".."_s;
           });
}

bool isSamplePath(const QString &path)
{
    const QString first = path.section(u'/', 0, 0);
    return isInsidePath(path) && first != manifestName && first != stagingName
        && first != removedName;
}

bool ZacqManifest::Pointer::isUsable() const
{
    return levelsUp >= 1 && levelsUp <= mostLevels && isInsidePath(targetName)
        && !targetName.contains(u'/') && targetName.endsWith(targetSuffix) && !id.isEmpty();
}

QByteArray ZacqManifest::toJson() const
{
    QJsonObject sample {
        { u"name"_s, metadata.sampleName },
        { u"size"_s, sampleSize },
        { u"hash"_s, metadata.contentHash.toString() },
    };
    if (!samplePath.isEmpty())
        sample[u"path"_s] = samplePath;
    QJsonObject object {
        { u"format"_s, u"zacq"_s },
        { u"version"_s, formatVersion },
        { u"sample"_s, sample },
    };
    if (pointer) {
        object[u"sparse"_s]
            = QJsonObject { { u"target"_s, pointerText(*pointer) }, { u"id"_s, pointer->id } };
    }
    if (owner)
        object[u"owner"_s] = QJsonObject { { u"path"_s, owner->path }, { u"id"_s, owner->id } };
    return QJsonDocument(object).toJson();
}

Result<ZacqManifest> ZacqManifest::fromJson(const QByteArray &json)
{
    const QJsonObject object = QJsonDocument::fromJson(json).object();
    const int version = object[u"version"_s].toInt();
    if (object[u"format"_s].toString() != u"zacq"_s || version < 1)
        return ZEL_ERROR(ErrorCode::BadData, tr("The manifest is not one of a ZACQ container."));
    if (version > formatVersion) {
        return ZEL_ERROR(ErrorCode::UnsupportedContainer,
                         tr("Version %1 of the ZACQ format is not supported.").arg(version));
    }
    ZacqManifest manifest;
    if (!readInto(&manifest, object))
        return ZEL_ERROR(ErrorCode::BadData, tr("The manifest of the ZACQ container is damaged."));
    return manifest;
}

QString ZacqManifest::targetSamplePath() const
{
    return targetSampleFolder + u'/' + samplePath.sliced(samplePath.lastIndexOf(u'/') + 1);
}

} // namespace zel::zacq
