#include "share/ShareCompanions.h"

#include <QDir>
#include <QFileInfo>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

using FileType = ExtendableEnum<FileTypes::FileTypeData>;

// Made while the library loads, as all types are.
const FileType companionedType( // clazy:exclude=non-pod-global-static
    QLatin1StringView("SHARE_WITH_COMPANION"), { { QStringLiteral("wiff") } });

} // namespace

ExtendableEnumRef<FileTypes::FileTypeData> ShareCompanions::fileType()
{
    return companionedType;
}

QList<QString> ShareCompanions::getAssociatedResources(const QString &path) const
{
    const QFileInfo info(path);
    const QString companion = info.fileName() + u".scan"_s;
    QList<QString> found;
    const QStringList names = info.dir().entryList(QDir::Files | QDir::Hidden, QDir::NoSort);
    for (const QString &name : names) {
        if (name.compare(companion, Qt::CaseInsensitive) == 0 && name.startsWith(info.fileName()))
            found << info.dir().filePath(name);
    }
    return found;
}

} // namespace zel
