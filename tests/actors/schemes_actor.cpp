/// A program with the manager and the schemes. It obeys one command a line on standard input and
/// answers each with one line: "ok PATH", or "error CODE MESSAGE".
///
///   schemes_actor BASE_DIR
///
///   retrieve REFERENCE      brings the resource here and tells where it lies
///   dieAtFileStep N         SIGKILL before the N-th file operation from now on
///   stopInTheMidst FOLDER   SIGSTOP in the midst of a file below it, once
///   quit                    ends in good order; the answer is empty

#include "Actor.h"
#include "ResourceManager.h"
#include "SchemesRegistration.h"
#include "SuddenDeath.h"
#include "SuddenStop.h"

#include <QCoreApplication>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

QString obey(const QString &line)
{
    const QString command = line.section(u' ', 0, 0);
    const QString argument = line.section(u' ', 1);
    if (command == u"retrieve"_s)
        return retrieve(argument);
    if (command == u"quit"_s) {
        QCoreApplication::quit();
        return u""_s;
    }
    if (command == u"dieAtFileStep"_s) {
        dieAtFileStep(argument.toInt());
        return u"ok"_s;
    }
    if (command == u"stopInTheMidst"_s) {
        stopInTheMidst(argument.toStdString());
        return u"ok"_s;
    }
    return u"unknown command"_s;
}

} // namespace

} // namespace zel::test

int main(int argc, char **argv)
{
    const auto setUp = [] {
        zel::registerResourceSchemes();
        zel::ResourceManager::instance();
    };
    return zel::test::runActor(argc, argv, setUp, zel::test::obey);
}
