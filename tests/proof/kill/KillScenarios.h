#pragma once

#include "ApacheServer.h"
#include "KillLoop.h"
#include "NginxServer.h"

#include <QTemporaryDir>

#include <memory>

namespace zel::test {

/// What programs do to a cache, and the files and servers that they do it with.
class KillScenarios
{
public:
    KillScenarios();

    /// All that named() knows, as names of tests.
    static QStringList names();
    /// Makes the scenario's sources. `actor` makes containers.
    KillScenario named(const QString &name, ActorProcess *actor);
    QString share() const { return directory.filePath(QStringLiteral("share")); }

private:
    KilledResource file();
    KilledResource folder();
    KilledResource container(ActorProcess *actor);
    KilledResource webFile();
    KilledResource webFolder();
    KilledResource davFolder();
    KillScenario ofOpening(const QString &name);
    KillScenario ofFetching(const QString &name, ActorProcess *actor);
    KillScenario ofRemoving(const QString &name, ActorProcess *actor);
    KillScenario ofCounting(const QString &name);
    QString path(const QString &name) const { return directory.filePath(name); }
    /// Those of the server that there is.
    QMap<QString, FileAnswers> answersTo(const QString &user) const;
    const NginxServer &server();
    const ApacheServer &davServer();

    const QTemporaryDir directory;
    std::unique_ptr<NginxServer> nginx;
    std::unique_ptr<ApacheServer> apache;
};

} // namespace zel::test
