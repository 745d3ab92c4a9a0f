#pragma once

#include <QByteArray>
#include <QList>

#include <optional>

namespace zel {

/// A manifest of a big cache's resources taken apart as a text: its list of files is as long as
/// there are files, and to read that as JSON in general takes longer than to look at all of them.
///
/// Understands only what ContentManifest::toJson() writes; whatever else JSON allows is for a
/// reader of JSON. Trusts nothing that stands there.
struct ManifestText
{
    /// One of the list, each member as it stands there; empty without one.
    struct File
    {
        QByteArray path;
        QByteArray size;
        QByteArray modified;
        std::optional<QByteArray> link;
        QList<QByteArray> sums;
        QByteArray verified;
        QByteArray changed;
        QByteArray checkedBlocks;
        bool isSummedLater = false;
        bool isChecked = false;
    };

    QByteArray head; ///< the same text with an empty list
    QList<File> files;

    /// Empty if there is more to the text than this understands.
    static std::optional<ManifestText> takenApart(const QByteArray &json);
};

} // namespace zel
