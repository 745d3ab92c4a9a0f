#pragma once

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
    QString share() const { return m_directory.filePath(QStringLiteral("share")); }
    /// How many requests went on behind the first bytes; empty without a server.
    std::optional<int> resumedTransfers() const;

private:
    KilledResource file();
    KilledResource folder();
    KilledResource container(ActorProcess *actor);
    KilledResource webFile();
    KilledResource webFolder();
    KillScenario ofOpening(const QString &name);
    KillScenario ofFetching(const QString &name, ActorProcess *actor);
    KillScenario ofRemoving(const QString &name, ActorProcess *actor);
    KillScenario ofCounting(const QString &name);
    QString path(const QString &name) const { return m_directory.filePath(name); }
    const NginxServer &server();

    const QTemporaryDir m_directory;
    std::unique_ptr<NginxServer> m_server;
};

} // namespace zel::test
