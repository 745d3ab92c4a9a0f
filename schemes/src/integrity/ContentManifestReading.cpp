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
#include <charconv>
#include <deque>

/// How manifests are read; how they are written stands in ContentManifest.cpp.
///
/// There are two readers, and one set of rules that judges what either has found. A cache has a
/// manifest for each resource, and all of them in the form of toJson(): ManifestText takes that
/// apart several times as fast as JSON in general can be read, which took longer than to look at
/// all files that the manifests tell of. QJsonDocument reads whatever else JSON allows, so that no
/// manifest depends on its form. A list of files in the usual form may come with a head in another
/// one: then each has the reader that understands it (fromText() below).
namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype sumDigits = 32;

/// Empty for what is no number.
std::optional<qint64> number(QByteArrayView text)
{
    qint64 value = 0;
    const auto [end, failure] = std::from_chars(text.begin(), text.end(), value);
    if (failure == std::errc() && end == text.end())
        return value;
    // Qt reads some more forms, and slowly.
    bool isGood = false;
    value = text.toLongLong(&isGood);
    return isGood ? std::optional(value) : std::nullopt;
}

std::optional<qint64> count(QByteArrayView text)
{
    const auto found = number(text);
    return found && *found >= 0 ? found : std::nullopt;
}

/// Of the very form that toJson() writes; invalid for any other.
QDateTime writtenMoment(QByteArrayView text)
{
    constexpr QByteArrayView form = "0000-00-00T00:00:00.000Z";
    if (text.size() != form.size())
        return {};
    std::array<int, 7> numbers {};
    std::size_t number = 0;
    for (qsizetype i = 0; i < form.size(); ++i) {
        const char letter = text.at(i);
        const bool isDigit = letter >= '0' && letter <= '9';
        if (form.at(i) == '0' ? !isDigit : letter != form.at(i))
            return {};
        if (isDigit)
            numbers.at(number) = numbers.at(number) * 10 + (letter - '0');
        else
            ++number;
    }
    const auto [year, month, day, hour, minute, second, millisecond] = numbers;
    const QTime time(hour, minute, second, millisecond);
    // Of a time that there is not Qt would make midnight.
    return time.isValid() ? QDateTime(QDate(year, month, day), time, Qt::UTC) : QDateTime();
}

QDateTime moment(QByteArrayView text)
{
    if (text.isEmpty())
        return {};
    // Qt reads all forms, but each time looks for the zone that this machine is in.
    const QDateTime written = writtenMoment(text);
    return written.isValid() ? written
                             : QDateTime::fromString(QString::fromLatin1(text), Qt::ISODateWithMs);
}

QByteArray decoded(QByteArrayView text)
{
    const QByteArray name = text.toByteArray();
    return name.contains('%') ? QByteArray::fromPercentEncoding(name) : name;
}

bool isName(QByteArrayView level)
{
    return !level.isEmpty() && level != "." && level != ".." && !level.contains('\0');
}

bool staysBelow(QByteArrayView path)
{
    for (qsizetype slash = path.indexOf('/'); slash >= 0; slash = path.indexOf('/')) {
        if (!isName(path.first(slash)))
            return false;
        path = path.sliced(slash + 1);
    }
    return isName(path);
}

bool isSum(const QByteArray &sum)
{
    const auto isDigit = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
    };
    return sum.isEmpty()
        || (sum.size() == sumDigits && std::all_of(sum.begin(), sum.end(), isDigit));
}

/// Texts out of JSON, which live as long as this.
class KeptTexts
{
public:
    QByteArrayView of(const QJsonObject &object, const QString &name)
    {
        return texts.emplace_back(object.value(name).toString().toLatin1());
    }

private:
    std::deque<QByteArray> texts;
};

/// The same as read from a manifest's text, for all else that JSON allows.
ManifestText::File textOf(const QJsonObject &object, KeptTexts &kept)
{
    ManifestText::File file;
    file.path = kept.of(object, u"path"_s);
    file.size = kept.of(object, u"size"_s);
    file.modified = kept.of(object, u"modified"_s);
    if (object.contains(u"link"_s))
        file.link = kept.of(object, u"link"_s);
    const QJsonArray sums = object.value(u"xxh3"_s).toArray();
    for (const auto &sum : sums)
        file.sums.append(sum.toString().toLatin1());
    file.verified = kept.of(object, u"verified"_s);
    file.changed = kept.of(object, u"changed"_s);
    file.checkedBlocks = kept.of(object, u"checkedBlocks"_s);
    file.isSummedLater = object.value(u"summedLater"_s).toBool();
    file.isChecked = object.value(u"checked"_s).toBool();
    return file;
}

QList<ManifestText::File> textsOf(const QJsonArray &array, KeptTexts &kept)
{
    QList<ManifestText::File> files;
    for (const auto &value : array)
        files.append(textOf(value.toObject(), kept));
    return files;
}

/// Empty if it makes no sense.
std::optional<ContentManifest::File> fileOf(const ManifestText::File &text, qint64 blockBytes)
{
    const auto size = count(text.size);
    const auto modified = number(text.modified);
    ContentManifest::File file;
    file.path = decoded(text.path);
    if (!size || !modified || !staysBelow(file.path))
        return std::nullopt;
    file.size = *size;
    file.modified = *modified;
    if (text.link) {
        file.linkTarget = decoded(*text.link);
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

/// The members of a head, out of its text.
class TextHead
{
public:
    explicit TextHead(const ManifestText::Members &members)
        : members(members)
    {
    }

    int format() const { return int(number(valueOf("format", true)).value_or(0)); }
    QString text(QByteArrayView name) const { return QString::fromLatin1(bytes(name)); }
    QByteArrayView bytes(QByteArrayView name) const { return valueOf(name, false); }

private:
    QByteArrayView valueOf(QByteArrayView name, bool isNumber) const
    {
        for (const ManifestText::Member &member : members) {
            if (member.name == name)
                return member.isNumber == isNumber ? member.value : QByteArrayView();
        }
        return {};
    }

    const ManifestText::Members &members;
};

/// The same, out of JSON in general.
class JsonHead
{
public:
    explicit JsonHead(const QJsonObject &object)
        : object(object)
    {
    }

    int format() const { return object.value("format"_L1).toInt(); }
    QString text(QLatin1StringView name) const { return object.value(name).toString(); }
    QByteArray bytes(QLatin1StringView name) const { return text(name).toLatin1(); }

private:
    const QJsonObject &object;
};

/// All but the files.
template<typename Head>
ContentManifest headOf(const Head &head)
{
    ContentManifest manifest;
    manifest.id = head.text("id"_L1);
    manifest.referenceKey = head.text("key"_L1);
    manifest.name = decoded(head.bytes("name"_L1));
    manifest.scheme = head.text("scheme"_L1);
    manifest.host = head.text("host"_L1);
    manifest.fetched = moment(head.bytes("fetched"_L1));
    manifest.fetchedBytes = count(head.bytes("bytes"_L1)).value_or(0);
    manifest.fetchMilliseconds = count(head.bytes("milliseconds"_L1)).value_or(0);
    manifest.folderMade = moment(head.bytes("folderMade"_L1));
    manifest.blockBytes = count(head.bytes("blockBytes"_L1)).value_or(0);
    manifest.verified = moment(head.bytes("verified"_L1));
    return manifest;
}

bool makesSense(const ContentManifest &manifest)
{
    return !manifest.id.isEmpty() && !manifest.referenceKey.isEmpty() && staysBelow(manifest.name)
        && !manifest.name.contains('/') && manifest.blockBytes > 0 && manifest.fetched.isValid();
}

/// Empty if it is of another version or makes no sense.
template<typename Head>
std::optional<ContentManifest> goodHeadOf(const Head &head)
{
    if (head.format() != ContentManifest::formatVersion)
        return std::nullopt;
    ContentManifest manifest = headOf(head);
    return makesSense(manifest) ? std::optional(std::move(manifest)) : std::nullopt;
}

/// The order in which a walk comes by: that of the names, folder by folder.
bool comesBefore(QByteArrayView left, QByteArrayView right)
{
    const auto rank = [](char letter) {
        return letter == '/' ? 0 : int(static_cast<unsigned char>(letter)) + 1;
    };
    const auto [inLeft, inRight]
        = std::mismatch(left.begin(), left.end(), right.begin(), right.end());
    if (inLeft == left.end() || inRight == right.end())
        return inRight != right.end();
    return rank(*inLeft) < rank(*inRight);
}

/// Tells whether a path is one of those before. They come in their order as a rule, so that there
/// is nothing to be remembered.
class SeenPaths
{
public:
    bool contain(const QByteArray &path, const QList<ContentManifest::File> &before)
    {
        if (paths.isEmpty() && (before.isEmpty() || comesBefore(before.constLast().path, path)))
            return false;
        if (paths.isEmpty()) {
            for (const ContentManifest::File &file : before)
                paths.insert(file.path);
        }
        const qsizetype count = paths.size();
        paths.insert(path);
        return paths.size() == count;
    }

private:
    QSet<QByteArray> paths;
};

/// Empty if one of the files makes no sense, or all of them together.
std::optional<ContentManifest> withFiles(std::optional<ContentManifest> manifest,
                                         const QList<ManifestText::File> &texts)
{
    if (!manifest)
        return std::nullopt;
    SeenPaths seen;
    qint64 total = 0;
    manifest->files.reserve(texts.size());
    for (const ManifestText::File &text : texts) {
        auto file = fileOf(text, manifest->blockBytes);
        if (!file || seen.contain(file->path, manifest->files)
            || qAddOverflow(total, file->size, &total))
            return std::nullopt;
        manifest->files.append(std::move(*file));
    }
    return manifest;
}

/// Of what is not written as toJson() writes it.
std::optional<ContentManifest> fromObject(const QJsonObject &object)
{
    KeptTexts kept;
    const QJsonValue list = object.value(u"files"_s);
    return list.isUndefined()
        ? std::nullopt
        : withFiles(goodHeadOf(JsonHead(object)), textsOf(list.toArray(), kept));
}

std::optional<ContentManifest> fromText(const ManifestText &text)
{
    if (const auto members = ManifestText::membersOf(text.head))
        return withFiles(goodHeadOf(TextHead(*members)), text.files);
    const QJsonObject object = QJsonDocument::fromJson(text.head).object();
    return withFiles(goodHeadOf(JsonHead(object)), text.files);
}

} // namespace

Result<ContentManifest> ContentManifest::fromJson(const QByteArray &json)
{
    const auto text = ManifestText::takenApart(json);
    auto manifest = text ? fromText(*text) : fromObject(QJsonDocument::fromJson(json).object());
    if (!manifest)
        return ZEL_PASS(badManifest());
    return std::move(*manifest);
}

} // namespace zel
