#pragma once

#include <QHash>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <functional>

namespace zel::test {

/// What a cache promises to keep whatever befalls the programs that use it, looked at from outside:
/// by the database file and the files alone, as a program that knows both formats would.
///
/// Nobody may write to the cache meanwhile, unless only the rows are asked for. The look opens the
/// database as the next program would: what a dead program has left in the -wal counts, and is
/// recovered. It makes statements and looks at files in this process: let nothing fail meanwhile.
class CacheInvariants
{
public:
    /// What is no promise at every moment. Everything is asked for unless it is named to except().
    enum class Exception {
        RowsOfTheDead, ///< uses by clients that are gone stay until some program opens or closes
        WishWithoutTask, ///< ScheduledForAcquire without a task, after the clean-up for a client
        LostData, ///< Ready with nothing at the path; what is there is still compared
        OtherSizes, ///< sizes of rows that count more, or other, files than those at the path
        OtherSums, ///< what the rows of metadata sum up, until they are made anew
        NoDatabase, ///< no file, or one without tables, as before the first opening
    };

    /// Says what is wrong with the data of a resource at this path; nothing if it is right.
    using ContentCheck = std::function<QString(const QString &reference, const QString &path)>;

    CacheInvariants(const QString &databasePath, const QString &dataDir);

    CacheInvariants &except(Exception exception);
    /// Is asked for each Ready resource whose path is there.
    void setContentCheck(const ContentCheck &check);
    /// What the file of this resource holds if it is Ready.
    void expectContent(const QString &reference, const QByteArray &content);

    /// Each a sentence with what breaks it; empty if all holds.
    QStringList violations() const;
    /// Those of the rows among themselves, in one snapshot: others may write meanwhile.
    QStringList rowViolations() const;

private:
    struct ReadyRow
    {
        QString reference;
        QString path;
        qint64 size = 0;
    };

    bool excepts(Exception exception) const { return exceptions.contains(exception); }
    QStringList checkRows(QList<ReadyRow> *ready) const;
    QStringList fileViolations(const ReadyRow &row) const;
    QStringList contentViolations(const ReadyRow &row) const;
    QString placeViolation(const ReadyRow &row) const;

    QString databasePath;
    QString dataDir;
    QSet<Exception> exceptions;
    QHash<QString, QByteArray> contents;
    ContentCheck contentCheck;
};

} // namespace zel::test
