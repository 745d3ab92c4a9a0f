#include "DoctorCli.h"

#include "Printers.h"

#include <QDateTime>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

void DoctorCli::SetUp()
{
    // Below the size of any volume.
    writeFile(settingsPath(), settingsWith(1'000'000, 2'000'000));
    references = fill({ 1000, 2000 });
}

void DoctorCli::sql(const QString &statement, const QList<QVariant> &values) const
{
    CacheDatabase(cache.databasePath()).run(statement, values);
}

void DoctorCli::damagePages() const
{
    sql(u"CREATE TABLE Big(t TEXT)"_s);
    sql(u"WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 400) "
        "INSERT INTO Big SELECT hex(zeroblob(500)) FROM n"_s);
    CacheDatabase(cache.databasePath()).value(u"PRAGMA wal_checkpoint(TRUNCATE)"_s);
    QFile file(cache.databasePath());
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    constexpr qint64 pageBytes = 4096;
    ASSERT_GT(file.size(), 80 * pageBytes);
    ASSERT_TRUE(file.seek(file.size() - 50 * pageBytes)); // in the midst of that table
    file.write(QByteArray(pageBytes, 'x'));
    file.close();
}

void DoctorCli::setOfFirst(const QString &column, const QVariant &value) const
{
    sql(u"UPDATE CachedResources SET %1 = ? WHERE reference = ?"_s.arg(column),
        { value, references.first() });
}

QStringList DoctorCli::doctor(const QStringList &arguments, int exitCode) const
{
    const QStringList all { u"doctor"_s, u"--json"_s, u"--min-age"_s, u"0"_s };
    const auto run = start(all + arguments);
    EXPECT_EQ(run->exitCode(), exitCode) << run->errors().toStdString();
    return textsOf(jsonOf(run->output()).value(u"findings"_s), u"id"_s);
}

qint64 DoctorCli::bytesOnDisk() const
{
    qint64 bytes = 0;
    QDirIterator files(cache.dataDir(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext())
        bytes += QFileInfo(files.next()).size();
    return bytes;
}

void DoctorCli::expectUntouched(const QString &reference) const
{
    EXPECT_EQ(CacheDatabase(cache.databasePath()).status(reference), u"Ready"_s);
    EXPECT_TRUE(QFileInfo::exists(pathOf(reference)));
}

QMap<QString, QByteArray> DoctorCli::everything() const
{
    QMap<QString, QByteArray> found;
    QDirIterator entries(cache.baseDir(), QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QFileInfo entry(entries.next());
        const bool isOfReaders = entry.filePath().endsWith(u".db-shm"_s)
            || (entry.filePath().endsWith(u".db-wal"_s) && entry.size() == 0);
        if (!isOfReaders)
            found.insert(entry.filePath(),
                         entry.isFile() ? readFile(entry.filePath()) : QByteArray("folder"));
    }
    return found;
}

qint64 DoctorCli::now()
{
    return QDateTime::currentMSecsSinceEpoch();
}

QString DoctorCli::startOfThis()
{
    const QByteArray status = readFile(u"/proc/self/stat"_s);
    constexpr qsizetype startField = 22 - 3; // behind the name, which may hold blanks
    return QString::fromLatin1(
        status.mid(status.lastIndexOf(')') + 2).split(' ').value(startField));
}

} // namespace zel::test
