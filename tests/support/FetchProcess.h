#pragma once

#include "ActorProcess.h"

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <optional>

namespace zel::test {

/// What the resources "test:NAME" are copies of, and how often one was transferred.
class FetchSource
{
public:
    /// Makes the file, with `size` bytes no two pieces of which are alike, and an empty log.
    FetchSource(const QString &folder, int size);

    QString file() const;
    QString log() const;
    const QByteArray &content() const { return bytes; }
    int transfers() const;

private:
    QString folder;
    QByteArray bytes;
};

struct FetchOptions
{
    QStringList pauses = {}; ///< begin, opened, made, started, half, copied, retrieved
    std::optional<int> dieAtFileStep = std::nullopt;
    ActorProcess::Environment environment = {};
};

/// A `fetch_actor`: another program that retrieves resources through the manager. Its first answers
/// are "at STEP" for each step that it stands still at; `send` of an empty line lets it go on. Then
/// come the local paths, one for each reference.
class FetchProcess : public ActorProcess
{
public:
    using Options = FetchOptions;

    FetchProcess(const QString &baseDir, const FetchSource &source, const QStringList &references,
                 const Options &options = {});

    /// Waits until the process stands still at this step.
    void awaitPause(const QString &step);
    void goOn();

private:
    static QStringList argumentsFor(const QString &baseDir, const FetchSource &source,
                                    const QStringList &references, const Options &options);
};

} // namespace zel::test
