#pragma once

#include "SchemesExport.h"
#include "errors/Result.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QDateTime>
#include <QList>
#include <QString>

#include <optional>

namespace zel {

/// What a fetch brought into the cache: each file with its size, its time and the sums of its
/// bytes, by which damage is found later; and how the fetch went. A value; holds no secret.
///
/// Names are bytes as the file system has them, and need not be valid text.
struct ZEL_RESOURCE_SCHEMES_EXPORT ContentManifest
{
    Q_DECLARE_TR_FUNCTIONS(zel::ContentManifest)

public:
    /// Rises when an older program would misread a newer file; fromJson() refuses others.
    static constexpr int formatVersion = 1;
    /// Of the blocks that have a sum each: big enough that they take no room, small enough that a
    /// verification that is cut short loses a second of work.
    static constexpr qint64 defaultBlockBytes = 64ll * 1024 * 1024;

    /// One file or link of the resource.
    struct File
    {
        QByteArray path; ///< below the folder that the resource is in: "run.d/analysis.tdf"
        qint64 size = 0; ///< bytes
        qint64 modified = 0; ///< nanoseconds since the epoch
        std::optional<QByteArray> linkTarget; ///< of a link, which has no sums
        /// The XXH3-128 of each block, in hexadecimal digits; empty where it is not known yet. That
        /// of a file of one block is the sum of the file.
        QList<QByteArray> sums;
        /// Some sums are not of the fetched bytes, but of those that a later verification found.
        bool isSummedLater = false;

        QDateTime verified; ///< when all of it was last read and found right; null if never
        QDateTime foundChanged; ///< when it was found changed; null while it is not
        // Of a verification of the resource that was cut short:
        bool isChecked = false; ///< it had been through with the file
        qint64 checkedBlocks = 0; ///< so many blocks of the file were read and right

        bool hasAllSums() const; ///< whether the sum of each block is known
        friend bool operator==(const File &left, const File &right) = default;
    };

    QString id; ///< of this fetch, so that nobody takes a later manifest for this one
    QString referenceKey; ///< of the resource
    QByteArray name; ///< of the resource in its folder
    QList<File> files; ///< by path

    QString scheme; ///< as in "http"
    QString host; ///< empty for what has none
    QDateTime fetched; ///< when it was published
    qint64 fetchedBytes = 0; ///< by the program that published it; less than all if it went on
    qint64 fetchMilliseconds = 0; ///< that it took for them
    /// When the resource's folder was made; null if the volume does not tell. A folder that was
    /// made later may hold something else.
    QDateTime folderMade;

    /// Of each block that has a sum, but for the last of a file: its length in bytes.
    qint64 blockBytes = defaultBlockBytes;
    QDateTime verified; ///< the end of the last verification of all files; null if there was none

    /// Of that fetch; 0 if it was too short to tell.
    qint64 bytesPerSecond() const;
    /// The largest number for what is more than that.
    qint64 totalBytes() const;
    bool hasAllSums() const; ///< of all files
    /// Whether the last verification was cut short; the next one may go on from there.
    bool isCutShort() const;

    /// The content of the manifest's file; docs/schemes.md tells its members.
    QByteArray toJson() const;
    /// Code 4 for what is no manifest of this version, or for one with a path that leads out of the
    /// folder, with numbers that make no sense, or with sums that do not fit the size.
    static Result<ContentManifest> fromJson(const QByteArray &json);

    friend bool operator==(const ContentManifest &left, const ContentManifest &right) = default;
};

} // namespace zel
