#include "DoctorCli.h"

#include "Printers.h"

#include <QDateTime>
#include <QDirIterator>
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
