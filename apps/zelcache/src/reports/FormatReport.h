#pragma once

#include <QJsonArray>
#include <QStringList>

namespace zel::cli {

/// What data format one path has.
struct FormatFinding
{
    QString path; ///< as given
    bool exists = false;
    QStringList formats; ///< empty if none is recognised
    bool byNameOnly = false; ///< the data does not show what the name says
};

/// Looks at the disk. Takes any text for a path.
FormatFinding formatFinding(const QString &path);

/// The findings for people, a line for each on a terminal of so many columns, and for programs.
QStringList findingLines(const QList<FormatFinding> &findings, int columns);
QJsonArray findingsJson(const QList<FormatFinding> &findings);

/// All formats for people, below a line of titles, and for programs.
QStringList formatLines();
QJsonArray formatsJson();

} // namespace zel::cli
