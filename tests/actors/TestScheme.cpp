#include "TestScheme.h"

#include "NamedReference.h"
#include "ResourceHandlerFactory.h"
#include "Task.h"
#include "errors/Propagate.h"

#include <QFile>
#include <QFileInfo>
#include <QUuid>

#include <fcntl.h>
#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto testScheme = ResourceReference::Host1;
const QLatin1String prefix("test:");
/// Small against the test data, so that a fetch makes progress in many steps.
constexpr qint64 pieceSize = 4096;

Result<QSharedPointer<ResourceReference>> parse(const QString &text)
{
    return ZEL_PASS(NamedReference::parse(testScheme, prefix, text));
}

void logTransfer(const QString &logFile)
{
    // One write in append mode: lines of several processes never mix.
    const int descriptor
        = ::open(QFile::encodeName(logFile), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    const QByteArray line = QByteArray::number(::getpid()) + '\n';
    if (::write(descriptor, line.constData(), size_t(line.size())) != line.size())
        qFatal("The log of transfers cannot be written.");
    ::close(descriptor);
}

Error failure(const QString &text)
{
    return ZEL_ERROR(ErrorCode::OperationFailed, text);
}

/// Copies the source beside its target and renames it: whatever stands at the target is whole.
Error fetch(const TestScheme &test, const QString &target, Task *task)
{
    logTransfer(test.logFile);
    test.reached(TestScheme::Step::Started);

    QFile source(test.sourceFile);
    QFile part(u"%1.%2.part"_s.arg(target, QUuid::createUuid().toString(QUuid::Id128)));
    if (!source.open(QIODevice::ReadOnly) || !part.open(QIODevice::WriteOnly))
        return failure(u"A file of the fetch cannot be opened."_s);
    const auto size = int(source.size());
    bool halfIsTold = false;
    while (!source.atEnd()) {
        const QByteArray piece = source.read(pieceSize);
        if (part.write(piece) != piece.size() || !part.flush())
            return failure(u"A piece cannot be written."_s);
        task->setProgress(int(part.pos()), size);
        if (!halfIsTold && part.pos() * 2 >= size) {
            halfIsTold = true;
            test.reached(TestScheme::Step::HalfCopied);
        }
    }
    part.close();
    // The Qt way to rename does not replace what a fetcher left that was taken for dead.
    if (::rename(QFile::encodeName(part.fileName()), QFile::encodeName(target)) != 0)
        return failure(u"The file cannot be renamed."_s);
    test.reached(TestScheme::Step::Copied);
    return {};
}

class TestHandler : public RemoteResourceHandler
{
public:
    TestHandler(const QSharedPointer<ResourceReference> &reference, ResourceCache *cache,
                const TestScheme &test)
        : RemoteResourceHandler(reference, cache)
        , test(test)
    {
    }

protected:
    std::unique_ptr<Task> existsTask() const override
    {
        auto task = std::make_unique<Task>();
        task->setFunction([file = test.sourceFile](Task *self) {
            self->setResult(QFileInfo::exists(file));
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
        test.reached(TestScheme::Step::TaskMade);
        auto task = std::make_unique<Task>();
        const QString target = localPath().value();
        task->setFunction(
            [test = test, target](Task *self) { return ZEL_PASS(fetch(test, target, self)); });
        task->setExecutionMode(Task::ExecutionMode::Asynchronous);
        return task;
    }

    QString cacheFileName() const override { return *reference()->referencePath() + u"/data"_s; }

private:
    const TestScheme test;
};

} // namespace

void TestScheme::install() const
{
    const Error error = ResourceReference::registerScheme(
        { testScheme, { u"test"_s }, u"test"_s, QVersionNumber(1), parse });
    if (error.hasError())
        qFatal("The scheme cannot be registered: %s", qPrintable(error.errorMessage()));
    ResourceHandlerFactory::registerResourceHandlerScheme(
        testScheme,
        [test = *this](const QSharedPointer<ResourceReference> &reference,
                       ResourceCache *cache) -> Result<QSharedPointer<ResourceHandler>> {
            return QSharedPointer<ResourceHandler>(
                QSharedPointer<TestHandler>::create(reference, cache, test));
        });
}

} // namespace zel::test
