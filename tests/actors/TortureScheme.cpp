#include "TortureScheme.h"

#include "LineServer.h"
#include "NamedContent.h"
#include "NamedReference.h"
#include "RemoteResourceHandler.h"
#include "ResourceHandlerFactory.h"
#include "Task.h"
#include "errors/Propagate.h"

#include <QFile>
#include <QUuid>

#include <chrono>
#include <cstdio>
#include <thread>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto tortureScheme = ResourceReference::Host1;
const QLatin1String prefix("torture:");
constexpr int pieces = 16;

constinit int declaredVersion = 1;
constinit TortureFetch nextFetch;

Error failure(const QString &text)
{
    return ZEL_ERROR(ErrorCode::OperationFailed, text);
}

/// Writes the content beside its target and renames it: whatever stands at the target is whole.
Error write(const QByteArray &content, const QString &target, const TortureFetch &fetch, Task *task)
{
    QFile part(u"%1.%2.part"_s.arg(target, QUuid::createUuid().toString(QUuid::Id128)));
    if (!part.open(QIODevice::WriteOnly | QIODevice::Unbuffered))
        return failure(u"The file of the fetch cannot be opened."_s);
    for (int piece = 0; piece < pieces; ++piece) {
        std::this_thread::sleep_for(std::chrono::milliseconds(fetch.milliseconds) / pieces);
        if (task->isCanceled())
            return ErrorCode::Canceled;
        if (fetch.fails && piece * 2 >= pieces)
            return failure(u"The source has failed."_s);
        const qsizetype from = content.size() * piece / pieces;
        const qsizetype to = content.size() * (piece + 1) / pieces;
        if (part.write(content.mid(from, to - from)) != to - from)
            return failure(u"A piece cannot be written."_s);
        task->setProgress(piece + 1, pieces);
    }
    part.close();
    // The Qt way to rename does not replace what a fetcher left that was taken for dead.
    if (std::rename(QFile::encodeName(part.fileName()), QFile::encodeName(target)) != 0)
        return failure(u"The file cannot be renamed."_s);
    return {};
}

/// With the time, which is the same for all programs, since lines of several come in any order.
void tell(const QString &what, int opening, const QString &target)
{
    const auto now = std::chrono::steady_clock::now().time_since_epoch();
    say(u"! %1 %2 %3 %4"_s.arg(what, QString::number(now.count()), QString::number(opening),
                               target));
}

class TortureHandler : public RemoteResourceHandler
{
public:
    TortureHandler(const QSharedPointer<ResourceReference> &reference, ResourceCache *cache)
        : RemoteResourceHandler(reference, cache)
    {
    }

protected:
    std::unique_ptr<Task> existsTask() const override
    {
        auto task = std::make_unique<Task>();
        task->setFunction([](Task *self) {
            self->setResult(true);
            return Error();
        });
        return task;
    }

    std::unique_ptr<Task> metadataTask() const override
    {
        auto task = std::make_unique<Task>();
        task->setFunction([] { return failure(u"There is nothing to tell."_s); });
        return task;
    }

    std::unique_ptr<Task> createRetrieveTask(const PathImpl<PathType::Dir> &) override
    {
        auto task = std::make_unique<Task>();
        const QByteArray content = contentOf(*reference()->referencePath(), declaredVersion);
        const QString target = localPath().value();
        task->setFunction([content, target, fetch = nextFetch](Task *self) {
            tell(u"start"_s, fetch.opening, target);
            const Error error = write(content, target, fetch, self);
            tell(u"end"_s, fetch.opening, target);
            return error;
        });
        task->setExecutionMode(Task::ExecutionMode::Asynchronous);
        return task;
    }

    QString cacheFileName() const override { return *reference()->referencePath() + u"/data"_s; }
};

Result<QSharedPointer<ResourceReference>> parse(const QString &text)
{
    return ZEL_PASS(NamedReference::parse(tortureScheme, prefix, text));
}

} // namespace

void installTortureScheme(int version)
{
    declaredVersion = version;
    const Error error = ResourceReference::registerScheme(
        { tortureScheme, { u"torture"_s }, u"torture"_s, QVersionNumber(version), parse });
    if (error.hasError())
        qFatal("The scheme cannot be registered: %s", qPrintable(error.errorMessage()));
    ResourceHandlerFactory::registerResourceHandlerScheme(
        tortureScheme,
        [](const QSharedPointer<ResourceReference> &reference,
           ResourceCache *cache) -> Result<QSharedPointer<ResourceHandler>> {
            return QSharedPointer<ResourceHandler>(
                QSharedPointer<TortureHandler>::create(reference, cache));
        });
}

void setTortureFetch(const TortureFetch &fetch)
{
    nextFetch = fetch;
}

} // namespace zel::test
