#include "doctor/AsideName.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

namespace zel::cli::AsideName {

namespace {

constexpr auto prefix = ".unclaimed-";
constexpr qsizetype idLetters = 32;
constexpr qsizetype mostBytes = 255; // of one name

qsizetype lengthBeforeName()
{
    return qsizetype(qstrlen(prefix)) + idLetters + 1;
}

} // namespace

QString pathFor(const QString &path)
{
    const QFileInfo info(path);
    QByteArray name = prefix + QUuid::createUuid().toByteArray(QUuid::Id128);
    const QByteArray former = QFile::encodeName(info.fileName());
    if (lengthBeforeName() + former.size() <= mostBytes)
        name += '-' + former;
    return info.path() + u'/' + QFile::decodeName(name);
}

bool isOne(const QByteArray &name)
{
    return name.startsWith(prefix);
}

QByteArray formerName(const QByteArray &name)
{
    return isOne(name) ? name.mid(lengthBeforeName()) : QByteArray();
}

QString formerPath(const QString &path)
{
    const QFileInfo info(path);
    const QByteArray name = formerName(QFile::encodeName(info.fileName()));
    return name.isEmpty() ? QString() : info.path() + u'/' + QFile::decodeName(name);
}

} // namespace zel::cli::AsideName
