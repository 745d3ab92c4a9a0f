#include "integrity/ContentManifest.h"

#include "errors/Propagate.h"
#include "integrity/ContentSum.h"
#include "integrity/ManifestText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QtNumeric>

#include <algorithm>
#include <array>
#include <limits>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype sumDigits = 32;

/// A text, since numbers of JSON are not exact beyond 2^53.
QJsonValue number(qint64 value)
{
    return QString::number(value);
}

/// Empty for what is no number.
std::optional<qint64> number(const QByteArray &text)
{
    bool isGood = false;
    const qint64 found = text.toLongLong(&isGood);
    return isGood ? std::optional(found) : std::nullopt;
}

std::optional<qint64> count(const QByteArray &text)
{
    const auto found = number(text);
    return found && *found >= 0 ? found : std::nullopt;
}

std::optional<qint64> count(const QJsonValue &value)
{
    return count(value.toString().toLatin1());
}

void insertMoment(QJsonObject &object, const QString &name, const QDateTime &value)
{
    if (value.isValid())
        object.insert(name, value.toUTC().toString(Qt::ISODateWithMs));
}

/// Of the very form that insertMoment() writes; invalid for any other.
QDateTime writtenMoment(QStringView text)
{
    constexpr QStringView form = u"0000-00-00T00:00:00.000Z";
    if (text.size() != form.size())
        return {};
    std::array<int, 7> numbers {};
    std::size_t number = 0;
    for (qsizetype i = 0; i < form.size(); ++i) {
        const char16_t letter = text.at(i).unicode();
        const bool isDigit = letter >= u'0' && letter <= u'9';
        if (form.at(i) == u'0' ? !isDigit : text.at(i) != form.at(i))
            return {};
        if (isDigit)
            numbers.at(number) = numbers.at(number) * 10 + (letter - u'0');
        else
            ++number;
    }
    const auto [year, month, day, hour, minute, second, millisecond] = numbers;
    const QTime time(hour, minute, second, millisecond);
    // Of a time that there is not Qt would make midnight.
    return time.isValid() ? QDateTime(QDate(year, month, day), time, Qt::UTC) : QDateTime();
}

QDateTime moment(const QString &text)
{
    if (text.isEmpty())
        return {};
    // Qt reads all forms, but each time looks for the zone that this machine is in.
    const QDateTime written = writtenMoment(text);
    return written.isValid() ? written : QDateTime::fromString(text, Qt::ISODateWithMs);
}

QDateTime moment(const QJsonValue &value)
{
    return moment(value.toString());
}

QDateTime moment(const QByteArray &text)
{
    return moment(QString::fromLatin1(text));
}

/// Bytes that need not be text, in letters that every program reads alike.
QString encoded(const QByteArray &name)
{
    return QString::fromLatin1(name.toPercentEncoding("/ "));
}

QByteArray decoded(const QJsonValue &value)
{
    return QByteArray::fromPercentEncoding(value.toString().toLatin1());
}

bool staysBelow(const QByteArray &path)
{
    const QList<QByteArray> levels = path.split('/');
    return !path.contains('\0')
        && std::none_of(levels.begin(), levels.end(), [](const QByteArray &level) {
               return level.isEmpty() || level == "." || level == "..";
           });
}

bool isSum(const QByteArray &sum)
{
    const auto isDigit = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
    };
    return sum.isEmpty()
        || (sum.size() == sumDigits && std::all_of(sum.begin(), sum.end(), isDigit));
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

/// The same as read from a manifest's text, for all else that JSON allows.
ManifestText::File textOf(const QJsonObject &object)
{
    const auto text = [&object](const QString &name) {
        return object.value(name).toString().toLatin1();
    };
    ManifestText::File file;
    file.path = text(u"path"_s);
    file.size = text(u"size"_s);
    file.modified = text(u"modified"_s);
    if (object.contains(u"link"_s))
        file.link = text(u"link"_s);
    const QJsonArray sums = object.value(u"xxh3"_s).toArray();
    for (const auto &sum : sums)
        file.sums.append(sum.toString().toLatin1());
    file.verified = text(u"verified"_s);
    file.changed = text(u"changed"_s);
    file.checkedBlocks = text(u"checkedBlocks"_s);
    file.isSummedLater = object.value(u"summedLater"_s).toBool();
    file.isChecked = object.value(u"checked"_s).toBool();
    return file;
}

QList<ManifestText::File> textsOf(const QJsonArray &array)
{
    QList<ManifestText::File> files;
    for (const auto &value : array)
        files.append(textOf(value.toObject()));
    return files;
}

/// Empty if it makes no sense.
std::optional<ContentManifest::File> fileOf(const ManifestText::File &text, qint64 blockBytes)
{
    const auto size = count(text.size);
    const auto modified = number(text.modified);
    ContentManifest::File file;
    file.path = QByteArray::fromPercentEncoding(text.path);
    if (!size || !modified || !staysBelow(file.path))
        return std::nullopt;
    file.size = *size;
    file.modified = *modified;
    if (text.link) {
        file.linkTarget = QByteArray::fromPercentEncoding(*text.link);
        return file;
    }
    file.sums = text.sums;
    file.isSummedLater = text.isSummedLater;
    file.verified = moment(text.verified);
    file.foundChanged = moment(text.changed);
    file.isChecked = text.isChecked;
    file.checkedBlocks = count(text.checkedBlocks).value_or(0);
    const bool isGood = file.sums.size() == BlockSums::blockCount(file.size, blockBytes)
        && file.checkedBlocks <= file.sums.size()
        && std::all_of(file.sums.begin(), file.sums.end(), isSum);
    return isGood ? std::optional(file) : std::nullopt;
}

Error badManifest()
{
    return ZEL_ERROR(ErrorCode::BadData, ContentManifest::tr("This is no manifest of a resource."));
}

/// All but the files.
ContentManifest headOf(const QJsonObject &object)
{
    ContentManifest manifest;
    manifest.id = object.value(u"id"_s).toString();
    manifest.referenceKey = object.value(u"key"_s).toString();
    manifest.name = decoded(object.value(u"name"_s));
    manifest.scheme = object.value(u"scheme"_s).toString();
    manifest.host = object.value(u"host"_s).toString();
    manifest.fetched = moment(object.value(u"fetched"_s));
    manifest.fetchedBytes = count(object.value(u"bytes"_s)).value_or(0);
    manifest.fetchMilliseconds = count(object.value(u"milliseconds"_s)).value_or(0);
    manifest.folderMade = moment(object.value(u"folderMade"_s));
    manifest.blockBytes = count(object.value(u"blockBytes"_s)).value_or(0);
    manifest.verified = moment(object.value(u"verified"_s));
    return manifest;
}

bool makesSense(const ContentManifest &manifest)
{
    return !manifest.id.isEmpty() && !manifest.referenceKey.isEmpty() && staysBelow(manifest.name)
        && !manifest.name.contains('/') && manifest.blockBytes > 0 && manifest.fetched.isValid();
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

Result<ContentManifest> ContentManifest::fromJson(const QByteArray &json)
{
    const auto text = ManifestText::takenApart(json);
    const QJsonObject object = QJsonDocument::fromJson(text ? text->head : json).object();
    ContentManifest manifest = headOf(object);
    if (object.value(u"format"_s).toInt() != formatVersion || !makesSense(manifest))
        return ZEL_PASS(badManifest());
    QSet<QByteArray> paths;
    qint64 total = 0;
    const auto list = text ? text->files : textsOf(object.value(u"files"_s).toArray());
    manifest.files.reserve(list.size());
    for (const ManifestText::File &one : list) {
        auto file = fileOf(one, manifest.blockBytes);
        if (!file || paths.contains(file->path) || qAddOverflow(total, file->size, &total))
            return ZEL_PASS(badManifest());
        paths.insert(file->path);
        manifest.files.append(std::move(*file));
    }
    if (manifest.files.isEmpty() && !object.contains(u"files"_s))
        return ZEL_PASS(badManifest());
    return manifest;
}

} // namespace zel
