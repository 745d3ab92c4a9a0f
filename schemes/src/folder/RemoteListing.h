#pragma once

#include "errors/Result.h"
#include "files/FileHash.h"
#include "http/HttpUrl.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QHash>
#include <QString>

#include <map>
#include <optional>
#include <set>

namespace zel {

/// One file of a folder on a server, as the folder's listing tells of it. What the listing does not
/// tell is not checked.
struct RemoteFile
{
    QString path; ///< below the folder, decoded: "a/b.bin"
    HttpUrl url; ///< where its bytes are; may hold secrets
    std::optional<qint64> size; ///< bytes
    QByteArray etag; ///< as the answer with the bytes has it
    QDateTime modified; ///< invalid if not told; compared to the second
    FileHash hash; ///< empty if not told
};

/// All that a folder on a server consists of: what a copy is measured against. A value.
///
/// A listing comes from a stranger and decides about names on this machine, so each entry is looked
/// at before it is taken in. Refused, with code 4 and a message that names the entry:
/// - absolute paths, drive letters, backslashes, "." and "..", empty names, control characters and
///   text that is none, names above 255 bytes, paths above 2048 bytes or 64 levels;
/// - an entry that is there already, also in other letter cases or another composition of accents,
///   since some volumes cannot tell those apart, and a file that is a folder as well;
/// - more than 100,000 entries, and sizes that do not add up to a number of 63 bits.
class RemoteListing
{
    Q_DECLARE_TR_FUNCTIONS(zel::RemoteListing)

public:
    static constexpr qsizetype mostEntries = 100'000; ///< files and folders
    static constexpr qsizetype mostNameBytes = 255;
    static constexpr qsizetype mostPathBytes = 2048;
    static constexpr qsizetype mostLevels = 64;

    using Files = std::map<QString, RemoteFile>;

    /// Takes a file in, and the folders that it lies in.
    Error addFile(const RemoteFile &file);
    /// Takes a folder in, and those that it lies in; needed for one without any file. One that is
    /// there already because of what lies in it is no fault.
    Error addFolder(const QString &path);

    /// By path.
    const Files &files() const { return allFiles; }
    /// Paths, each after the folder that it lies in. The listed folder itself is not among them.
    const std::set<QString> &folders() const { return allFolders; }

    /// Empty if the size of any file is not told.
    std::optional<qint64> totalBytes() const;
    /// The latest time of all files; invalid if none is told.
    QDateTime newest() const;
    /// Whether each file has something by which one state of it is told from the next: a checksum,
    /// an ETag or a time.
    bool tellsStates() const;
    /// Tells this state of the folder from any other, as far as the listing tells: by the paths,
    /// and for each file size, ETag, time and checksum. The same whatever the order of the entries.
    QString validator() const;

private:
    Error checkPath(const QString &path) const;
    qsizetype knownPart(const QString &path) const;
    Error enter(const QString &path, bool isFolder);
    Error refusal(const QString &path, const QString &what) const;

    Files allFiles;
    std::set<QString> allFolders;
    QHash<QString, QString> spellings; ///< of each path as no volume tells it apart from another
    qint64 knownBytes = 0;
    bool allSizesKnown = true;
};

} // namespace zel
