#pragma once

#include "TemporaryCache.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace zel::test {

/// An archive of runs: files, and the index that describes them.
class ArchiveFolder
{
public:
    explicit ArchiveFolder(const QString &folder)
        : folder(folder)
    {
    }

    QString reference(const QString &id) const
    {
        return QStringLiteral("archive:%1/%2").arg(folder, id);
    }
    QString path(const QString &name) const { return folder + u'/' + name; }

    /// A run of one batch, with its file.
    void add(const QString &id, const QString &batch, const QByteArray &content)
    {
        const QString file = QStringLiteral("monday/%1.mzML").arg(id);
        writeFile(path(file), content);
        describe({ { QStringLiteral("id"), id },
                   { QStringLiteral("file"), file },
                   { QStringLiteral("sample"), QStringLiteral("HeLa ") + id },
                   { QStringLiteral("batch"), batch },
                   { QStringLiteral("revision"), QStringLiteral("1.2") },
                   { QStringLiteral("bytes"), content.size() } });
    }
    /// Gives the run that was added last a report.
    void addReport(const QByteArray &content)
    {
        QJsonObject run = runs.last().toObject();
        runs.removeLast();
        const QString file = run.value(QStringLiteral("file")).toString();
        run.insert(QStringLiteral("report"), file + QStringLiteral(".qc"));
        writeFile(path(file + QStringLiteral(".qc")), content);
        describe(run);
    }
    void describe(const QJsonObject &run)
    {
        runs.append(run);
        const QJsonDocument index(QJsonObject { { QStringLiteral("runs"), runs } });
        writeFile(path(QStringLiteral("index.json")), index.toJson());
    }

private:
    QString folder;
    QJsonArray runs;
};

} // namespace zel::test
