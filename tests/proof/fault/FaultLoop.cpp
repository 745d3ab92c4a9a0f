#include "FaultLoop.h"

#include "FailingStatement.h"
#include "FailingStep.h"
#include "LogCapture.h"
#include "Proof.h"

#include <gtest/gtest.h>

#include <QFileInfo>

#include <cerrno>
#include <optional>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// A kind of failure: of one step of a statement, or of one step on files.
struct FaultKind
{
    const char *name;
    FailingStatement::Result result = FailingStatement::Result::Error;
    int error = 0;
    FailingStep::Lasting lasting = FailingStep::Lasting::Once;
};

QList<FaultKind> kindsOf(FaultPlace place)
{
    using Result = FailingStatement::Result;
    using Lasting = FailingStep::Lasting;
    if (place == FaultPlace::Statements) {
        return { { "SQLITE_IOERR", Result::InputOutput }, { "SQLITE_FULL", Result::Full },
                 { "SQLITE_BUSY", Result::Busy },         { "SQLITE_CORRUPT", Result::Corrupt },
                 { "SQLITE_ERROR", Result::Error },       { "SQLITE_NOMEM", Result::NoMemory } };
    }
    return { { "EIO", {}, EIO, Lasting::Once },
             { "ENOSPC from there on", {}, ENOSPC, Lasting::FromThereOn },
             { "EACCES", {}, EACCES, Lasting::Once },
             { "EIO from there on", {}, EIO, Lasting::FromThereOn },
             { "ENOSPC", {}, ENOSPC, Lasting::Once },
             { "EACCES from there on", {}, EACCES, Lasting::FromThereOn } };
}

/// Runs the operation and lets its step of that number fail; false if it has not so many.
bool runFailing(FaultPlace place, const FaultKind &kind, int number,
                const FaultOperation &operation, CacheWorld &world, Error *outcome)
{
    if (place == FaultPlace::Statements) {
        const FailingStatement failing(number, kind.result);
        *outcome = operation.run(world);
        return failing.hasFailed();
    }
    const QString folder = QFileInfo(world.files.baseDir()).canonicalFilePath();
    const FailingStep failing(folder.toStdString(), number, kind.error, kind.lasting);
    *outcome = operation.run(world);
    return failing.hasFailed();
}

/// A failure that nobody could do anything with.
QStringList flawsOf(const Error &error)
{
    QStringList flaws;
    if (error.errorCode() == ErrorCode::Success || error.errorMessage().isEmpty())
        flaws.append(u"The error says nothing."_s);
    if (error.trail().isEmpty())
        flaws.append(u"The error has no trail."_s);
    return flaws;
}

QStringList broken(const CacheWorld &world, const QString &when,
                   const QList<CacheInvariants::Exception> &exceptions = {})
{
    CacheInvariants invariants = world.invariants();
    for (const CacheInvariants::Exception exception : exceptions)
        invariants.except(exception);
    QStringList found = invariants.violations();
    const QString damage = world.damageToOthers();
    if (!damage.isEmpty())
        found.append(u"Others were touched: "_s + damage);
    for (QString &text : found)
        text.prepend(when);
    return found;
}

/// Success and the whole effect, or the refusal that is the operation's answer.
QStringList flawsOfWhole(const FaultOperation &operation, CacheWorld &world, const Error &error)
{
    QStringList flaws;
    if (error.hasError() != operation.isRefused)
        flaws.append(u"It does not do without a failure: "_s + error.description());
    const QString missing = operation.missing(world);
    if (!missing.isEmpty())
        flaws.append(u"Without a failure it has not done all: "_s + missing);
    return flaws;
}

/// Those of which no opening may leave any.
QList<CacheInvariants::Exception> withoutCured(QList<CacheInvariants::Exception> exceptions)
{
    using Exception = CacheInvariants::Exception;
    exceptions.removeIf([](Exception exception) {
        return exception == Exception::RowsOfTheDead || exception == Exception::NoDatabase;
    });
    return exceptions;
}

/// Everything that is wrong after an operation that has met a failure.
QStringList judged(const FaultOperation &operation, CacheWorld &world, const Error &error)
{
    QStringList found;
    const QString missing = error.hasError() ? QString() : operation.missing(world);
    if (error.hasError())
        found.append(flawsOf(error));
    else if (!missing.isEmpty() && *operation.silence == '\0')
        found.append(u"It says that it has succeeded, but: "_s + missing);
    found.append(
        broken(world, u"After the failure: "_s, operation.exceptions + operation.leftUntilOpened));

    const bool isOver = !error.hasError() && missing.isEmpty();
    if (!isOver) {
        const Error again = operation.repeat ? operation.repeat(world) : operation.run(world);
        found.append(flawsOfWhole(operation, world, again));
        found.append(broken(world, u"After the repetition: "_s, operation.leftUntilOpened));
    }
    Error reopened = world.reopen();
    // What the dead have used goes with the opening after the one that takes them out.
    if (!reopened.hasError() && world.hasDeadClient())
        reopened = world.reopen();
    if (reopened.hasError())
        found.append(u"It cannot be opened again: "_s + reopened.description());
    const QList<CacheInvariants::Exception> none;
    found.append(
        broken(world, u"Opened again: "_s, isOver ? withoutCured(operation.exceptions) : none));
    return found;
}

} // namespace

FaultLoop::FaultLoop(FaultPlace place)
    : place(place)
{
}

FaultLoop::~FaultLoop()
{
    recordFigure(u"operations"_s, operationCount);
    recordFigure(u"failures"_s, failureCount);
    recordFigure(u"violations"_s, violationCount);
}

void FaultLoop::prove(const QList<FaultOperation> &operations)
{
    for (const FaultOperation &operation : operations)
        prove(operation);
}

/// In short, the kinds take turns from step to step; otherwise each of them meets every step.
void FaultLoop::prove(const FaultOperation &operation)
{
    ++operationCount;
    const qsizetype rounds = forProof<qsizetype>(1, kindsOf(place).size());
    for (qsizetype round = 0; round < rounds; ++round) {
        for (int number = 0; proveStep(operation, round, number);)
            ++number;
    }
}

/// False if there is no step of that number.
bool FaultLoop::proveStep(const FaultOperation &operation, qsizetype round, int number)
{
    const LogCapture silent;
    const QList<FaultKind> kinds = kindsOf(place);
    const FaultKind &kind = kinds.at((round + number) % kinds.size());
    CacheWorld world;
    if (operation.setUp)
        operation.setUp(world);
    Error error;
    if (!runFailing(place, kind, number, operation, world, &error)) {
        EXPECT_EQ(flawsOfWhole(operation, world, error), QStringList()) << operation.name;
        return false;
    }
    ++failureCount;
    const QStringList found = judged(operation, world, error);
    violationCount += int(found.size());
    EXPECT_TRUE(found.isEmpty()) << operation.name << ", " << kind.name << " at step " << number
                                 << ":\n"
                                 << qPrintable(found.join(u'\n'))
                                 << "\nIt had given: " << qPrintable(error.description());
    return true;
}

} // namespace zel::test
