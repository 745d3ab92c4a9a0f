#include "list/AutoindexPage.h"

#include "errors/Propagate.h"
#include "folder/RemoteListing.h"
#include "http/HttpRepresentation.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

namespace zel {

using namespace Qt::Literals::StringLiterals;

namespace {

using Entry = AutoindexPage::Entry;

/// The same form as that of the headers of answers.
QDateTime moment(const QString &text)
{
    HttpRepresentation state;
    state.lastModified = text.toLatin1();
    return state.modified();
}

/// Five of an honest page are one entry.
constexpr qsizetype mostValues = 10 * RemoteListing::mostEntries;

/// Each value takes a hundred times as much memory as text: it is found out before they are read.
bool hasTooManyValues(const QByteArray &json)
{
    qsizetype values = 0;
    bool isText = false;
    for (qsizetype i = 0; i < json.size() && values <= mostValues; ++i) {
        const char c = json.at(i);
        if (isText && c == '\\')
            ++i;
        else if (c == '"')
            isText = !isText;
        else if (!isText && (c == ',' || c == '[' || c == '{'))
            ++values;
    }
    return values > mostValues;
}

/// Nothing for a size that is none.
std::optional<Entry> entryOf(const QJsonObject &object, bool isFolder)
{
    Entry entry;
    entry.name = object.value(u"name"_s).toString();
    entry.isFolder = isFolder;
    entry.modified = moment(object.value(u"mtime"_s).toString());
    if (const QJsonValue size = object.value(u"size"_s); !isFolder && !size.isUndefined()) {
        entry.size = size.toInteger(-1);
        if (*entry.size < 0)
            return std::nullopt;
    }
    // A path would get around the folder that the page is about.
    return entry.name.contains(u'/') ? std::nullopt : std::optional(entry);
}

/// Nothing if one of them is none.
std::optional<QList<Entry>> entriesOf(const QJsonArray &array)
{
    QList<Entry> entries;
    QSet<QString> folders;
    for (const auto &value : array) {
        const QString type = value.toObject().value(u"type"_s).toString();
        const bool isFolder = type == u"directory"_s;
        if (!isFolder && type == u"other"_s)
            continue;
        const auto entry
            = isFolder || type == u"file"_s ? entryOf(value.toObject(), isFolder) : std::nullopt;
        // Each folder is asked about: listed twice on every page they have no end.
        if (!entry || (isFolder && folders.contains(entry->name)))
            return std::nullopt;
        if (isFolder)
            folders.insert(entry->name);
        entries << *entry;
    }
    return entries;
}

} // namespace

Result<QList<Entry>> AutoindexPage::parse(const QByteArray &json)
{
    if (hasTooManyValues(json)) {
        return ZEL_ERROR(ErrorCode::BadData, tr("The server's listing of the folder is too long."));
    }
    const QJsonDocument document = QJsonDocument::fromJson(json);
    if (!document.isArray()) {
        return ZEL_ERROR(ErrorCode::BadData,
                         tr("The server does not list the folder in JSON (\"autoindex_format "
                            "json\")."));
    }
    const auto entries = entriesOf(document.array());
    if (!entries) {
        return ZEL_ERROR(ErrorCode::BadData,
                         tr("The server's listing of the folder makes no sense."));
    }
    return *entries;
}

} // namespace zel
