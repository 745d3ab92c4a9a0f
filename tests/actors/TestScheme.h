#pragma once

#include "RemoteResourceHandler.h"
#include "references/ResourceReference.h"

#include <QString>

#include <functional>

namespace zel::test {

/// Resources "test:NAME", which are all copies of one local file, made slowly.
///
/// Every transfer adds a line with the process id to a log, so that a test can count them. The
/// steps of a fetch are told to a function that may take its time: a program that stands still
/// there can be killed there.
struct TestScheme
{
    /// In the order in which a fetch reaches them; all but the first are told on the task's worker.
    enum class Step {
        TaskMade, ///< nothing is decided yet
        Started, ///< this process is the fetcher
        HalfCopied,
        Copied, ///< the data is at its place, nobody knows yet
    };

    QString sourceFile;
    QString logFile;
    std::function<void(Step)> reached = [](Step) {
    };

    /// Makes references and handlers of this process know the scheme.
    void install() const;
};

} // namespace zel::test
