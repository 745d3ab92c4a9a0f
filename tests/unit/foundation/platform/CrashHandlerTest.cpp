#include "platform/CrashHandler.h"

#include <csignal>
#include <cstdlib>

#include <thread>
#include <unistd.h>

using namespace zel;

namespace {

/// Dies as the crash says, after the slot has written a line.
void tellAndDie(void (*crash)())
{
    CrashHandler::prepareThisThread();
    QObject::connect(&CrashHandler::instance(), &CrashHandler::crashDetected,
                     [] { (void)!write(STDERR_FILENO, "slot ran\n", 9); });
    crash();
}

class CrashHandlerTest : public testing::Test
{
protected:
    void SetUp() override { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

} // namespace

TEST_F(CrashHandlerTest, abort_tellsAndDiesOfIt)
{
    EXPECT_EXIT(tellAndDie([] { std::abort(); }), testing::KilledBySignal(SIGABRT), "slot ran");
}

TEST_F(CrashHandlerTest, signalSentFromOutside_tellsAndDiesOfIt)
{
    EXPECT_EXIT(tellAndDie([] { raise(SIGILL); }), testing::KilledBySignal(SIGILL), "slot ran");
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
// A sanitizer turns these crashes into a report and an exit code of its own.

namespace {

void segmentationFault()
{
    volatile int *nowhere = nullptr;
    *nowhere = 1; // NOLINT: the crash itself
}

int useUpTheStack(int depth)
{
    volatile char frame[4096] = {};
    frame[0] = static_cast<char>(depth);
    return depth < 0 ? 0 : useUpTheStack(depth + 1) + frame[0];
}

} // namespace

TEST_F(CrashHandlerTest, segmentationFault_tellsAndDiesOfIt)
{
    EXPECT_EXIT(tellAndDie(segmentationFault), testing::KilledBySignal(SIGSEGV), "slot ran");
}

TEST_F(CrashHandlerTest, stackUsedUp_tellsAndDiesOfIt)
{
    EXPECT_EXIT(tellAndDie([] { useUpTheStack(0); }), testing::KilledBySignal(SIGSEGV), "slot ran");
}
#endif

TEST_F(CrashHandlerTest, slotHangs_watchdogEndsTheProcess)
{
    EXPECT_EXIT(
        {
            QObject::connect(&CrashHandler::instance(), &CrashHandler::crashDetected, [] {
                while (true)
                    pause();
            });
            std::abort();
        },
        testing::KilledBySignal(SIGABRT), "");
}

TEST_F(CrashHandlerTest, slotCrashes_processDies)
{
    EXPECT_EXIT(
        {
            QObject::connect(&CrashHandler::instance(), &CrashHandler::crashDetected,
                             [] { raise(SIGABRT); });
            std::abort();
        },
        testing::KilledBySignal(SIGABRT), "");
}

TEST_F(CrashHandlerTest, crashOnAPlainThread_tellsThere)
{
    EXPECT_EXIT(tellAndDie([] { std::thread([] { std::abort(); }).join(); }),
                testing::KilledBySignal(SIGABRT), "slot ran");
}

TEST_F(CrashHandlerTest, formerHandler_stillGetsTheCrash)
{
    EXPECT_EXIT(
        {
            std::signal(SIGFPE, [](int) { _exit(42); });
            CrashHandler::instance();
            raise(SIGFPE);
        },
        testing::ExitedWithCode(42), "");
}
