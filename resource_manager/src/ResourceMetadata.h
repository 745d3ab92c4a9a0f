#pragma once

#include "errors/Result.h"
#include "references/ResourceReference.h"

#include <QJsonObject>
#include <QMetaType>
#include <QObject>
#include <QSharedPointer>
#include <QString>
#include <QVersionNumber>

// Keys of the JSON form of a ResourceMetadata. The last two are for subclasses.
ZEL_RESOURCE_MANAGER_EXPORT extern const QString kName; ///< "Name": metadataName()
ZEL_RESOURCE_MANAGER_EXPORT extern const QString kPath; ///< "Path": metadataPath()
ZEL_RESOURCE_MANAGER_EXPORT extern const QString kFullPath; ///< "FullPath": metadataFullPath()
ZEL_RESOURCE_MANAGER_EXPORT extern const QString kType; ///< "Type": metadataType()
ZEL_RESOURCE_MANAGER_EXPORT extern const QString kItemType; ///< "ItemType": metadataItemType()

namespace zel {

/// What a resource is, told in the same words for every scheme, and its JSON form.
///
/// A scheme brings a subclass and registers a creator with ResourceMetadataFactory, through which
/// fromJson() makes one again. Objects are shared and not changed after they were made.
class ZEL_RESOURCE_MANAGER_EXPORT ResourceMetadata
{
    Q_GADGET

public:
    /// What a resource is made of.
    enum class ItemType {
        Invalid = 0, ///< not known
        File = 1, ///< one file
        Folder = 2, ///< a folder with all that is in it
    };
    Q_ENUM(ItemType)

    ResourceMetadata() = default;
    ResourceMetadata(const ResourceMetadata &) = default;
    ResourceMetadata &operator=(const ResourceMetadata &) = default;
    virtual ~ResourceMetadata();

    /// Made by the scheme's registered creator, which alone looks at the object. Code 2 for a
    /// scheme without one; otherwise the creator's failure.
    static Result<QSharedPointer<ResourceMetadata>> fromJson(const QJsonObject &object,
                                                             ResourceReference::Scheme scheme);

    /// The name to show, without its path.
    virtual QString metadataName() const = 0;
    /// Where the resource lies within its source.
    virtual QString metadataPath() const = 0;
    /// Where the resource lies, its source included.
    virtual QString metadataFullPath() const = 0;
    /// The scheme's own word for what the resource is.
    virtual QString metadataType() const = 0;
    virtual ItemType metadataItemType() const = 0; ///< file or folder

    /// Name, path and full path. A subclass that has more to tell adds keys to what this gives.
    virtual QJsonObject toJson() const;

    /// The version of the resource as its source tells it; null if the source does not.
    virtual QVersionNumber metadataVersion() const = 0;
};

/// The same on every machine and in every run, so that it may be stored.
ZEL_RESOURCE_MANAGER_EXPORT unsigned int qHash(ResourceMetadata::ItemType itemType,
                                               unsigned int seed = 0);

} // namespace zel

Q_DECLARE_METATYPE(QSharedPointer<zel::ResourceMetadata>)
