#include "platform/CrashHandler.h"

#include <csignal>
#include <cstdlib>

#include <array>
#include <atomic>
#include <memory>

#include <unistd.h>

namespace zel {

namespace {

constexpr std::array crashSignals { SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT };
constexpr unsigned watchdogSeconds = 2;
constexpr size_t crashStackSize = size_t { 64 } * 1024;

std::array<struct sigaction, crashSignals.size()> formerActions;
std::atomic<pid_t> crashingThread = 0;
std::atomic<int> crashSignal = 0;

void restoreDefault(int signal)
{
    struct sigaction action = {};
    action.sa_handler = SIG_DFL;
    sigaction(signal, &action, nullptr);
}

void unblock(int signal)
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    pthread_sigmask(SIG_UNBLOCK, &signals, nullptr);
}

/// The slots hang, for instance because the crash happened inside malloc: die of the crash now.
void onWatchdog(int)
{
    const int signal = crashSignal;
    restoreDefault(signal);
    unblock(signal);
    raise(signal);
}

void startWatchdog()
{
    struct sigaction action = {};
    action.sa_handler = onWatchdog;
    action.sa_flags = SA_ONSTACK;
    sigaction(SIGALRM, &action, nullptr);
    unblock(SIGALRM);
    alarm(watchdogSeconds);
}

void restoreFormer(int signal)
{
    for (size_t i = 0; i < crashSignals.size(); ++i) {
        if (crashSignals.at(i) == signal)
            sigaction(signal, &formerActions.at(i), nullptr);
    }
}

/// A fault happens again by itself when the handler returns; a signal that was sent does not.
bool mustBeRaisedAgain(int signal, const siginfo_t *info)
{
    return signal == SIGABRT || info->si_code <= 0;
}

void onCrash(int signal, siginfo_t *info, void *)
{
    pid_t nobody = 0;
    if (!crashingThread.compare_exchange_strong(nobody, gettid())) {
        const pid_t first = nobody;
        while (first != gettid())
            pause(); // another thread crashed first and ends the process
        restoreDefault(signal); // a slot crashed
        return;
    }

    crashSignal = signal;
    startWatchdog();
    Q_EMIT CrashHandler::instance().crashDetected(nullptr);
    alarm(0);

    restoreFormer(signal);
    if (mustBeRaisedAgain(signal, info))
        raise(signal); // delivered when this handler returns
}

/// A thread's stack for crash handlers, unless somebody gave it one before.
class CrashStack
{
public:
    CrashStack()
    {
        stack_t current = {};
        if (sigaltstack(nullptr, &current) != 0 || (current.ss_flags & SS_DISABLE) == 0)
            return;
        memory = std::make_unique<char[]>(crashStackSize);
        stack_t own = {};
        own.ss_sp = memory.get();
        own.ss_size = crashStackSize;
        if (sigaltstack(&own, nullptr) != 0)
            memory.reset();
    }
    ~CrashStack()
    {
        if (!memory)
            return;
        stack_t none = {};
        none.ss_flags = SS_DISABLE;
        sigaltstack(&none, nullptr);
    }
    CrashStack(const CrashStack &) = delete;
    CrashStack &operator=(const CrashStack &) = delete;

private:
    std::unique_ptr<char[]> memory;
};

} // namespace

CrashHandler &CrashHandler::instance()
{
    // Never destroyed: a crash during exit still finds it.
    static auto *handler = new CrashHandler;
    return *handler;
}

void CrashHandler::prepareThisThread()
{
    thread_local const CrashStack stack;
}

CrashHandler::CrashHandler()
{
    struct sigaction action = {};
    action.sa_sigaction = onCrash;
    action.sa_flags = SA_SIGINFO | SA_ONSTACK;
    for (size_t i = 0; i < crashSignals.size(); ++i)
        sigaction(crashSignals.at(i), &action, &formerActions.at(i));
}

} // namespace zel
