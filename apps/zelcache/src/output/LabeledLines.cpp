#include "output/LabeledLines.h"

#include <algorithm>

namespace zel::cli {

QStringList labeledLines(const QList<Labeled> &entries)
{
    qsizetype columns = 14; // one more than the widest label in English
    for (const Labeled &entry : entries)
        columns = std::max(columns, entry.label.size() + 2);
    QStringList lines;
    for (const Labeled &entry : entries)
        lines.append((entry.label + u':').leftJustified(columns) + entry.value);
    return lines;
}

} // namespace zel::cli
