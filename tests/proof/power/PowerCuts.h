#pragma once

#include "ActorProcess.h"
#include "DiskModel.h"
#include "RemovedData.h"
#include "StepLog.h"
#include "TemporaryCache.h"

#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>
#include <map>
#include <memory>
#include <random>
#include <vector>

namespace zel::test {

/// A resource of a recording, and what it has to hold.
struct CutResource
{
    QString reference;
    QString source; ///< a file or folder; of a container its sample
    bool isContainer = false;
};

/// Sizes and sums by the path below the resource's.
using Files = QMap<QString, QString>;
Files filesBelow(const QString &path);

/// Records what a program does to its cache, and cuts the power after each of its steps.
class PowerCuts
{
public:
    /// A path for what lies beside the cache.
    QString outside(const QString &name) const { return cache.outside(name); }
    /// Nothing but these may be fetched.
    void expect(const QList<CutResource> &all);

    /// Lets a program obey the commands (see power_actor.cpp), and takes its cache apart again.
    void record(const QStringList &commands);
    bool hasRecorded(const std::function<bool(const LoggedStep &)> &isWanted) const;

    /// Cuts of each kind after each step, or after some in a short proof; but always after the last
    /// one. After some of them another program comes.
    void cutEverywhere();
    int manifestsFound() const { return manifestCount; }

    /// What a program with another cache answers.
    QString askOther(const QString &command);

private:
    /// What a cut leaves of the data and of the database.
    struct Cut
    {
        Kept data;
        Kept database;
    };
    static const Cut cuts[];

    void noteAnswer(const QString &command, const QString &answer);
    void findEnds(const QList<qint64> &logSizes);
    bool isChosen(qsizetype step, const Cut &cut);
    void cut(const Cut &cut);
    void checkRows();
    QString contentFailure(const QString &reference, const QString &path);
    void checkManifests();
    bool isTimeForAProgramAfter(const Cut &cut);
    bool isSomethingStaged() const;
    void startMachineAnew() const;
    void checkNextFetches();
    void checkModel();
    void recordFigures() const;

    TemporaryCache cache;
    QList<CutResource> resources;
    QMap<QString, Files> expected; ///< by reference
    QList<LoggedStep> steps;
    QList<qsizetype> ends; ///< how many steps were done when a command was; the last: at the end
    std::map<QString, RemovedData> removed; ///< by reference
    std::unique_ptr<DiskModel> disk; ///< of before the steps
    Files left; ///< by the program
    bool isLarge = false; ///< what it wrote
    std::unique_ptr<ActorProcess> other;
    std::mt19937 random;
    int cutCount = 0;
    int programCount = 0;
    int readyCount = 0;
    int manifestCount = 0;
};

} // namespace zel::test
