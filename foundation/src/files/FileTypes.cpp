#include "files/FileTypes.h"

#include <QDir>

namespace zel {

template class ExtendableEnum<FileTypes::FileTypeData>;

bool FileTypes::isType(const QString &path, ExtendableEnumRef<FileTypeData> type)
{
    const QString cleaned = QDir::cleanPath(QDir::fromNativeSeparators(path));
    const QStringView name = QStringView(cleaned).sliced(cleaned.lastIndexOf(u'/') + 1);
    const QStringList &extensions = type.data().extensions;
    return std::any_of(extensions.begin(), extensions.end(), [name](const QString &extension) {
        const qsizetype dot = name.size() - extension.size() - 1;
        return !extension.isEmpty() && dot >= 0 && name.at(dot) == u'.'
            && name.endsWith(extension, Qt::CaseInsensitive);
    });
}

} // namespace zel
