#pragma once

#include "ZelcacheCli.h"

namespace zel::test {

/// Runs the commands that remove something, on a cache with resources of known size and age.
class RemovalCli : public ZelcacheCli
{
protected:
    /// Fetches one shared file for each size; the first one has the oldest status. Gives their
    /// references.
    QStringList fill(const QList<int> &sizes);

    /// From now on each removal keeps its program busy for a while, so that there is time to
    /// interrupt it.
    void makeRemovalsSlow() const;
    void makeRemovalsQuick() const;

    /// Runs the command with these settings instead of a cache on the command line.
    std::unique_ptr<ProgramRun> startWithSettings(const QByteArray &settings,
                                                  const QStringList &arguments) const;
    /// Runs the command as somebody who may use the cache but may remove nothing of its data. Only
    /// the administrator can.
    std::unique_ptr<ProgramRun> startWithoutRights(const QStringList &arguments) const;
    /// The settings file's content for the test's cache.
    QByteArray settingsWith(qint64 optimalSize, qint64 maximumSize) const;
    QString settingsPath() const;

    /// Everything that the database says of resources, a line for each.
    QStringList rows() const;
    QStringList readyReferences() const;
    QString policyOf(const QString &reference) const;
    QString pathOf(const QString &reference) const;
    qint64 currentSize() const;

    /// Moves the data to this path, and the path in its row with it.
    void moveData(const QString &reference, const QString &path) const;

    /// Checks that the command, and its rehearsal if it has one, refuses with code 3 because of
    /// this resource and leaves everything as it is.
    void expectDangerNamed(const QStringList &arguments, const QString &reference) const;

    /// Runs the command twice, first without consequences, and checks that it announces what it
    /// then does and changed nothing before. Gives the answer of the second run.
    QJsonObject rehearseAndRun(const QStringList &arguments, int exitCode) const;
};

/// The members of this name of an array of objects.
QStringList textsOf(const QJsonValue &array, const QString &member);

} // namespace zel::test
