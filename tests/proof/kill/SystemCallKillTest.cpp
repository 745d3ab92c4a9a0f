#include "KillLoop.h"
#include "KillScenarios.h"
#include "Proof.h"

#include <gtest/gtest.h>

#include <QProcess>

#include <iterator>
#include <vector>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

struct Calls
{
    const char *test;
    const char *names; ///< as strace lists them; "?" before one that not every machine has
    int stride; ///< there are hundreds of some
};

/// The system's tracer kills at what a program's own wrappers do not see: mappings, and calls that
/// a library makes without them. It counts from the start of the program, in each thread by itself.
class SystemCallKillTest : public testing::TestWithParam<Calls>
{
protected:
    SystemCallKillTest()
        : actor(QStringLiteral(ZEL_KILL_ACTOR), { ownCache.baseDir() })
    {
    }

    /// Some machines let nobody trace anything.
    static bool isTracingPermitted()
    {
        QProcess tracer;
        tracer.start(u"strace"_s,
                     { u"-qq"_s, u"-o"_s, u"/dev/null"_s, u"-e"_s,
                       u"inject=exit_group:signal=KILL"_s, u"true"_s });
        return tracer.waitForFinished() && tracer.exitStatus() == QProcess::CrashExit;
    }

    TemporaryCache ownCache;
    KillScenarios scenarios;
    ActorProcess actor;
};

std::string nameOf(const testing::TestParamInfo<Calls> &info)
{
    return info.param.test;
}

constexpr Calls allCalls[] = {
    { "sizes", "ftruncate,?fallocate", 1 },
    { "renames", "?rename,?renameat,renameat2", 1 },
    { "removals", "?unlink,unlinkat,?rmdir", 1 },
    { "writes", "pwrite64,write", 7 },
    { "mappings", "mmap,munmap", 40 },
};

/// Tracing takes its time: all of them only if it is there.
std::vector<Calls> chosenCalls()
{
    return { std::begin(allCalls), isLongProof() ? std::end(allCalls) : std::begin(allCalls) + 2 };
}

} // namespace

TEST_P(SystemCallKillTest, ofAFetchAndAPurge_nothingPartialIsLeftAndTheNextGoesOn)
{
    if (!isTracingPermitted()) {
        // The long form has to be able to say that all of it was proven.
        if (isLongProof())
            FAIL() << "strace is not there, or may not trace: nothing was proven";
        GTEST_SKIP() << "strace is not there, or may not trace";
    }
    const int stride = GetParam().stride * forProof(9, 1);
    for (const QString &name : { u"fetchOverLeftovers"_s, u"purgeContainer"_s }) {
        TemporaryCache cache;
        KillLoop loop(scenarios.share(), &cache);
        loop.prepare(scenarios.named(name, &actor));
        if (!HasFailure())
            loop.killAtSystemCalls(QString::fromLatin1(GetParam().names), 0, stride);
        loop.recordFigures();
        EXPECT_GT(loop.kills(), 0) << "nothing was killed";
    }
}

INSTANTIATE_TEST_SUITE_P(At, SystemCallKillTest, testing::ValuesIn(chosenCalls()), nameOf);
