#include "doctor/Checks.h"

#include "holders/ResourceUsers.h"

#include <QCoreApplication>

namespace zel::cli::checks {

using namespace Qt::Literals::StringLiterals;

namespace {

struct Texts
{
    Q_DECLARE_TR_FUNCTIONS(zel::cli::LockChecks)
};

using Access = SystemSemaphoreState::Access;

void add(Findings &findings, FindingKind kind, const QString &subject, const QString &explanation)
{
    findings.append({ kind, subject, explanation, {} });
}

bool isGone(const Examination &all, qint64 process)
{
    return process > 0 && !all.processes.value(process).exists;
}

QString processText(const Examination &all, qint64 process)
{
    return processesText({ { process, all.processes.value(process).program } });
}

void checkValue(const Examination &all, Findings &findings)
{
    const SystemSemaphoreState &semaphore = all.lock.after;
    const bool isHeld = semaphore.value == 0;
    const QString subject = u"process %1"_s.arg(semaphore.lastProcess);
    if (semaphore.value > 1) {
        add(findings, FindingKind::LockValue, semaphore.keyFile,
            Texts::tr("%1 processes can hold the lock at the same time.").arg(semaphore.value));
    } else if (isHeld && isGone(all, semaphore.lastProcess) && !all.lock.directory.isHeld) {
        add(findings, FindingKind::LockStuck, subject,
            Texts::tr("The process that holds the lock is gone; %1 wait for it.")
                .arg(semaphore.waiting));
    } else if (isHeld) {
        add(findings, FindingKind::LockHeld, subject,
            Texts::tr("The lock is held by %1; %2 wait for it.")
                .arg(processText(all, semaphore.lastProcess))
                .arg(semaphore.waiting));
    }
}

/// Whoever holds the directory has its semaphore too: if not this one, then another one.
void checkBeside(const Examination &all, Findings &findings)
{
    const auto isFree = [](const SystemSemaphoreState &state) {
        return state.access != Access::Seen || state.value > 0;
    };
    const LockFacts &lock = all.lock;
    const auto holder = lock.directory.holder;
    if (!lock.directory.isHeld || !isFree(lock.before) || !isFree(lock.after)
        || lock.before.lastProcess != lock.after.lastProcess || lock.after.lastProcess == holder)
        return;
    if (!holder) {
        // It may be the last one that had the semaphore: no damage as far as can be seen.
        add(findings, FindingKind::LockHeld, all.settings.cachePath.baseDirPath(),
            Texts::tr("The base directory is locked, by whom cannot be seen."));
        return;
    }
    add(findings, FindingKind::LockBeside, u"process %1"_s.arg(*holder),
        Texts::tr(
            "The base directory is locked by %1, but not through the lock \"%2\" of this program.")
            .arg(processText(all, *holder), lock.after.keyFile));
}

void checkClients(const Examination &all, Findings &findings)
{
    for (const ResourceCacheReader::Client &client : all.snapshot.clients) {
        const ProcessFacts process = all.processes.value(client.processId);
        const QString subject = u"process %1"_s.arg(client.processId);
        if (all.livenessOf(client) != Liveness::Alive)
            continue;
        if (process.user != all.lock.user) {
            add(findings, FindingKind::LockOtherUser, subject,
                Texts::tr("It runs as \"%1\", who cannot have the lock of \"%2\".")
                    .arg(process.user, all.lock.user));
        } else if (process.temporaryFolder
                   && *process.temporaryFolder != all.lock.temporaryFolder) {
            add(findings, FindingKind::LockOtherTemp, subject,
                Texts::tr("Its temporary folder is \"%1\" and not \"%2\": it has another lock.")
                    .arg(*process.temporaryFolder, all.lock.temporaryFolder));
        }
    }
}

} // namespace

void lock(const Examination &all, Findings &findings)
{
    const SystemSemaphoreState &semaphore = all.lock.after;
    if (semaphore.access == Access::Refused) {
        add(findings, FindingKind::LockRefused, semaphore.keyFile,
            Texts::tr("The lock belongs to \"%1\", and this user may not take it.")
                .arg(semaphore.owner));
    }
    if (semaphore.access == Access::Seen)
        checkValue(all, findings);
    checkBeside(all, findings);
    checkClients(all, findings);
}

} // namespace zel::cli::checks
