#pragma once

#include "errors/Result.h"
#include "zacq/ZacqMetadata.h"

#include <QCoreApplication>

#include <optional>

namespace zel::zacq {

/// Name of the manifest in a folder form.
inline constexpr QLatin1StringView manifestName("zacq.json");
/// A manifest is a few hundred bytes; nobody makes us read an endless one.
inline constexpr qint64 manifestMaxSize = 1024 * 1024;
/// The folder below one of those around a container in which targets of sparse containers lie.
inline constexpr QLatin1StringView targetsFolderName("zacq");
inline constexpr QLatin1StringView targetSuffix(".zacq");
/// Where a conversion builds the target, inside the container. No sample may lie there at first.
inline constexpr QLatin1StringView stagingName("sparse.part");
/// Where something goes that is about to be removed, inside the container as well.
inline constexpr QLatin1StringView removedName("removed.part");
/// The folder of a target that the sample's folder becomes.
inline constexpr QLatin1StringView targetSampleFolder("s");

/// Whether the text is a relative path that stays below its start: components divided by single
/// slashes, none of them empty, "." or "..", without a backslash or a null character.
bool isInsidePath(const QString &path);
/// Whether a sample may lie there: an inside path that is none of the names above.
bool isSamplePath(const QString &path);

/// What a container says of itself. Foreign data: fromJson() lets nothing through that is not of
/// the form described here.
struct ZacqManifest
{
    Q_DECLARE_TR_FUNCTIONS(zel::zacq::ZacqManifest)

public:
    /// From a sparse container to its target: so many folders up, then "zacq/NAME.zacq".
    struct Pointer
    {
        int levelsUp = 0; ///< 1 for the folder that holds the container
        QString targetName;
        QString id; ///< the same in the target

        bool isUsable() const;
    };
    /// From a target back to its container.
    struct Owner
    {
        QString path; ///< seen from the folder that holds "zacq"
        QString id;
    };

    ZacqMetadata metadata;
    QString samplePath; ///< seen from the container; empty in the file form
    qint64 sampleSize = 0; ///< bytes
    std::optional<Pointer> pointer; ///< of a sparse container
    std::optional<Owner> owner; ///< of a target

    QByteArray toJson() const;
    /// Code 4 for anything that is no valid manifest, code 5 for a version of the future.
    static Result<ZacqManifest> fromJson(const QByteArray &json);

    /// Where the sample lies in a target.
    QString targetSamplePath() const;
};

} // namespace zel::zacq
