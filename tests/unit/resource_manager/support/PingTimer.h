#pragma once

#include "ResourceCache.h"

#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>
#include <QTimerEvent>

#include <thread>

namespace zel::test {

/// The timer by which a cache pings that the calling thread has made: a test lets its turn come.
class PingTimer
{
public:
    /// What another thread asks of the ping is posted to its timer, which shows it. `enabled` is
    /// what is asked, so true leaves an open cache pinging; false ends the ping.
    PingTimer(ResourceCache &cache, bool enabled)
    {
        Watch watch;
        std::thread([&] { cache.setPingEnabled(enabled); }).join();
        qApp->installEventFilter(&watch);
        QCoreApplication::sendPostedEvents();
        qApp->removeEventFilter(&watch);
        timer = watch.timer;
        EXPECT_TRUE(timer) << "nothing was posted to the timer";
    }

    bool isActive() const { return timer && timer->isActive(); }
    /// Whether or not it is active.
    void tick() const
    {
        ASSERT_TRUE(timer);
        QTimerEvent turn(timer->timerId());
        QCoreApplication::sendEvent(timer, &turn);
    }

private:
    class Watch : public QObject
    {
    public:
        bool eventFilter(QObject *watched, QEvent *event) override
        {
            if (event->type() == QEvent::MetaCall && qobject_cast<QTimer *>(watched))
                timer = static_cast<QTimer *>(watched);
            return false;
        }

        QTimer *timer = nullptr;
    };

    QPointer<QTimer> timer;
};

} // namespace zel::test
