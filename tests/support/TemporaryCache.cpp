#include "TemporaryCache.h"

#include "SemaphoreSets.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

TemporaryCache::TemporaryCache()
{
    EXPECT_TRUE(directory.isValid()) << qPrintable(directory.errorString());
    EXPECT_TRUE(QDir(directory.path()).mkdir(u"base"_s));
    baseDirs.append(baseDir());
}

TemporaryCache::~TemporaryCache()
{
    for (const QString &baseDir : baseDirs) {
        removeSystemSemaphore(semaphoreKey(baseDir));
        // A cache that closes later makes it once more.
        removeSystemSemaphoreAtEnd(semaphoreKey(baseDir));
    }
    // By bytes: Qt leaves what has a name that is no text.
    std::error_code ignored; // the temporary directory makes folders writable, and does the rest
    std::filesystem::remove_all(QFile::encodeName(directory.path()).toStdString(), ignored);
}

QString TemporaryCache::baseDir() const
{
    return directory.filePath(u"base"_s);
}

QString TemporaryCache::dataDir() const
{
    return baseDir() + u"/Cache"_s;
}

QString TemporaryCache::databasePath() const
{
    return baseDir() + u"/ResourceCache.db"_s;
}

QString TemporaryCache::outside(const QString &name) const
{
    return directory.filePath(name);
}

QString TemporaryCache::addBaseDir(const QString &name)
{
    baseDirs.append(outside(name));
    return outside(name);
}

QString TemporaryCache::semaphoreKey(const QString &baseDir)
{
    const QByteArray bytes = QDir::cleanPath(baseDir).toUtf8();
    const QByteArray digest = QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex();
    return u"zel::ResourceCache-%1"_s.arg(QString::fromLatin1(digest));
}

void writeFile(const QString &path, const QByteArray &content)
{
    ASSERT_TRUE(QDir().mkpath(QFileInfo(path).path())) << qPrintable(path);
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate)) << qPrintable(path);
    ASSERT_EQ(file.write(content), content.size());
}

QByteArray readFile(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    return file.readAll();
}

} // namespace zel::test
