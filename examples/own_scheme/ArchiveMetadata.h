#pragma once

#include "ArchiveIndex.h"
#include "ResourceMetadata.h"

namespace archive {

/// What the index tells of a run, in the words that all schemes share, and its batch.
class ArchiveMetadata : public zel::ResourceMetadata
{
public:
    ArchiveMetadata(const ArchivedRun &run, const QString &folder);
    /// Reads back what toJson() gives. Code 4 if something is missing.
    static zel::Result<QSharedPointer<zel::ResourceMetadata>> fromJson(const QJsonObject &object);

    QString metadataName() const override { return sample; }
    QString metadataPath() const override { return path; }
    QString metadataFullPath() const override { return fullPath; }
    QString metadataType() const override;
    ItemType metadataItemType() const override { return ItemType::File; }
    QVersionNumber metadataVersion() const override { return revision; }
    QJsonObject toJson() const override;

    QString batch() const { return batch_; }

private:
    ArchiveMetadata() = default;

    QString sample;
    QString path; ///< within the archive
    QString fullPath;
    QString batch_;
    QVersionNumber revision;
};

} // namespace archive
