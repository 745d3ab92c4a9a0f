#include "ResourceMetadata.h"

#include "ResourceMetadataFactory.h"
#include "errors/Propagate.h"

const QString kName = QStringLiteral("Name");
const QString kPath = QStringLiteral("Path");
const QString kFullPath = QStringLiteral("FullPath");
const QString kType = QStringLiteral("Type");
const QString kItemType = QStringLiteral("ItemType");

namespace zel {

namespace {

constexpr quint64 mixed(quint64 bits)
{
    return ((bits >> 32) ^ bits) * 0xd6e8feb86659fd93u;
}

} // namespace

ResourceMetadata::~ResourceMetadata() = default;

Result<QSharedPointer<ResourceMetadata>> ResourceMetadata::fromJson(
    const QJsonObject &object, ResourceReference::Scheme scheme)
{
    return ZEL_PASS(ResourceMetadataFactory::create(object, scheme));
}

QJsonObject ResourceMetadata::toJson() const
{
    return { { kName, metadataName() },
             { kPath, metadataPath() },
             { kFullPath, metadataFullPath() } };
}

unsigned int qHash(ResourceMetadata::ItemType itemType, unsigned int seed)
{
    // Widened with its sign first, so that every value of the enumeration has its own bits.
    const auto value = static_cast<quint64>(static_cast<qint64>(itemType));
    const quint64 bits = mixed(mixed(value ^ seed));
    return static_cast<unsigned int>((bits >> 32) ^ bits);
}

} // namespace zel
