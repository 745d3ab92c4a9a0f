#include "staging/StagingRecord.h"

#include "OwnFile.h"
#include "errors/Propagate.h"
#include "files/NativePath.h"
#include "platform/FileSync.h"
#include "platform/NativeFile.h"
#include "platform/VolumeMove.h"
#include "staging/StagingFolder.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qint64 mostBytes = 1024ll * 1024; // of the file
constexpr qint64 mostBytesOfATransfer = 1ll << 57; // a screen full of them can be added up

/// A text, since numbers of JSON are not exact beyond 2^53.
QJsonValue number(qint64 value)
{
    return QString::number(value);
}

qint64 number(const QJsonValue &value)
{
    return value.toString().toLongLong();
}

QJsonValue moment(const QDateTime &value)
{
    return value.toUTC().toString(Qt::ISODateWithMs);
}

QDateTime moment(const QJsonValue &value)
{
    return QDateTime::fromString(value.toString(), Qt::ISODateWithMs);
}

QByteArray toJson(const StagingRecord &record)
{
    QJsonObject object {
        { u"reference"_s, record.displayText },
        { u"key"_s, record.referenceKey },
        { u"validator"_s, record.validator },
        { u"pid"_s, number(record.process.pid) },
        { u"processStarted"_s, number(record.process.startTime) },
        { u"boot"_s, record.process.bootId },
        { u"bytes"_s, number(record.bytes) },
        { u"rate"_s, number(record.bytesPerSecond) },
        { u"durable"_s, number(record.durableBytes) },
        { u"started"_s, moment(record.started) },
        { u"updated"_s, moment(record.updated) },
    };
    if (record.totalBytes)
        object.insert(u"total"_s, number(*record.totalBytes));
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

/// Whether the numbers can be those of a transfer: whoever adds them up or divides by them relies
/// on it.
bool isPlausible(const StagingRecord &record)
{
    return record.bytes >= 0 && record.bytes <= mostBytesOfATransfer && record.bytesPerSecond >= 0
        && record.durableBytes >= 0 && record.totalBytes.value_or(0) >= 0
        && record.totalBytes.value_or(0) <= mostBytesOfATransfer;
}

std::optional<StagingRecord> fromJson(const QJsonObject &object)
{
    StagingRecord record;
    record.displayText = object.value(u"reference"_s).toString();
    record.referenceKey = object.value(u"key"_s).toString();
    record.validator = object.value(u"validator"_s).toString();
    record.process = { number(object.value(u"pid"_s)), number(object.value(u"processStarted"_s)),
                       object.value(u"boot"_s).toString() };
    record.bytes = number(object.value(u"bytes"_s));
    if (object.contains(u"total"_s))
        record.totalBytes = number(object.value(u"total"_s));
    record.bytesPerSecond = number(object.value(u"rate"_s));
    record.durableBytes = number(object.value(u"durable"_s));
    record.started = moment(object.value(u"started"_s));
    record.updated = moment(object.value(u"updated"_s));
    const bool isRecord = object.contains(u"key"_s) && isPlausible(record);
    return isRecord ? std::optional(record) : std::nullopt;
}

} // namespace

QList<StagingRecord> StagingRecord::readAll(const QString &cacheDataDirectory)
{
    QList<StagingRecord> records;
    const QStringList folders
        = StagingFolder::all(StagingFolder::stagingDirectoryFor(cacheDataDirectory));
    for (const QString &folder : folders) {
        // One that is being made or removed has none, which is no fault.
        if (const auto record = read(StagingFolder::recordPath(folder)); record.hasValue())
            records << record.value();
    }
    std::stable_sort(records.begin(), records.end(), [](const auto &left, const auto &right) {
        return left.updated > right.updated;
    });
    return records;
}

Result<StagingRecord> StagingRecord::read(const QString &path)
{
    ZEL_TRY_LET(const QByteArray content, OwnFile::read(path, mostBytes));
    const QJsonDocument document = QJsonDocument::fromJson(content);
    const auto record = document.isObject() ? fromJson(document.object()) : std::nullopt;
    if (!record) {
        return ZEL_ERROR(ErrorCode::BadData,
                         tr("\"%1\" is not the record of a transfer.").arg(path));
    }
    return *record;
}

Error StagingRecord::write(const QString &path) const
{
    const QByteArray content = toJson(*this);
    const std::filesystem::path target = nativePath(path);
    const std::filesystem::path fresh = nativePath(path + u".new"_s);

    Error error;
    ZEL_TRY_LET(NativeFile file, NativeFile::open(fresh, NativeFile::Mode::ReadWrite));
    ZEL_TRY(error, file.truncate(0));
    ZEL_TRY(error, file.writeAt(0, content.constData(), content.size()));
    ZEL_TRY_LET(const bool isMoved, VolumeMove::move(fresh, target));
    return isMoved ? error
                   : ZEL_ERROR(ErrorCode::OperationFailed, tr("Writing \"%1\" failed.").arg(path));
}

Error StagingRecord::writeDurably(const QString &path) const
{
    return ZEL_PASS(FileSync::replaceContent(path, toJson(*this)));
}

} // namespace zel
