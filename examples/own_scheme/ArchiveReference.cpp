#include "ArchiveReference.h"

#include "errors/Propagate.h"
#include "references/ResourceReferenceUtils.h"

#include <QDir>

using namespace zel;
using namespace Qt::Literals::StringLiterals;

namespace archive {

namespace {

const auto prefix = u"archive:"_s;

/// Each run has one spelling only, because the spelling is the key of the run in the cache. So ".."
/// is refused: behind a link it leads elsewhere than the text says.
bool isUsable(const QString &path)
{
    return path.startsWith(u'/') && path.lastIndexOf(u'/') > 0
        && !path.split(u'/').contains(u".."_s);
}

} // namespace

Result<QSharedPointer<ResourceReference>> ArchiveReference::parse(const QString &text)
{
    // The library compares prefixes without regard to case, so this one may be in capitals.
    const QString path = QDir::cleanPath(text.mid(prefix.size()));
    if (!isUsable(text.mid(prefix.size())) || !isUsable(path)) {
        return ZEL_ERROR(ErrorCode::BadArgument,
                         u"Not the name of a run, archive:/FOLDER/ID: "_s
                             + ResourceReferenceUtils::printable(text));
    }
    const qsizetype slash = path.lastIndexOf(u'/');
    return QSharedPointer<ResourceReference>(
        new ArchiveReference(path.left(slash), path.mid(slash + 1)));
}

Result<QSharedPointer<ResourceReference>> ArchiveReference::inFolder(const QString &folder,
                                                                     const QString &id)
{
    return ZEL_PASS(ResourceReference::fromString(prefix + folder + u'/' + id));
}

ArchiveReference::ArchiveReference(const QString &folder, const QString &id)
    : ResourceReference(archiveScheme)
    , folder_(folder)
    , id_(id)
{
}

QString ArchiveReference::referenceText(bool forDisplay) const
{
    return forDisplay ? u"run %1 of %2"_s.arg(id_, folder_) : prefix + folder_ + u'/' + id_;
}

} // namespace archive
