#pragma once

#include "ActorProcess.h"
#include "CacheDatabase.h"
#include "CacheInvariants.h"
#include "Fate.h"
#include "FileAnswers.h"
#include "TemporaryCache.h"

#include <QMap>
#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <optional>

namespace zel::test {

/// Sizes, sums and times by the path below a folder; one with an empty path for a file.
using FileSums = QMap<QString, QString>;
FileSums sumsBelow(const QString &path);

/// A resource that a scenario is about, and what its copy must be like.
struct KilledResource
{
    QString reference;
    QString source; ///< a file or folder with the same content
    bool isContainer = false; ///< then only its sample counts, wherever that lies
};

/// What a program is killed in the middle of.
struct KillScenario
{
    QString name = {};
    QStringList before = {}; ///< commands that make the cache as the victim finds it
    std::function<void(CacheDatabase *)> arrange = {}; ///< changes it once more
    QStringList unharmed = {}; ///< commands to the victim that it survives
    QStringList deadly = {}; ///< those in which it is killed, its end among them
    QStringList again = {}; ///< what another program does first afterwards
    bool isRemoval = false; ///< the resources are gone when that was done, with all that they left
    /// Data goes before its row: after a death in between, a resource is Ready with nothing there.
    bool mayLoseData = false;
    QList<KilledResource> resources = {};
    bool hasBeside = true; ///< a resource that has nothing to do with it all is in the cache, too
    QList<CacheInvariants::Exception> exceptions = {};
    /// By paths, the server's answers for each file of the one resource to who goes by this name.
    std::function<QMap<QString, FileAnswers>(const QString &user)> answersTo = {};
};

/// Kills a program before each of the things that it does to files, or at each of its system calls
/// of a kind. After each death the cache is looked at as the program left it; then another program
/// finds its way, gets the resources whole, and can remove all of them.
class KillLoop
{
public:
    KillLoop(const QString &shareFolder, TemporaryCache *cache);

    /// A resource that is beside those of the scenario.
    const KilledResource &beside() const { return bystander; }
    /// The sample of a container, by the one that can read it.
    QString samplePathIn(const QString &container);

    /// Makes the cache as this scenario wants it, and keeps a copy.
    void prepare(const KillScenario &wanted);
    /// Dies at the first step, and at each `stride`th from there on, until one program survives. If
    /// there are fewer steps than that, it dies at an earlier one, and so at one at least.
    void killAtFileSteps(int first, int stride);
    /// Dies each time that a staged file has a part of its bytes and the next ones are written.
    void killInHalfStagedFiles();
    /// The same at calls for locks: "semaphore", "folder" or "range", as kill_actor knows them.
    void killAtLockCalls(const QString &lock, int first, int stride);
    /// The same by the system's own tracer, for calls of these names, as strace lists them. It
    /// counts from the start of the program, in each thread by itself.
    void killAtSystemCalls(const QString &calls, int first, int stride);

    int kills() const { return killCount; }
    int recoveries() const { return recoveryCount; }
    void recordFigures() const;

private:
    std::unique_ptr<ActorProcess> program() const;
    void nameNext();
    QMap<QString, qint64> staged() const;
    void checkSent(const QMap<QString, qint64> &staged, bool wasReady) const;
    void restore() const;
    Fate judge(ActorProcess *victim, const QString &death);
    void killAtEach(int first, int stride, const std::function<Fate(int)> &dieAt) const;
    Fate dieBy(const QString &command);
    Fate dieAtSystemCall(const QString &calls, int number);
    void checkAfterDeath();
    void letTimePass() const;
    void checkRecovery();
    void checkResource(ActorProcess *next, const KilledResource &resource);
    void checkBeside();
    void checkOnlyBesideIsLeft();
    void checkRemoval();
    QString contentFailure(const QString &reference, const QString &path);

    TemporaryCache *const cache;
    KilledResource bystander;
    KillScenario scenario;
    ActorProcess reader;
    QString bystanderPath;
    FileSums bystanderSums;
    QString user; ///< by which servers know the programs that are started now
    int killCount = 0;
    int recoveryCount = 0;
};

} // namespace zel::test
