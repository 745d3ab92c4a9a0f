#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>
#include <QVarLengthArray>

#include <optional>

namespace zel {

/// A manifest of a big cache's resources taken apart as a text: its list of files is as long as
/// there are files, and to read that as JSON in general takes longer than to look at all of them.
/// A big cache has as many manifests as it has resources, so their heads count as well.
///
/// Understands only what ContentManifest::toJson() writes; whatever else JSON allows is for a
/// reader of JSON. Trusts nothing that stands there. What it gives are parts of the text, which
/// has to outlive them.
struct ManifestText
{
    /// One of the list, each member as it stands there; empty without one.
    struct File
    {
        QByteArrayView path;
        QByteArrayView size;
        QByteArrayView modified;
        std::optional<QByteArrayView> link;
        QList<QByteArray> sums; ///< copies, to be kept
        QByteArrayView verified;
        QByteArrayView changed;
        QByteArrayView checkedBlocks;
        bool isSummedLater = false;
        bool isChecked = false;
    };

    /// What stands behind a name.
    struct Member
    {
        QByteArrayView name;
        QByteArrayView value;
        bool isNumber = false; ///< digits without quotes
    };
    using Members = QVarLengthArray<Member, 16>;

    QByteArray head; ///< the same text with an empty list
    QList<File> files;

    /// Empty if there is more to the text than this understands.
    static std::optional<ManifestText> takenApart(const QByteArray &json);
    /// The members of a head but for the list, each name once. Empty as above.
    static std::optional<Members> membersOf(const QByteArray &head);
};

} // namespace zel
