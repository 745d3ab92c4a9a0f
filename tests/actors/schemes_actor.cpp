/// A program with the manager and the schemes. It obeys one command a line on standard input and
/// answers each with one line: "ok PATH", or "error CODE MESSAGE".
///
///   schemes_actor BASE_DIR [LOG]
///
/// What it does below BASE_DIR is recorded in LOG, if that is given.
///
///   retrieve REFERENCE    brings the resource here and tells where it lies
///   purge                 removes all that nobody uses
///   dieAtFileStep N       SIGKILL before the N-th file operation from now on
///   quit                  ends in good order; the answer is empty

#include "Actor.h"
#include "LineServer.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"
#include "StepRecorder.h"
#include "SuddenDeath.h"

#include <QCoreApplication>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

QString purge()
{
    ResourceCache *cache = ResourceManager::cache();
    Error error = cache->setSizes({ 1, 1 });
    if (!error.hasError())
        error = cache->purgeCacheIfNeeded(0);
    return error.hasError() ? toAnswer(error) : u"ok"_s;
}

QString obey(const QString &line)
{
    const QString command = line.section(u' ', 0, 0);
    const QString argument = line.section(u' ', 1);
    if (command == u"retrieve"_s)
        return retrieve(argument);
    if (command == u"purge"_s)
        return purge();
    if (command == u"quit"_s) {
        QCoreApplication::quit();
        return u""_s;
    }
    if (command == u"dieAtFileStep"_s) {
        dieAtFileStep(argument.toInt());
        return u"ok"_s;
    }
    return u"unknown command"_s;
}

} // namespace

} // namespace zel::test

int main(int argc, char **argv)
{
    zel::test::leaveNoCore();
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() > 2)
        zel::test::recordFileSteps(arguments.at(1).toStdString(), arguments.at(2).toStdString());
    zel::ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(arguments.at(1));
    zel::ResourceManager::overrideDefaultSettings(settings);
    zel::registerResourceSchemes();
    zel::ResourceManager::instance();
    const zel::test::LineServer server(zel::test::obey);
    return application.exec();
}
