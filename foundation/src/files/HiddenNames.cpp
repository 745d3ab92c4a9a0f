#include "files/HiddenNames_p.h"

#include <QDir>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QUuid>

#include <algorithm>

namespace zel::HiddenNames {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr QLatin1StringView leftoverPrefix(".leftover-");
constexpr qsizetype leftoverDigits = 32; // of a UUID

constexpr QByteArrayView partialPrefix(".zel-");
constexpr QByteArrayView partialSuffix(".partial");

bool isHex(const QByteArray &text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
}

} // namespace

QString leftoverBeside(const QString &path)
{
    const QString name = leftoverPrefix + QUuid::createUuid().toString(QUuid::Id128);
    return QFileInfo(path).dir().absoluteFilePath(name);
}

QString leftoverPattern()
{
    return leftoverPrefix + u"[0-9a-f]"_s.repeated(leftoverDigits);
}

bool isLeftover(const QByteArray &name)
{
    return name.size() == leftoverPrefix.size() + leftoverDigits
        && name.startsWith(leftoverPrefix.data()) && isHex(name.last(leftoverDigits));
}

QByteArray partial()
{
    // 64 random bits never repeat in the life of a folder.
    const quint64 bits = QRandomGenerator::system()->generate64();
    return partialPrefix.toByteArray() + QByteArray::number(bits, 16) + partialSuffix.toByteArray();
}

bool isPartial(const QByteArray &name)
{
    const qsizetype digits = name.size() - partialPrefix.size() - partialSuffix.size();
    return digits > 0 && name.startsWith(partialPrefix) && name.endsWith(partialSuffix)
        && isHex(name.sliced(partialPrefix.size(), digits));
}

} // namespace zel::HiddenNames
