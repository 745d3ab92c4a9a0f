#pragma once

#include "ResourceMetadata.h"
#include "SchemesExport.h"

#include <QDateTime>

#include <optional>

namespace zel {

/// What the schemes of this library tell of a resource. JSON: besides the common keys "Type",
/// "ItemType" ("File" or "Folder"), and, if known, "Size" (bytes, as a text, since JSON's numbers
/// are not exact beyond 2^53), "Files" (the same), "Modified" (ISO 8601, UTC) and "Version".
class ZEL_RESOURCE_SCHEMES_EXPORT SchemeMetadata : public ResourceMetadata
{
    Q_GADGET

public:
    /// What is told. A value.
    struct Values
    {
        QString name; ///< to show, without its path
        QString path; ///< within its source
        QString fullPath; ///< with its source
        QString type; ///< a MIME type if the source tells one, else "file" or "folder"
        ItemType itemType = ItemType::Invalid; ///< file or folder
        std::optional<qint64> size; ///< bytes; of a folder, all files in it
        std::optional<qint64> fileCount; ///< of a folder, with those of its folders
        QDateTime modified; ///< invalid if not known
        QVersionNumber version; ///< of the resource; null if the source does not tell
    };

    explicit SchemeMetadata(const Values &values); ///< not changed afterwards
    /// The creator for ResourceMetadataFactory. Code 4 if a common key is missing.
    static Result<QSharedPointer<ResourceMetadata>> fromJson(const QJsonObject &object);

    QString metadataName() const override { return values.name; }
    QString metadataPath() const override { return values.path; }
    QString metadataFullPath() const override { return values.fullPath; }
    QString metadataType() const override { return values.type; }
    ItemType metadataItemType() const override { return values.itemType; }
    QJsonObject toJson() const override;
    QVersionNumber metadataVersion() const override { return values.version; }

    /// See Values.
    std::optional<qint64> size() const { return values.size; }
    /// See Values.
    std::optional<qint64> fileCount() const { return values.fileCount; }
    /// See Values.
    QDateTime modified() const { return values.modified; }

private:
    Values values;
};

} // namespace zel
