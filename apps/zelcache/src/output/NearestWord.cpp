#include "output/NearestWord.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace zel::cli {

namespace {

/// How many letters have to come, go or change. Row by row of the table of all beginnings, of which
/// one row is kept.
qsizetype distance(const QString &from, const QString &to)
{
    QList<qsizetype> row(to.size() + 1);
    std::iota(row.begin(), row.end(), 0);
    for (qsizetype i = 0; i < from.size(); ++i) {
        qsizetype diagonal = std::exchange(row[0], i + 1);
        for (qsizetype j = 0; j < to.size(); ++j) {
            const qsizetype changed = diagonal + (from.at(i) == to.at(j) ? 0 : 1);
            diagonal = row.at(j + 1);
            row[j + 1] = std::min({ changed, diagonal + 1, row.at(j) + 1 });
        }
    }
    return row.constLast();
}

} // namespace

QString nearestWord(const QString &written, const QStringList &words)
{
    constexpr qsizetype longest = 40; // nobody mistypes that much
    const QString meant = written.toLower().left(longest);
    QString nearest;
    qsizetype best = std::max<qsizetype>(meant.size() / 2, 1) + 1;
    for (const QString &word : words) {
        // Who has written the beginning of a word means it.
        const qsizetype found
            = !meant.isEmpty() && word.startsWith(meant) ? 0 : distance(meant, word.toLower());
        if (found < best) {
            best = found;
            nearest = word;
        }
    }
    return nearest;
}

} // namespace zel::cli
