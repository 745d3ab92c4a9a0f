#pragma once

#include "ResourceHandler.h"

#include <QObject>

#include <memory>

namespace viewer {

/// One resource of the list: what is known of it, and the work for it that runs. No widgets.
///
/// Nothing in here waits. look() and fetch() are coroutines: they return to their caller at the
/// first co_await and go on when the event loop delivers the end of their task, always on the main
/// thread, so that no lock is needed. Whoever owns the object keeps it until it is no longer busy.
class ListedResource : public QObject
{
    Q_OBJECT

public:
    enum class State {
        Looking, ///< whether it exists
        Absent, ///< exists, and is not here
        Waiting, ///< for the user's answer, or for its turn
        Fetching,
        Here,
        Canceled,
        Failed,
    };
    Q_ENUM(State)

    static zel::Result<std::unique_ptr<ListedResource>> make(const QString &reference);
    ~ListedResource() override;

    QString key() const; ///< the one spelling that all spellings of the resource share
    QString name() const; ///< of its file or folder
    QString source() const; ///< where it comes from, for people
    State state() const { return state_; }
    int percent() const { return percent_; }
    QString message() const { return message_; } ///< where the data lies, or why it does not
    bool isBusy() const;

    QCoro::Task<> look();
    /// `prompting` is asked before this returns, or not at all.
    QCoro::Task<> fetch(zel::ResourcePromptingInterface *prompting);
    /// Whatever runs ends soon, as Canceled.
    void cancel();

Q_SIGNALS:
    void changed();

private:
    explicit ListedResource(const QSharedPointer<zel::ResourceHandler> &handler);

    void follow(std::unique_ptr<zel::Task> begun);
    void showProgress(int value, int maximum);
    void setState(State state, const QString &message);
    void endLooking(const zel::Result<bool> &exists);
    void endFetching(const zel::Error &error);
    void fail(const zel::Error &error);

    /// As long as the resource is listed, no program of the machine purges its data.
    const QSharedPointer<zel::ResourceHandler> handler;
    std::unique_ptr<zel::Task> task;
    bool isCanceled = false;
    State state_ = State::Absent;
    int percent_ = 0;
    QString message_;
};

} // namespace viewer
