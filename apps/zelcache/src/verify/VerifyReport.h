#pragma once

#include "ExitCode.h"
#include "holders/ResourceUsers.h"
#include "verify/ResourceVerification.h"

#include <QJsonObject>

namespace zel::cli {

/// What became of the verification of one resource.
struct VerifyResult
{
    QString reference; ///< as it is shown and answered
    QString path;
    Error failure; ///< why it was not verified
    bool isNotHere = false; ///< nothing went wrong: the cache has nothing of it
    Verdict verdict = Verdict::NotReached;
    QList<ContentVerifier::Finding> findings;
    QStringList notes; ///< sentences
    std::optional<QDateTime> fetched; ///< empty without a manifest
    QDateTime verified; ///< when all of it was last read; null if never
    qint64 lastAccess = 0; ///< milliseconds since the epoch
    UserProcesses holders; ///< processes that use it

    /// Takes over what the verification found.
    void take(const ResourceVerification &verification);
};

/// What a verification of several resources has found.
struct VerifyReport
{
    QList<VerifyResult> results;
    qint64 readBytes = 0;
    int staleManifests = 0; ///< that were removed
    bool isCutShort = false; ///< by the budget or a signal

    int count(Verdict verdict) const;
};

/// For people: what is not intact, with all that is known of it, and a line for the whole. With
/// `tellsAll` the intact ones too.
QStringList verifyLines(const VerifyReport &report, bool tellsAll);
/// For programs: all results.
QJsonObject verifyJson(const VerifyReport &report);
/// What is wrong with the data, in one sentence; empty if nothing is.
QString worstSentence(const VerifyResult &result);
/// 6 if any data is violated; without a signal.
ExitCode verifyCode(const VerifyReport &report);

} // namespace zel::cli
