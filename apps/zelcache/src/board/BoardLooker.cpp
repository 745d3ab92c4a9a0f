#include "board/BoardLooker.h"

#include <chrono>

namespace zel::cli {

using namespace std::chrono_literals;

BoardLooker::BoardLooker(const ResourceManagerSettings &settings, OnSeen onSeen)
    : settings(settings)
    , onSeen(std::move(onSeen))
{
}

BoardLooker::~BoardLooker()
{
    if (thread)
        thread->wait();
}

void BoardLooker::look()
{
    if (thread)
        return;
    thread.reset(QThread::create([this] { seen = lookAt(settings); }));
    QObject::connect(thread.get(), &QThread::finished, &receiver, [this] { tell(); });
    thread->start();
    if (!thread->isRunning() && !thread->isFinished())
        lookHere();
}

/// The system gives no thread, as at a limit of processes. Nobody would tell of the end of one.
void BoardLooker::lookHere()
{
    seen = lookAt(settings);
    QMetaObject::invokeMethod(
        &receiver, [this] { tell(); }, Qt::QueuedConnection);
}

bool BoardLooker::isOver()
{
    constexpr auto patience = 200ms;
    return !thread || thread->wait(QDeadlineTimer(patience));
}

void BoardLooker::tell()
{
    thread->wait();
    thread.reset();
    const auto told = std::exchange(seen, std::nullopt);
    onSeen(*told);
}

} // namespace zel::cli
