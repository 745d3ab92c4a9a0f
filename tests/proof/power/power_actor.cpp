/// A program with the manager and the schemes whose cache a disk may lose. What it does below
/// BASE_DIR is recorded in LOG, if that is given.
///
///   power_actor BASE_DIR [LOG]
///
/// It obeys one command a line on standard input and answers each with one line: "ok", "ok VALUE",
/// or "error CODE MESSAGE".
///
///   retrieve REFERENCE            brings the resource here and tells where it lies
///   retrieveInPart N REFERENCE    the same on a disk that refuses what is behind so many bytes of
///                                 a file: "ok" if it failed
///   retrieveOver PATH REFERENCE   the same, but a copy of PATH comes to its place meanwhile
///   add PATH REFERENCE            puts a copy of PATH into the cache and tells where it lies
///   purge                         removes all that nobody uses
///   refuseExchanges               as a file system that cannot exchange two names
///   refuseMoves                   as if staged data lay on another volume than the cache's
///   makeContainer PATH SAMPLE_FILE PATH_IN_CONTAINER
///   samplePath CONTAINER          where the sample of a container lies
///   quit                          ends in good order; there is no answer

#include "Actor.h"
#include "LineServer.h"
#include "RemoteResourceHandler.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"
#include "StepRecorder.h"
#include "Task.h"
#include "Wrapper.h"
#include "references/ResourceReference.h"
#include "zacq/Zacq.h"
#include "zacq/ZacqWriter.h"

#include <QCoreApplication>
#include <QMap>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <filesystem>
#include <functional>
#include <limits>

#include <linux/fs.h>
#include <sys/ioctl.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr off_t noLimit = std::numeric_limits<off_t>::max();

bool isStaged(const std::string &path)
{
    return path.find("/Staging/") != std::string::npos
        && path.find("/content/") != std::string::npos;
}

/// A disk that does not do all that others do. What it does is recorded.
class Disk final : public FileStepWatcher
{
public:
    explicit Disk(FileStepWatcher *recorder)
        : recorder(recorder)
    {
    }

    int before(const FileStep &step) override
    {
        const int refusal = refusalOf(step);
        return refusal == 0 && recorder ? recorder->before(step) : refusal;
    }
    void after(const FileStep &step, ssize_t result) override
    {
        if (recorder)
            recorder->after(step, result);
    }

    std::atomic<off_t> mostBytes = noLimit; ///< of a staged file
    std::atomic<bool> refusesExchanges = false;
    std::atomic<bool> refusesMoves = false;

private:
    int refusalOf(const FileStep &step) const
    {
        if (step.kind == FileStep::Kind::Write && step.offset >= mostBytes)
            return isStaged(pathOf(step)) ? EIO : 0;
        if (step.kind != FileStep::Kind::Rename)
            return 0;
        const bool isExchange = (step.flags & RENAME_EXCHANGE) != 0;
        if (isExchange && refusesExchanges)
            return EINVAL;
        return refusesMoves && isStaged(pathOf(step)) && !isStaged(newPathOf(step)) ? EXDEV : 0;
    }

    FileStepWatcher *const recorder;
};

using Words = QStringList;
using Handler = QSharedPointer<ResourceHandler>;

Result<Handler> handlerOf(const QString &text)
{
    const auto reference = ResourceReference::fromString(text);
    return reference.hasValue() ? ResourceManager::getHandler(reference.value())
                                : Result<Handler>(reference.error());
}

QString toAnswer(const Result<QString> &result)
{
    return result.hasValue() ? u"ok "_s + result.value() : test::toAnswer(result.error());
}

QString placeOf(const ResourceHandler &handler)
{
    const auto path = handler.expectedPath();
    return path.hasValue() ? u"ok "_s + path.value().toString() : test::toAnswer(path.error());
}

QString retrieveInPart(Disk *disk, qint64 bytes, const QString &reference)
{
    disk->mostBytes = bytes;
    const QString answer = retrieve(reference);
    disk->mostBytes = noLimit;
    return answer.startsWith(u"error"_s) ? u"ok"_s : u"error 1 it did not fail"_s;
}

QString retrieveOver(const QString &other, const QString &reference)
{
    const auto handler = handlerOf(reference);
    if (!handler.hasValue())
        return test::toAnswer(handler.error());
    const auto task = ResourceManager::retrieveAsync(handler.value(), ResourceHandler::Manual);
    if (!task.hasValue() || !task.value())
        return u"error 1 there is nothing to fetch"_s;
    // Its place was cleared for the task.
    const QString place = handler.value()->expectedPath().value().toString();
    std::filesystem::copy(other.toStdString(), place.toStdString(),
                          std::filesystem::copy_options::recursive);
    task.value()->exec();
    const Error error = task.value()->waitForAllFinished(-1);
    return error.hasError() ? test::toAnswer(error) : placeOf(*handler.value());
}

QString add(const QString &source, const QString &reference)
{
    const auto handler = handlerOf(reference);
    if (!handler.hasValue())
        return test::toAnswer(handler.error());
    const auto remote = handler.value().dynamicCast<RemoteResourceHandler>();
    const Error error = remote->addToCache(PathImpl<PathType::Unknown>(source));
    return error.hasError() ? test::toAnswer(error) : placeOf(*remote);
}

QString purge()
{
    ResourceCache *cache = ResourceManager::cache();
    Error error = cache->setSizes({ 1, 1 });
    if (!error.hasError())
        error = cache->purgeCacheIfNeeded(0);
    return test::toAnswer(error);
}

Result<QString> samplePath(const QString &container)
{
    zacq::Zacq opened(container);
    const Error error = opened.open(zacq::Zacq::Mode::ReadOnly);
    return error.hasError() ? Result<QString>(error) : opened.sampleFilePath();
}

using Commands = QMap<QString, std::function<QString(const Words &)>>;

Commands commandsOn(Disk *disk)
{
    const QString ok = u"ok"_s;
    return {
        { u"retrieve"_s,
          [](const Words &words) {
              return retrieve(words.at(0));
          } },
        { u"retrieveInPart"_s,
          [disk](const Words &words) {
              return retrieveInPart(disk, words.at(0).toLongLong(), words.at(1));
          } },
        { u"retrieveOver"_s,
          [](const Words &words) {
              return retrieveOver(words.at(0), words.at(1));
          } },
        { u"add"_s,
          [](const Words &words) {
              return add(words.at(0), words.at(1));
          } },
        { u"purge"_s,
          [](const Words &) {
              return purge();
          } },
        { u"refuseExchanges"_s,
          [disk, ok](const Words &) {
              disk->refusesExchanges = true;
              return ok;
          } },
        { u"refuseMoves"_s,
          [disk, ok](const Words &) {
              disk->refusesMoves = true;
              return ok;
          } },
        { u"makeContainer"_s,
          [](const Words &words) {
              return test::toAnswer(zacq::ZacqWriter::createFolder(words.at(0), words.at(1),
                                                                   words.at(2), u"Sample"_s));
          } },
        { u"samplePath"_s,
          [](const Words &words) {
              return toAnswer(samplePath(words.at(0)));
          } },
    };
}

QString obey(const Commands &commands, const QString &line)
{
    if (line == u"quit"_s) {
        QCoreApplication::quit();
        return {};
    }
    Words words = line.split(u' ');
    const auto command = commands.find(words.takeFirst());
    return command == commands.end() ? u"error 2 unknown command "_s + line : (*command)(words);
}

} // namespace

} // namespace zel::test

/// Some file systems make a copy share the original's bytes, which then pass by no recorder.
extern "C" ZEL_VISIBLE int ioctl(int descriptor, unsigned long request, ...) noexcept
{
    static const auto next = zel::test::original<int (*)(int, unsigned long, void *)>("ioctl");
    if (request == FICLONE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    va_list arguments;
    va_start(arguments, request);
    void *const argument = va_arg(arguments, void *);
    va_end(arguments);
    return next(descriptor, request, argument);
}

int main(int argc, char **argv)
{
    zel::test::leaveNoCore();
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    // Never destroyed: threads still write while the process ends.
    auto *const recorder = arguments.size() > 2
        ? new zel::test::StepRecorder(arguments.at(1).toStdString(), arguments.at(2).toStdString())
        : nullptr;
    auto *const disk = new zel::test::Disk(recorder);
    zel::test::watchFileSteps(disk);
    zel::ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(arguments.at(1));
    zel::ResourceManager::overrideDefaultSettings(settings);
    zel::registerResourceSchemes();
    zel::ResourceManager::instance();
    const zel::test::LineServer server(
        [commands = zel::test::commandsOn(disk)](const QString &line) {
            return zel::test::obey(commands, line);
        });
    return application.exec();
}
