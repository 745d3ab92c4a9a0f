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
