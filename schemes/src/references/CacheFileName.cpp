#include "references/CacheFileName.h"

#include <QCryptographicHash>

namespace zel::CacheFileName {

namespace {

// A name may have 255 bytes; side files append theirs, the longest ".data.cache", and a reference
// to a file with a companion ".scan".
constexpr qsizetype mostNameBytes = 255 - 16;
constexpr qsizetype folderLetters = 32;

bool isUsable(QChar character)
{
    const QChar::Category category = character.category();
    return character != u'/' && character != u'\\' && category != QChar::Other_Control
        && category != QChar::Other_Format && category != QChar::Separator_Line
        && category != QChar::Separator_Paragraph;
}

/// Shortens the part before the extension by whole characters.
QString shortened(const QString &name)
{
    qsizetype dot = name.lastIndexOf(u'.');
    constexpr qsizetype mostExtensionBytes = 32;
    if (dot < 0 || name.mid(dot).toUtf8().size() > mostExtensionBytes)
        dot = name.size();
    QString stem = name.left(dot);
    const QString extension = name.mid(dot);
    while (stem.toUtf8().size() + extension.toUtf8().size() > mostNameBytes)
        stem.chop(stem.size() > 1 && stem.back().isLowSurrogate() ? 2 : 1);
    return stem + extension;
}

} // namespace

QString forResource(const QString &referenceKey, const QString &originalName)
{
    return folderFor(referenceKey) + u'/' + sanitised(originalName);
}

QString folderFor(const QString &referenceKey)
{
    const QByteArray hash
        = QCryptographicHash::hash(referenceKey.toUtf8(), QCryptographicHash::Sha256);
    return QString::fromLatin1(hash.toHex().left(folderLetters));
}

QString sanitised(const QString &originalName)
{
    QString name = originalName;
    for (QChar &character : name) {
        if (!isUsable(character))
            character = u'_';
    }
    if (name.startsWith(u'.'))
        name.front() = u'_';
    return name.isEmpty() ? QString(u'_') : shortened(name);
}

} // namespace zel::CacheFileName
