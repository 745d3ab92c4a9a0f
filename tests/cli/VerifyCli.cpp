#include "VerifyCli.h"

#include <QDir>
#include <QJsonDocument>

#include <filesystem>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

QString VerifyCli::fetch(const QString &reference) const
{
    const auto run = start({ u"get"_s, reference });
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    return linesOf(run->output()).value(0);
}

QString VerifyCli::fetchFile(const QString &name, const QByteArray &content) const
{
    return fetch(sharedFile(name, content));
}

QString VerifyCli::sharedFolder(const QString &name, const QStringList &files) const
{
    for (const QString &file : files)
        sharedFile(name + u'/' + file, file.toUtf8() + " content");
    return referenceOf(name);
}

QString VerifyCli::referenceOf(const QString &name) const
{
    return u"share:"_s + cache.outside(name);
}

void VerifyCli::changeSecretly(const QString &path, const std::function<void()> &change)
{
    const std::filesystem::path native = path.toStdString();
    const auto time = std::filesystem::last_write_time(native);
    change();
    std::filesystem::last_write_time(native, time);
}

QJsonObject VerifyCli::verify(const QStringList &arguments, int exitCode) const
{
    const auto run = start(QStringList { u"verify"_s, u"--json"_s } + arguments);
    EXPECT_EQ(run->exitCode(), exitCode) << run->errors().toStdString();
    return jsonOf(run->output());
}

QJsonObject VerifyCli::verifyOne(const QString &reference, int exitCode) const
{
    return verify({ reference }, exitCode).value(u"results"_s).toArray().at(0).toObject();
}

int VerifyCli::countOf(const QJsonObject &answer, const QString &verdict)
{
    return answer.value(u"counts"_s).toObject().value(verdict).toInt();
}

QStringList VerifyCli::manifests() const
{
    const QDir directory(cache.baseDir() + u"/Manifests"_s);
    QStringList paths;
    const QStringList names = directory.entryList(QDir::Files);
    for (const QString &name : names)
        paths.append(directory.filePath(name));
    return paths;
}

QString VerifyCli::manifestOf(const QString &reference) const
{
    for (const QString &path : manifests()) {
        if (manifestAt(path).value(u"key"_s).toString() == reference)
            return path;
    }
    return {};
}

QJsonObject VerifyCli::manifestAt(const QString &path)
{
    return QJsonDocument::fromJson(readFile(path)).object();
}

void VerifyCli::makeHuge(const QString &path, const QString &manifestPath) const
{
    changeSecretly(path, [&path] { EXPECT_TRUE(QFile::resize(path, hugeBlocks * blockBytes)); });
    QJsonObject manifest = manifestAt(manifestPath);
    QJsonObject file = manifest.value(u"files"_s).toArray().at(0).toObject();
    QJsonArray sums;
    for (qint64 i = 0; i < hugeBlocks; ++i)
        sums.append(QString());
    file.insert(u"size"_s, QString::number(hugeBlocks * blockBytes));
    file.insert(u"xxh3"_s, sums);
    manifest.insert(u"files"_s, QJsonArray { file });
    writeFile(manifestPath, QJsonDocument(manifest).toJson());
}

qint64 VerifyCli::checkedBlocks(const QString &manifestPath)
{
    const QJsonObject file = manifestAt(manifestPath).value(u"files"_s).toArray().at(0).toObject();
    return file.value(u"checkedBlocks"_s).toString().toLongLong();
}

void VerifyCli::addRows(int count) const
{
    CacheDatabase(cache.databasePath())
        .run(u"WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL SELECT i + 1 FROM n WHERE i < ?) "
             "INSERT INTO CachedResources (reference, cachedPath, fileSize, status, "
             "cleanupPolicy, lastAccessDateTime, lastStatusUpdateClientId) SELECT "
             "'share:/many' || i, ? || i, 1, 'Ready', 'OnDemand', 1, 1 FROM n"_s,
             { count, cache.dataDir() + u"/many/"_s });
}

} // namespace zel::test
