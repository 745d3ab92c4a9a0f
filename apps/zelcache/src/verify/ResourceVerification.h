#pragma once

#include "integrity/ContentVerifier.h"
#include "integrity/ManifestStore.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

#include <chrono>
#include <optional>

namespace zel::cli {

/// What is known of one resource's data. The later ones are worse.
enum class Verdict {
    Intact, ///< every byte is as it was fetched
    NotReached, ///< names and sizes are right; its bytes were not all read in this run
    NoManifest, ///< nobody wrote down what was fetched
    BadManifest, ///< what was written down cannot be read
    Unreadable,
    Changed,
    Truncated,
    Incomplete, ///< files are missing, or what its name promises is not in it
};

/// "intact", "notReached" and so on, as programs read it.
QString verdictName(Verdict verdict);
/// Whether the data is not what was fetched, or not what it is said to be.
bool isViolation(Verdict verdict);

/// The verification of one resource of the cache, from its manifest to its verdict. Takes no part
/// in the cache and changes nothing but the manifest. Main thread only.
class ResourceVerification
{
public:
    /// So often it is stored how far the reading came, for who ends the program the hard way.
    static constexpr std::chrono::seconds usualSaveInterval { 15 };

    ResourceVerification(const QString &reference, const QString &path, const ManifestStore &store,
                         std::chrono::milliseconds saveInterval = usualSaveInterval);

    /// Names, sizes and times, and what the format detectors say. Before anything else.
    void compare();
    /// Whether reading the bytes would tell more.
    bool needsReading() const;
    qint64 bytesToRead(bool goesOnFromBefore) const;
    /// Reads, and stores how far it came. Does nothing if there is nothing to read.
    void read(bool goesOnFromBefore, const ContentVerifier::GoesOn &goesOn);

    Verdict verdict() const;
    /// Files that are not as they were fetched; those that came in later are among them.
    QList<ContentVerifier::Finding> findings() const;
    /// What is to be said beside them, in whole sentences: of the format, of a missing manifest.
    const QStringList &notes() const { return remarks; }
    /// Empty without a manifest, or if that cannot be used.
    std::optional<ContentManifest> manifest() const;
    bool hasOtherTimes() const { return verifier && verifier->hasOtherTimes(); }

private:
    bool dataIsGone() const;
    void findManifest();
    void compareFormat();
    void save();

    const QString reference;
    const QString path;
    const ManifestStore store;
    const std::chrono::milliseconds saveInterval;
    std::optional<ContentVerifier> verifier;
    QStringList remarks;
    bool isGone = false;
    bool lacksItsFormat = false;
    bool hasBadManifest = false;
    bool wasRead = false;
};

} // namespace zel::cli
