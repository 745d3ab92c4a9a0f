#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace zel::cli {

/// A line of a report for people.
struct Labeled
{
    QString label; ///< without the colon
    QString value;
};

/// "Label:  value" for each, all values below each other: as far to the right as the widest label
/// demands, and at the same column in all reports whose labels are short.
QStringList labeledLines(const QList<Labeled> &entries);

} // namespace zel::cli
