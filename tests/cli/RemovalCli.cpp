#include "RemovalCli.h"

#include "Printers.h"

#include <QFile>

#include <sys/stat.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

QStringList RemovalCli::fill(const QList<int> &sizes)
{
    QStringList references;
    for (qsizetype i = 0; i < sizes.size(); ++i)
        references.append(sharedFile(u"run%1.raw"_s.arg(i), QByteArray(sizes.at(i), 'a')));
    const auto run = start(QStringList { u"get"_s } + references);
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    CacheDatabase database(cache.databasePath());
    for (qsizetype i = 0; i < sizes.size(); ++i)
        database.run(u"UPDATE CachedResources SET lastAccessDateTime = ? WHERE reference = ?"_s,
                     { 1'700'000'000'000 + i, references.at(i) });
    return references;
}

void RemovalCli::makeRemovalsSlow() const
{
    CacheDatabase(cache.databasePath())
        .run(u"CREATE TRIGGER slowRemoval AFTER UPDATE OF status ON CachedResources "
             "WHEN NEW.status = 'Missing' BEGIN SELECT COUNT(a.id + b.id + c.id) "
             "FROM CachedResources a, CachedResources b, CachedResources c; END"_s);
}

void RemovalCli::makeRemovalsQuick() const
{
    CacheDatabase(cache.databasePath()).run(u"DROP TRIGGER slowRemoval"_s);
}

std::unique_ptr<ProgramRun> RemovalCli::startWithSettings(const QByteArray &settings,
                                                          const QStringList &arguments) const
{
    writeFile(settingsPath(), settings);
    ProgramRun::Options options;
    options.environment = environment();
    return std::make_unique<ProgramRun>(program(), arguments, options);
}

std::unique_ptr<ProgramRun> RemovalCli::startWithoutRights(const QStringList &arguments) const
{
    for (const QString &path : { cache.outside(QString()), cache.baseDir(), home.path() })
        EXPECT_EQ(::chmod(QFile::encodeName(path).constData(), 0777), 0);
    EXPECT_EQ(::chmod(QFile::encodeName(cache.databasePath()).constData(), 0666), 0);
    ProgramRun::Options options;
    options.environment = environment();
    const QStringList nobody { u"--reuid=65534"_s, u"--regid=65534"_s, u"--clear-groups"_s };
    return std::make_unique<ProgramRun>(
        u"setpriv"_s, nobody + QStringList { program() } + inCache(arguments), options);
}

QByteArray RemovalCli::settingsWith(qint64 optimalSize, qint64 maximumSize) const
{
    return "; kept by hand\n[ResourceManager]\nCacheLocationPath=" + cache.baseDir().toUtf8()
        + "\nOptimalCacheSize=" + QByteArray::number(optimalSize)
        + "\nMaximumCacheSize=" + QByteArray::number(maximumSize) + "\n";
}

QString RemovalCli::settingsPath() const
{
    return home.filePath(u"resource_manager_settings.ini"_s);
}

QStringList RemovalCli::rows() const
{
    return CacheDatabase(cache.databasePath())
        .column(u"SELECT reference || '|' || status || '|' || cleanupPolicy || '|' || "
                "lastAccessDateTime || '|' || IFNULL(cachedPath, '') || '|' || "
                "IFNULL(fileSize, '') || '|' || IFNULL(version, '') "
                "FROM CachedResources ORDER BY id"_s);
}

QStringList RemovalCli::readyReferences() const
{
    return CacheDatabase(cache.databasePath())
        .column(u"SELECT reference FROM CachedResources WHERE status = 'Ready' ORDER BY id"_s);
}

QString RemovalCli::policyOf(const QString &reference) const
{
    const auto sql = u"SELECT cleanupPolicy FROM CachedResources WHERE reference = ?"_s;
    return CacheDatabase(cache.databasePath()).value(sql, { reference }).toString();
}

QString RemovalCli::pathOf(const QString &reference) const
{
    const auto sql = u"SELECT cachedPath FROM CachedResources WHERE reference = ?"_s;
    return CacheDatabase(cache.databasePath()).value(sql, { reference }).toString();
}

qint64 RemovalCli::currentSize() const
{
    return CacheDatabase(cache.databasePath())
        .value(u"SELECT currentSize FROM CacheMetadata"_s)
        .toLongLong();
}

void RemovalCli::moveData(const QString &reference, const QString &path) const
{
    writeFile(path, readFile(pathOf(reference)));
    EXPECT_TRUE(QFile::remove(pathOf(reference)));
    CacheDatabase(cache.databasePath())
        .run(u"UPDATE CachedResources SET cachedPath = ? WHERE reference = ?"_s,
             { path, reference });
}

void RemovalCli::expectDangerNamed(const QStringList &arguments, const QString &reference) const
{
    const QStringList before = rows();
    const auto run = start(arguments);
    EXPECT_EQ(run->exitCode(), 3) << run->errors().toStdString();
    EXPECT_EQ(run->output(), "");
    EXPECT_TRUE(run->errors().contains("\"zelcache doctor\" tells what helps."))
        << run->errors().toStdString();
    EXPECT_TRUE(run->errors().contains((reference + u": \""_s + pathOf(reference)).toUtf8()))
        << run->errors().toStdString();
    EXPECT_EQ(rows(), before);
}

QJsonObject RemovalCli::rehearseAndRun(const QStringList &arguments, int exitCode) const
{
    const QStringList before = rows();
    const auto rehearsal = start(arguments + QStringList { u"--dry-run"_s, u"--json"_s });
    EXPECT_EQ(rehearsal->exitCode(), exitCode) << rehearsal->errors().toStdString();
    EXPECT_EQ(rows(), before) << "a dry run has changed something";
    QJsonObject announced = jsonOf(rehearsal->output());
    EXPECT_TRUE(announced.value(u"dryRun"_s).toBool());

    const auto run = start(arguments + QStringList { u"--json"_s });
    EXPECT_EQ(run->exitCode(), exitCode) << run->errors().toStdString();
    EXPECT_EQ(run->errors(), rehearsal->errors());
    const QJsonObject done = jsonOf(run->output());
    EXPECT_FALSE(done.value(u"dryRun"_s).toBool());
    announced.insert(u"dryRun"_s, false);
    EXPECT_EQ(announced, done);
    return done;
}

QStringList textsOf(const QJsonValue &array, const QString &member)
{
    QStringList texts;
    for (const QJsonValue &entry : array.toArray())
        texts.append(entry.toObject().value(member).toString());
    return texts;
}

} // namespace zel::test
