#pragma once

#include "AssociatedResourcesProviderInterface.h"
#include "RemoteResourceHandler.h"
#include "ResourceMetadata.h"
#include "ResourcePromptingInterface.h"
#include "files/FileTypes.h"
#include "tasks/GetSiblingsTask.h"

namespace notes {

/// "note:WORDS" names the text WORDS. Fetching it writes that text into a file, and its length into
/// an index beside that.
constexpr auto noteScheme = zel::ResourceReference::Host1;

/// Makes references, handlers and metadata of notes known to the library.
zel::Error registerNotes();

class NoteReference : public zel::ResourceReference
{
public:
    explicit NoteReference(const QString &words);

    QString referenceText(bool forDisplay) const override;
    std::optional<QString> referencePath() const override { return words; }

    const QString words;
};

class NoteHandler : public zel::RemoteResourceHandler
{
public:
    NoteHandler(const QSharedPointer<zel::ResourceReference> &reference, zel::ResourceCache *cache);

    zel::Result<std::unique_ptr<zel::GetSiblingsTask>> siblings() const override;

protected:
    std::unique_ptr<zel::Task> existsTask() const override;
    std::unique_ptr<zel::Task> metadataTask() const override;
    std::unique_ptr<zel::Task> createRetrieveTask(
        const zel::PathImpl<zel::PathType::Dir> &targetDirectory) override;
    QString cacheFileName() const override;

private:
    const QString words;
};

class NoteMetadata : public zel::ResourceMetadata
{
public:
    explicit NoteMetadata(const QString &words);

    QString metadataName() const override { return words; }
    QString metadataPath() const override { return words; }
    QString metadataFullPath() const override { return QStringLiteral("notes/") + words; }
    QString metadataType() const override { return QStringLiteral("note"); }
    ItemType metadataItemType() const override { return ItemType::File; }
    QVersionNumber metadataVersion() const override { return QVersionNumber(1); }

private:
    const QString words;
};

/// Finds one: the note of the same words backwards.
class NoteSiblings : public zel::GetSiblingsTask
{
public:
    explicit NoteSiblings(const QString &words);
    ~NoteSiblings() override;

protected:
    zel::Result<References> readSiblings() override;

private:
    const QString words;
};

/// What files of notes are told by.
extern const zel::ExtendableEnum<zel::FileTypes::FileTypeData> noteFiles;

/// Knows that an index lies beside a note.
class NoteIndexes : public zel::AssociatedResourcesProviderInterface
{
public:
    QList<QString> getAssociatedResources(const QString &path) const override;
};

/// Says yes and remembers to what.
class Agreement : public zel::ResourcePromptingInterface
{
public:
    using References = QList<QSharedPointer<zel::ResourceReference>>;

    bool confirmRetrieve(const References &references) override;
    References confirmedReferences() override { return asked; }

private:
    References asked;
};

} // namespace notes
