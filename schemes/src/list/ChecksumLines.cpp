#include "list/ChecksumLines.h"

#include "errors/Propagate.h"
#include "folder/RemoteListing.h"

#include <algorithm>
#include <optional>

namespace zel {

namespace {

constexpr qsizetype digits = 64;

using Line = ChecksumLines::Line;

bool isHexadecimal(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// Empty if these are not the digits of a checksum.
FileHash hashOf(const QByteArray &text)
{
    FileHash hash;
    if (text.size() == digits && std::all_of(text.begin(), text.end(), isHexadecimal))
        hash.digest = QByteArray::fromHex(text);
    return hash;
}

/// The line that begins there, without its end; the next one begins behind that.
QByteArray takeLine(const QByteArray &text, qsizetype &start)
{
    const qsizetype end = text.indexOf('\n', start);
    const QByteArray line = text.mid(start, end < 0 ? -1 : end - start);
    start = end < 0 ? text.size() : end + 1;
    return line.endsWith('\r') ? line.chopped(1) : line;
}

bool isBlank(char c)
{
    return c == ' ' || c == '\t';
}

QByteArray withoutBlanksInFront(const QByteArray &text)
{
    return text.mid(std::find_if_not(text.begin(), text.end(), isBlank) - text.begin());
}

/// Empty for a line that is passed over.
QByteArray meaningOf(const QByteArray &line)
{
    // A comment starts with the line, as for the program.
    return line.startsWith('#') ? QByteArray() : withoutBlanksInFront(line);
}

/// Empty for an escape that there is not.
std::optional<QByteArray> unescaped(const QByteArray &name)
{
    QByteArray plain;
    for (qsizetype i = 0; i < name.size(); ++i) {
        if (name.at(i) != '\\') {
            plain += name.at(i);
            continue;
        }
        const char next = ++i < name.size() ? name.at(i) : '\0';
        if (next != '\\' && next != 'n' && next != 'r')
            return std::nullopt;
        plain += next == 'n' ? '\n' : next == 'r' ? '\r' : '\\';
    }
    return plain;
}

std::optional<Line> lineOf(const QByteArray &name, bool isEscaped, const FileHash &hash)
{
    const QByteArray plain = (isEscaped ? unescaped(name) : name).value_or(QByteArray());
    qsizetype start = 0;
    while (plain.mid(start, 2) == "./")
        start += 2;
    const QByteArray path = plain.mid(start);
    if (path.isEmpty() || hash.isEmpty())
        return std::nullopt;
    return Line { QString::fromUtf8(path), hash };
}

/// "SHA256 (name) = digits", "SHA256(name)= digits"
std::optional<Line> taggedLine(const QByteArray &text, bool isEscaped)
{
    const QByteArray kind = "SHA256";
    const qsizetype open = kind.size() + (text.mid(kind.size(), 1) == " " ? 1 : 0);
    const qsizetype close = text.lastIndexOf(')');
    if (!text.startsWith(kind) || text.mid(open, 1) != "(" || close < open)
        return std::nullopt;
    const QByteArray equals = withoutBlanksInFront(text.mid(close + 1));
    if (!equals.startsWith('='))
        return std::nullopt;
    return lineOf(text.mid(open + 1, close - open - 1), isEscaped,
                  hashOf(withoutBlanksInFront(equals.mid(1))));
}

/// "digits  name", "digits *name", "digits name"; a tab will do for the first blank
std::optional<Line> plainLine(const QByteArray &text, bool isEscaped)
{
    if (text.size() <= digits || !isBlank(text.at(digits)))
        return std::nullopt;
    QByteArray name = text.mid(digits + 1);
    if (name.startsWith(' ') || name.startsWith('*'))
        name = name.mid(1);
    return lineOf(name, isEscaped, hashOf(text.left(digits)));
}

std::optional<Line> parseLine(const QByteArray &text)
{
    const bool isEscaped = text.startsWith('\\');
    const QByteArray rest = isEscaped ? text.mid(1) : text;
    const std::optional<Line> tagged = taggedLine(rest, isEscaped);
    return tagged ? tagged : plainLine(rest, isEscaped);
}

} // namespace

Result<QList<ChecksumLines::Line>> ChecksumLines::parse(const QByteArray &text)
{
    QList<Line> lines;
    int number = 0;
    for (qsizetype start = 0; start < text.size();) {
        ++number;
        const QByteArray line = meaningOf(takeLine(text, start));
        if (line.isEmpty())
            continue;
        const std::optional<Line> parsed = parseLine(line);
        if (!parsed) {
            return ZEL_ERROR(
                ErrorCode::BadData,
                tr("Line %1 of the list is none of a checksum and a name.").arg(number));
        }
        if (lines.size() == RemoteListing::mostEntries) {
            return ZEL_ERROR(ErrorCode::BadData,
                             tr("There are more than %1 checksums in the list.").arg(lines.size()));
        }
        lines << *parsed;
    }
    if (lines.isEmpty())
        return ZEL_ERROR(ErrorCode::BadData, tr("There are no checksums in the list."));
    return lines;
}

} // namespace zel
