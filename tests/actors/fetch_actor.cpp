/// A program that retrieves resources "test:NAME" through the manager, as a user's program does,
/// and prints their local paths, a line each, or "error CODE MESSAGE".
///
///   fetch_actor [options] BASE_DIR REFERENCE...
///
/// It can be told to stand still at a step: it prints "at STEP" and waits for a line.

#include "LineServer.h"
#include "ResourceManager.h"
#include "SuddenDeath.h"
#include "TestScheme.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QMap>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// The steps around those of the scheme.
const QString begin = u"begin"_s; // nothing of the library was called yet
const QString opened = u"opened"_s; // the manager is there
const QString retrieved = u"retrieved"_s; // the paths are printed, the resources still in use

QString nameOf(TestScheme::Step step)
{
    using Step = TestScheme::Step;
    static const QMap<Step, QString> names { { Step::TaskMade, u"made"_s },
                                             { Step::Started, u"started"_s },
                                             { Step::HalfCopied, u"half"_s },
                                             { Step::Copied, u"copied"_s } };
    return names.value(step);
}

class FetchActor
{
public:
    int run(const QStringList &arguments);

private:
    void parse(const QStringList &arguments);
    void pauseAt(const QString &step) const;
    void openManager() const;
    bool retrieve();

    QStringList pauses;
    QString baseDir;
    QStringList references;
    int deadlyStep = -1;
    TestScheme scheme;
    ResourceManager::Handlers held;
};

void FetchActor::parse(const QStringList &arguments)
{
    QCommandLineParser parser;
    const QCommandLineOption source(u"source"_s, u"What all resources are copies of."_s, u"FILE"_s);
    const QCommandLineOption log(u"log"_s, u"Gets a line for each transfer."_s, u"FILE"_s);
    const QCommandLineOption pause(u"pause-at"_s, u"Stand still there."_s, u"STEP"_s);
    const QCommandLineOption die(u"die-at"_s, u"SIGKILL before this file operation."_s, u"N"_s);
    parser.addOptions({ source, log, pause, die });
    parser.process(arguments);

    pauses = parser.values(pause);
    if (parser.isSet(die))
        deadlyStep = parser.value(die).toInt();
    references = parser.positionalArguments();
    baseDir = references.takeFirst();
    scheme.sourceFile = parser.value(source);
    scheme.logFile = parser.value(log);
    scheme.reached = [this](TestScheme::Step step) {
        pauseAt(nameOf(step));
    };
}

void FetchActor::pauseAt(const QString &step) const
{
    if (!pauses.contains(step))
        return;
    say(u"at "_s + step);
    awaitLine();
}

void FetchActor::openManager() const
{
    ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(baseDir);
    ResourceManager::overrideDefaultSettings(settings);
    ResourceManager::instance();
}

bool FetchActor::retrieve()
{
    bool works = true;
    for (const QString &text : std::as_const(references)) {
        const auto reference = ResourceReference::fromString(text);
        const auto handler = ResourceManager::retrieve(reference.value());
        if (!handler.hasValue()) {
            const Error &error = handler.error();
            say(u"error %1 %2"_s.arg(QString::number(int(error.errorCode())),
                                     error.errorMessage()));
            works = false;
            continue;
        }
        held.append(handler.value());
        say(handler.value()->expectedPath().value());
    }
    return works;
}

int FetchActor::run(const QStringList &arguments)
{
    parse(arguments);
    scheme.install();
    pauseAt(begin);
    if (deadlyStep >= 0)
        dieAtFileStep(deadlyStep);
    openManager();
    pauseAt(opened);
    const bool works = retrieve();
    pauseAt(retrieved);
    held.clear();
    return works ? 0 : 1;
}

} // namespace

} // namespace zel::test

int main(int argc, char **argv)
{
    const QCoreApplication application(argc, argv);
    return zel::test::FetchActor().run(QCoreApplication::arguments());
}
