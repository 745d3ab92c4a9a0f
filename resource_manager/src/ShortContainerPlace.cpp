#include "ShortContainerPlace.h"

#include <QCryptographicHash>

namespace zel::ShortContainerPlace {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype hashLength = 6;

QString shortHashFor(const QString &reference)
{
    const QByteArray digest
        = QCryptographicHash::hash(reference.toUtf8(), QCryptographicHash::Md5).toHex();
    return QString::fromLatin1(digest.first(hashLength));
}

} // namespace

QString folderIn(const QString &dataDirectory)
{
    return dataDirectory + u"/zacq"_s;
}

QString pathIn(const QString &dataDirectory, const QString &reference)
{
    return folderIn(dataDirectory) + u'/' + shortHashFor(reference) + u".zacq"_s;
}

} // namespace zel::ShortContainerPlace
