#include "verify/ResourceVerification.h"

#include "DataFormats.h"
#include "errors/Propagate.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <array>

namespace zel::cli {

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::ResourceVerification)
};

using Kind = ContentVerifier::Kind;

Verdict verdictOf(Kind kind)
{
    switch (kind) {
    case Kind::Changed:
        return Verdict::Changed;
    case Kind::Truncated:
        return Verdict::Truncated;
    case Kind::Missing:
        return Verdict::Incomplete;
    case Kind::Unreadable:
        return Verdict::Unreadable;
    case Kind::Extra:
        break;
    }
    return Verdict::Intact;
}

/// Those of the formats that come in this form.
QStringList ofForm(const QFileInfo &info, const QStringList &names)
{
    QStringList promised;
    const QList<DataFormats::Format> formats = DataFormats::all();
    for (const DataFormats::Format &format : formats) {
        if (names.contains(format.name) && (info.isDir() ? format.isFolder : format.isFile))
            promised.append(format.name);
    }
    return promised;
}

} // namespace

QString verdictName(Verdict verdict)
{
    static constexpr std::array<QStringView, 8> names { u"intact",     u"notReached",
                                                        u"noManifest", u"badManifest",
                                                        u"unreadable", u"changed",
                                                        u"truncated",  u"incomplete" };
    return names.at(std::size_t(verdict)).toString();
}

bool isViolation(Verdict verdict)
{
    return verdict >= Verdict::Changed;
}

ResourceVerification::ResourceVerification(const QString &reference, const QString &path,
                                           const ManifestStore &store,
                                           std::chrono::milliseconds saveInterval)
    : reference(reference)
    , path(path)
    , store(store)
    , saveInterval(saveInterval)
{
}

void ResourceVerification::compare()
{
    isGone = path.isEmpty() || dataIsGone();
    if (isGone) {
        remarks.append(Texts::tr("Its data is gone."));
        return;
    }
    findManifest();
    compareFormat();
}

bool ResourceVerification::dataIsGone() const
{
    const QFileInfo info(path);
    return !info.exists() && !info.isSymLink();
}

void ResourceVerification::findManifest()
{
    const auto found = store.read(reference);
    hasBadManifest = !found.hasValue();
    if (hasBadManifest) {
        remarks.append(found.error().errorMessage());
        return;
    }
    // What was brought elsewhere after its fetch is not what the manifest tells of.
    const QByteArray name = QFile::encodeName(QFileInfo(path).fileName());
    if (!found.value() || found.value()->name != name) {
        remarks.append(Texts::tr("There is no manifest of its fetch."));
        return;
    }
    verifier.emplace(*found.value(), QFileInfo(path).path());
    verifier->compare();
    if (!verifier->isOfSomethingElse())
        return;
    // Of no use to anybody; the next one finds it again. That of a newer fetch stays.
    ZEL_DROP(store.removeIfSameFetch(verifier->manifest()));
    verifier.reset();
    remarks.append(Texts::tr("It was put here after the fetch that its manifest tells of."));
}

/// Detectors look for the inner files that make a format, names do not.
void ResourceVerification::compareFormat()
{
    if (!DataFormats::detect(path).isEmpty())
        return; // first, as it is the rule: then the name promises nothing else
    const QFileInfo info(path);
    const QStringList names = DataFormats::byName(path);
    if (names.isEmpty())
        return;
    const QStringList promised = ofForm(info, names);
    lacksItsFormat = !promised.isEmpty();
    if (!lacksItsFormat)
        return;
    const QString text = info.isDir()
        ? Texts::tr("By its name it is a folder acquisition (%1), but it lacks its index.")
        : Texts::tr(
            "By its name it is a file of a known format (%1), but its data does not show that.");
    // Many makers end the names of their folders alike.
    const QString &first = promised.constFirst();
    remarks.append(text.arg(promised.size() > 1 ? Texts::tr("%1 or the like").arg(first) : first));
}

bool ResourceVerification::needsReading() const
{
    if (!verifier)
        return false;
    const auto all = verifier->findings();
    // A change of bytes alone that was found before may have been mended since.
    return std::all_of(all.begin(), all.end(), [](const auto &finding) {
        return finding.kind == Kind::Extra
            || (finding.kind == Kind::Changed && finding.foundSize == finding.expectedSize);
    });
}

qint64 ResourceVerification::bytesToRead(bool goesOnFromBefore) const
{
    return needsReading() ? verifier->bytesToRead(goesOnFromBefore) : 0;
}

void ResourceVerification::read(bool goesOnFromBefore, const ContentVerifier::GoesOn &goesOn)
{
    if (!needsReading())
        return;
    const ContentManifest before = verifier->manifest();
    QElapsedTimer sinceSaved;
    sinceSaved.start();
    wasRead = verifier->read(goesOnFromBefore, [&](qint64 bytes) {
        if (std::chrono::milliseconds(sinceSaved.elapsed()) >= saveInterval) {
            ZEL_DROP(store.writeIfSameFetch(verifier->manifest())); // the end tells
            sinceSaved.start();
        }
        return goesOn(bytes);
    });
    if (!(verifier->manifest() == before))
        save();
}

void ResourceVerification::save()
{
    const auto stored = store.writeIfSameFetch(verifier->manifest());
    if (!stored.hasValue())
        remarks.append(
            Texts::tr("What was found cannot be kept: %1").arg(stored.error().errorMessage()));
}

Verdict ResourceVerification::verdict() const
{
    if (isGone || lacksItsFormat)
        return Verdict::Incomplete;
    if (!verifier)
        return hasBadManifest ? Verdict::BadManifest : Verdict::NoManifest;
    Verdict worst = wasRead ? Verdict::Intact : Verdict::NotReached;
    const auto all = verifier->findings();
    for (const ContentVerifier::Finding &finding : all)
        worst = std::max(worst, verdictOf(finding.kind));
    return worst;
}

QList<ContentVerifier::Finding> ResourceVerification::findings() const
{
    return verifier ? verifier->findings() : QList<ContentVerifier::Finding>();
}

std::optional<ContentManifest> ResourceVerification::manifest() const
{
    return verifier ? std::optional(verifier->manifest()) : std::nullopt;
}

} // namespace zel::cli
