#pragma once

#include "TemporaryCache.h"
#include "zacq/Zacq.h"
#include "zacq/ZacqWriter.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

namespace zel::test {

/// A data folder with one container in it, as a retrieval leaves it there.
class ZacqFixture : public testing::Test
{
protected:
    QString at(const QString &name) const { return QDir(directory.path()).filePath(name); }
    QString container() const { return at(QStringLiteral("data/file/ab12/run.zacq")); }
    QString target() const { return at(QStringLiteral("data/zacq/a1b2c3.zacq")); }
    QString samplePath() const { return QStringLiteral("content/deep inside/run.raw"); }

    void makeContainer() const
    {
        writeFile(at(QStringLiteral("source.raw")), content);
        ASSERT_TRUE(QDir().mkpath(at(QStringLiteral("data/file/ab12"))));
        const Error error = zacq::ZacqWriter::createFolder(
            container(), at(QStringLiteral("source.raw")), samplePath(), QStringLiteral("Run 1"));
        ASSERT_FALSE(error.hasError()) << qPrintable(error.description());
    }

    /// The sample's path as the container names it now; empty if it does not open.
    static QString sampleOf(const QString &path)
    {
        zacq::Zacq opened(path);
        if (opened.open(zacq::Zacq::Mode::ReadOnly).hasError())
            return {};
        const auto sample = opened.sampleFilePath();
        return sample.hasValue() ? sample.value() : QString();
    }
    /// Whether the container opens and its sample is intact.
    bool isWhole(const QString &path) const
    {
        const QString sample = sampleOf(path);
        return !sample.isEmpty() && readFile(sample) == content;
    }

    static QJsonObject manifestAt(const QString &folder)
    {
        const QByteArray json = readFile(folder + QStringLiteral("/zacq.json"));
        return QJsonDocument::fromJson(json).object();
    }
    static void writeManifest(const QString &folder, const QJsonObject &manifest)
    {
        writeFile(folder + QStringLiteral("/zacq.json"), QJsonDocument(manifest).toJson());
    }

    const QByteArray content = QByteArray("sample content ").repeated(1000);
    const QTemporaryDir directory;
};

} // namespace zel::test
