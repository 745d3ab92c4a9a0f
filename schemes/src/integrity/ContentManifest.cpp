#include "integrity/ContentManifest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtNumeric>

#include <algorithm>
#include <limits>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

/// A text, since numbers of JSON are not exact beyond 2^53.
QJsonValue number(qint64 value)
{
    return QString::number(value);
}

void insertMoment(QJsonObject &object, const QString &name, const QDateTime &value)
{
    if (value.isValid())
        object.insert(name, value.toUTC().toString(Qt::ISODateWithMs));
}

/// Bytes that need not be text, in letters that every program reads alike.
QString encoded(const QByteArray &name)
{
    return QString::fromLatin1(name.toPercentEncoding("/ "));
}

QJsonObject toObject(const ContentManifest::File &file)
{
    QJsonObject object { { u"path"_s, encoded(file.path) },
                         { u"size"_s, number(file.size) },
                         { u"modified"_s, number(file.modified) } };
    if (file.linkTarget) {
        object.insert(u"link"_s, encoded(*file.linkTarget));
        return object;
    }
    QJsonArray sums;
    for (const QByteArray &sum : file.sums)
        sums.append(QString::fromLatin1(sum));
    object.insert(u"xxh3"_s, sums);
    if (file.isSummedLater)
        object.insert(u"summedLater"_s, true);
    insertMoment(object, u"verified"_s, file.verified);
    insertMoment(object, u"changed"_s, file.foundChanged);
    if (file.isChecked)
        object.insert(u"checked"_s, true);
    if (file.checkedBlocks > 0)
        object.insert(u"checkedBlocks"_s, number(file.checkedBlocks));
    return object;
}

} // namespace

bool ContentManifest::File::hasAllSums() const
{
    return std::none_of(sums.begin(), sums.end(),
                        [](const QByteArray &sum) { return sum.isEmpty(); });
}

qint64 ContentManifest::bytesPerSecond() const
{
    // In floating point: the product may not fit. Nor may the quotient, of numbers that somebody
    // else has written.
    constexpr double most = 1e18;
    return fetchMilliseconds > 0
        ? qint64(std::min(double(fetchedBytes) * 1000 / double(fetchMilliseconds), most))
        : 0;
}

qint64 ContentManifest::totalBytes() const
{
    qint64 total = 0;
    for (const File &file : files) {
        // The sizes are what a file says, and need not be true.
        if (qAddOverflow(total, file.size, &total))
            return std::numeric_limits<qint64>::max();
    }
    return total;
}

bool ContentManifest::hasAllSums() const
{
    return std::all_of(files.begin(), files.end(),
                       [](const File &file) { return file.hasAllSums(); });
}

bool ContentManifest::isCutShort() const
{
    return std::any_of(files.begin(), files.end(),
                       [](const File &file) { return file.isChecked || file.checkedBlocks > 0; });
}

QByteArray ContentManifest::toJson() const
{
    QJsonObject object { { u"format"_s, formatVersion },
                         { u"id"_s, id },
                         { u"key"_s, referenceKey },
                         { u"name"_s, encoded(name) },
                         { u"scheme"_s, scheme },
                         { u"host"_s, host },
                         { u"bytes"_s, number(fetchedBytes) },
                         { u"milliseconds"_s, number(fetchMilliseconds) },
                         { u"rate"_s, number(bytesPerSecond()) },
                         { u"blockBytes"_s, number(blockBytes) } };
    insertMoment(object, u"fetched"_s, fetched);
    insertMoment(object, u"folderMade"_s, folderMade);
    insertMoment(object, u"verified"_s, verified);
    QJsonArray list;
    for (const File &file : files)
        list.append(toObject(file));
    object.insert(u"files"_s, list);
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}

} // namespace zel
