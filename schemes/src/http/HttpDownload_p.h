#pragma once

#include "http/CheckBehind.h"
#include "http/HttpClient.h"
#include "http/HttpSession.h"

#include <QCoreApplication>
#include <QDeadlineTimer>

#include <deque>

namespace zel {

class HttpRetry;

/// One download: asks, joins what comes to what is here, asks again for the rest after a fault, and
/// checks the whole.
class HttpDownload : private HttpReceiver
{
    Q_DECLARE_TR_FUNCTIONS(zel::HttpDownload)

public:
    /// All is borrowed.
    HttpDownload(const HttpTarget &target, const HttpSettings &settings, HttpSink *sink,
                 const HttpWatch &watch, HttpSession &session);

    Error run();

private:
    /// What follows an exchange.
    enum class Next {
        AllIsHere, ///< and is to be checked
        Finished, ///< and it is right
        AtOnce, ///< asks once more
        AfterAWait, ///< the same
        GivenUp, ///< with the last failure
    };
    /// What is known of one exchange only.
    struct Attempt
    {
        bool asksForRest = false;
        std::optional<qint64> total; ///< bytes of the whole file, as told with the rest of it
        bool askAgain = false; ///< why the receiver stopped: the rest is enough
        Error fault; ///< why the receiver stopped, otherwise
    };

    HttpOutcome exchange();
    HttpQuery nextQuery() const;
    Error waitForNext(HttpRetry &retry, const HttpHead &head);
    Next judge(const HttpOutcome &outcome);
    Next judgeAnswer(const HttpOutcome &outcome);
    Next judgeUnmetRange(const HttpHead &head);
    Next judgeWhole();
    Next failedForNow(const Error &reason);
    Next failedForGood(const Error &reason);

    bool begin(const HttpHead &head) override;
    bool beginWhole(const HttpHead &head);
    bool beginRest(const HttpHead &head);
    bool receive(const char *data, qint64 size) override;

    bool open(const HttpRepresentation &found);
    /// After a failure the sink is good for nothing any more.
    Error startAnew();
    Error flush();
    void takeAnotherBuffer(bool isOneFree);
    /// Bytes of the whole file, as the server told with it or with the rest of it.
    std::optional<qint64> toldSize() const { return state.size ? state.size : attempt.total; }
    bool isComplete() const { return opened && toldSize() == have; }

    Error catchUpWithCheck();
    Error failure(int code, const QString &what) const;

    const HttpTarget &target;
    const HttpSettings &settings;
    HttpSink *const sink;
    const HttpWatch &watch;
    HttpSession &session;

    HttpRepresentation state; ///< what the sink is open for
    bool opened = false;
    int statesSeen = 0;
    qint64 have = 0; ///< bytes in the sink
    qint64 mostHad = 0;
    QByteArray buffer; ///< bytes on their way to the sink
    QDeadlineTimer gathering; ///< of the bytes in it
    std::deque<QByteArray> handedOut; ///< the former ones, in their order
    bool rangesFail = false; ///< this server answers requests for the rest with nonsense
    bool continuesEarlierBytes = false;

    Attempt attempt;
    Error lastFailure;

    CheckBehind check;
    qint64 checked = 0; ///< bytes that were handed to the check
};

} // namespace zel
