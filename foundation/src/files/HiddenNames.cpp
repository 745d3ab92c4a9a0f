#include "files/HiddenNames.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QUuid>

namespace zel::HiddenNames {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QLatin1StringView leftoverPrefix(".leftover-");
constexpr qsizetype leftoverDigits = 32; // of a UUID

constexpr QByteArrayView partialPrefix(".zel-");
constexpr QByteArrayView partialSuffix(".partial");

} // namespace

QString leftoverBeside(const QString &path)
{
    const QString name = leftoverPrefix + QUuid::createUuid().toString(QUuid::Id128);
    return QFileInfo(path).dir().absoluteFilePath(name);
}

QString leftoverPattern()
{
    return leftoverPrefix + QString(leftoverDigits, u'?');
}

bool isLeftover(const QByteArray &name)
{
    return name.size() == leftoverPrefix.size() + leftoverDigits
        && name.startsWith(leftoverPrefix.data());
}

QByteArray partial()
{
    // 64 random bits never repeat in the life of a folder.
    const quint64 bits = QRandomGenerator::system()->generate64();
    return partialPrefix.toByteArray() + QByteArray::number(bits, 16) + partialSuffix.toByteArray();
}

bool isPartial(const QByteArray &name)
{
    return name.startsWith(partialPrefix) && name.endsWith(partialSuffix);
}

} // namespace zel::HiddenNames
