#include "reports/FormatReport.h"

#include "DataFormats.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <limits>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::FormatReport)
};

/// Absolute, since "." has no name that could tell a format, and since Qt takes a leading colon for
/// something of its own; without the slash that the shell puts behind a folder.
QString placeOf(const QString &path)
{
    if (path.isEmpty() || path.startsWith(u'/'))
        return QDir::cleanPath(path);
    return QDir::cleanPath(QDir::currentPath() + u'/' + path);
}

QString kindText(const DataFormats::Format &format)
{
    if (format.isFile && format.isFolder)
        return Texts::tr("file or folder");
    if (format.isFile)
        return Texts::tr("file");
    return format.isFolder ? Texts::tr("folder") : u"-"_s;
}

QString findingText(const FormatFinding &finding)
{
    if (finding.formats.isEmpty())
        return u"unknown"_s;
    const QString names = finding.formats.join(u',');
    return finding.byNameOnly ? names + u" (by name)"_s : names;
}

/// Each row as one line, all columns but the last as wide as their widest text,
/// though not wider than `atMost`: a longer text takes the room that it needs, in its line alone.
template<std::size_t Columns>
QStringList aligned(const QList<std::array<QString, Columns>> &rows,
                    qsizetype atMost = std::numeric_limits<qsizetype>::max())
{
    std::array<qsizetype, Columns> widths {};
    for (const auto &row : rows) {
        for (std::size_t column = 0; column + 1 < Columns; ++column)
            widths[column] = std::max(widths[column], std::min(row[column].size(), atMost));
    }
    QStringList lines;
    for (const auto &row : rows) {
        QStringList cells;
        for (std::size_t column = 0; column < Columns; ++column)
            cells.append(row[column].leftJustified(widths[column]));
        lines.append(cells.join(u"  "_s));
    }
    return lines;
}

} // namespace

FormatFinding formatFinding(const QString &path)
{
    FormatFinding finding;
    finding.path = path;
    const QString place = placeOf(path);
    finding.exists = !place.isEmpty() && QFileInfo::exists(place);
    finding.formats = DataFormats::detect(place);
    if (finding.formats.isEmpty()) {
        finding.formats = DataFormats::byName(place);
        finding.byNameOnly = !finding.formats.isEmpty();
    }
    return finding;
}

QStringList findingLines(const QList<FormatFinding> &findings, int columns)
{
    QList<std::array<QString, 2>> rows;
    for (const FormatFinding &finding : findings)
        rows.append({ findingText(finding), finding.path });
    return aligned(rows, columns / 2);
}

QJsonArray findingsJson(const QList<FormatFinding> &findings)
{
    QJsonArray results;
    for (const FormatFinding &finding : findings)
        results.append(QJsonObject { { u"path"_s, finding.path },
                                     { u"exists"_s, finding.exists },
                                     { u"formats"_s, QJsonArray::fromStringList(finding.formats) },
                                     { u"byNameOnly"_s, finding.byNameOnly } });
    return results;
}

QStringList formatLines()
{
    QList<std::array<QString, 4>> rows { { Texts::tr("NAME"), Texts::tr("KIND"),
                                           Texts::tr("EXTENSION"), Texts::tr("DESCRIPTION") } };
    for (const DataFormats::Format &format : DataFormats::all())
        rows.append({ format.name, kindText(format),
                      format.extension.isEmpty() ? u"-"_s : format.extension, format.description });
    return aligned(rows);
}

QJsonArray formatsJson()
{
    QJsonArray formats;
    for (const DataFormats::Format &format : DataFormats::all())
        formats.append(QJsonObject { { u"name"_s, format.name },
                                     { u"isFile"_s, format.isFile },
                                     { u"isFolder"_s, format.isFolder },
                                     { u"extension"_s, format.extension },
                                     { u"description"_s, format.description } });
    return formats;
}

} // namespace zel::cli
