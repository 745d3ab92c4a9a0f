#include "Actor.h"

#include "ResourceHandler.h"
#include "ResourceManager.h"
#include "references/ResourceReference.h"

#include <QCoreApplication>

#include <sys/resource.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

void leaveNoCore()
{
    const rlimit noCore {};
    ::setrlimit(RLIMIT_CORE, &noCore);
}

QString toAnswer(const Error &error)
{
    if (!error.hasError())
        return u"ok"_s;
    const QString message = error.errorMessage().replace(u'\n', u' ');
    return u"error %1 %2"_s.arg(QString::number(int(error.errorCode())), message);
}

QString retrieve(const QString &text)
{
    const auto reference = ResourceReference::fromString(text);
    if (!reference.hasValue())
        return toAnswer(reference.error());
    const auto handler = ResourceManager::retrieve(reference.value());
    if (!handler.hasValue())
        return toAnswer(handler.error());
    const auto path = handler.value()->expectedPath();
    return path.hasValue() ? u"ok "_s + path.value().toString() : toAnswer(path.error());
}

int runActor(int argc, char **argv, const std::function<void()> &setUp,
             const LineServer::Command &obey)
{
    leaveNoCore();
    const QCoreApplication application(argc, argv);
    ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(QCoreApplication::arguments().at(1));
    ResourceManager::overrideDefaultSettings(settings);
    setUp();
    const LineServer server(obey);
    return QCoreApplication::exec();
}

} // namespace zel::test
