#pragma once

#include "output/ProgressBar.h"
#include "output/TextAt.h"
#include "platform/Streams.h"

#include <QJsonObject>
#include <QString>

#include <system_error>

namespace zel::cli {

/// The program's two streams: answers go to standard output, everything said beside them to
/// standard error. Text that meets a terminal is escaped; in a pipe or a file a path stays as it
/// is.
///
/// Writes go straight to the descriptors, so that nothing is lost when a signal ends the program.
/// The bar is kept out of the way of every other line. One thread only.
class Output
{
public:
    struct Manner
    {
        bool quiet = false;
        int verbosity = 0;
        char lineEnd = '\n'; ///< behind each line of the answer
        bool showProgress = true; ///< a bar, if standard error is a terminal that can draw one
        int answerDescriptor = streams::standardOutput;
        int messageDescriptor = streams::standardError;
    };

    explicit Output(const Manner &manner);
    ~Output();
    Output(const Output &) = delete;
    Output &operator=(const Output &) = delete;

    /// One line of the answer.
    void answer(const QString &line);
    void answer(const QJsonObject &object);
    /// So many lines, which are made one after the other while they are written: never all of them
    /// are in memory. Ends early once nobody reads any more.
    void answerLines(qsizetype count, const TextAt &lineAt);
    /// An array of so many elements, each made when it is written.
    struct LongArray
    {
        QString name;
        qsizetype count = 0;
        TextAt elementAt; ///< JSON
    };
    /// An object whose empty arrays of these names get these elements; in the order of the names.
    void answer(const QJsonObject &frame, const QList<LongArray> &arrays);

    void error(const QString &message);
    void warning(const QString &message); ///< not shown if quiet
    void note(const QString &message); ///< shown if verbose
    /// A line of what is said to somebody who is asked, whatever the manner.
    void line(const QString &text);
    /// A question to somebody who sits at the terminal; its answer is typed behind it.
    void question(const QString &text);

    /// Of the terminal that answers go to; the usual 80 without one.
    int answerColumns() const;

    bool drawsProgress() const { return progress; }
    void showProgress(const ProgressState &state);
    void clearProgress();

    /// Whether somebody can still read answers: no once the other end of the pipe is closed.
    bool isAnswerWanted();
    /// Of the first write of an answer that did not work out. After it answers are swallowed.
    std::error_code answerFailure() const { return answerFailure_; }

private:
    void writeElements(QString &part, const LongArray &array);
    void writePart(QString &part, qsizetype atLeast);
    QString shown(const QString &text) const;
    void message(const QString &kind, const char *color, const QString &text);
    void writeMessage(const QString &text);

    Manner manner;
    bool answerToTerminal = false;
    bool colors = false;
    bool progress = false;
    QString shownLine;
    std::error_code answerFailure_;
};

} // namespace zel::cli
