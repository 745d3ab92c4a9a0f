#include "doctor/Checks.h"

#include "output/Format.h"

#include <QCoreApplication>

#include <algorithm>
#include <array>

namespace zel::cli::checks {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::PlaceChecks)
};

/// Where locks and shared memory do not reach the other machines that see the same files.
bool isOfNetwork(const QString &fileSystem)
{
    static constexpr std::array<QStringView, 12> prefixes {
        u"nfs",
        u"cifs",
        u"smb",
        u"9p",
        u"afs",
        u"ceph",
        u"ncpfs",
        u"fuse.sshfs",
        u"lustre",
        u"gpfs",
        u"fuse.glusterfs",
        u"davfs",
    };
    return std::any_of(prefixes.begin(), prefixes.end(),
                       [&fileSystem](QStringView prefix) { return fileSystem.startsWith(prefix); });
}

void checkSizes(const Examination &all, Findings &findings)
{
    const ResourceCacheSizes sizes = all.settings.sizes;
    if (all.partitionSize > 0 && sizes.maximumSize > all.partitionSize) {
        findings.append(
            { FindingKind::MaximumAbovePartition,
              {},
              Texts::tr("The cache may have %1, its volume has %2 in all; it is full before the "
                        "cache is.")
                  .arg(sizeText(sizes.maximumSize), sizeText(all.partitionSize)),
              {} });
    }
    if (sizes.optimalSize > sizes.maximumSize) {
        findings.append({ FindingKind::SizesReversed,
                          {},
                          Texts::tr("The optimal size, %1, is above the maximum, %2.")
                              .arg(sizeText(sizes.optimalSize), sizeText(sizes.maximumSize)),
                          {} });
    }
}

void checkSpelling(const Examination &all, Findings &findings)
{
    const LockFacts &lock = all.lock;
    if (lock.otherSpelling.isEmpty())
        return;
    const QString base = all.settings.cachePath.baseDirPath();
    if (lock.otherSemaphore.access == SystemSemaphoreState::Access::Absent) {
        findings.append(
            { FindingKind::BaseIsLinked,
              base,
              Texts::tr("It leads to \"%1\". A program that names it so has another lock.")
                  .arg(lock.otherSpelling),
              {} });
        return;
    }
    findings.append({ FindingKind::TwoSpellings,
                      base,
                      Texts::tr("Programs have used it as \"%1\" too, with another lock: \"%2\".")
                          .arg(lock.otherSpelling, lock.otherSemaphore.keyFile),
                      {} });
}

} // namespace

void place(const Examination &all, Findings &findings)
{
    if (isOfNetwork(all.fileSystem)) {
        findings.append(
            { FindingKind::NetworkFileSystem,
              all.settings.cachePath.baseDirPath(),
              Texts::tr("It lies on a network file system (%1), where the lock does not keep other "
                        "machines out and the database may be damaged.")
                  .arg(all.fileSystem),
              {} });
    }
    checkSizes(all, findings);
    checkSpelling(all, findings);
}

} // namespace zel::cli::checks
