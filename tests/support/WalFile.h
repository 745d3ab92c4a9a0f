#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QtEndian>

namespace zel::test {

/// How many transactions stand in the journal beside the database file, whoever committed them:
/// those since a "PRAGMA wal_checkpoint(TRUNCATE)". So few that none of them began the journal
/// anew.
inline int commitsInJournal(const QString &databasePath)
{
    constexpr qsizetype headerSize = 32;
    constexpr qsizetype frameHeaderSize = 24;
    QFile file(databasePath + QStringLiteral("-wal"));
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray journal = file.readAll();
    const auto number = [&journal](qsizetype position) {
        return qFromBigEndian<quint32>(journal.constData() + position);
    };
    if (journal.size() < headerSize)
        return 0;

    int commits = 0;
    const qsizetype frameSize = frameHeaderSize + number(8);
    for (qsizetype frame = headerSize; frame + frameSize <= journal.size(); frame += frameSize) {
        // The last page of a transaction says how large the file is after it.
        if (number(frame + 4) != 0)
            ++commits;
    }
    return commits;
}

} // namespace zel::test
