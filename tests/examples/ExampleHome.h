#pragma once

#include "ProgramRun.h"
#include "SemaphoreSets.h"
#include "TemporaryCache.h"

namespace zel::test {

/// Runs an example as a user with an empty home folder does.
class ExampleHome : public testing::Test
{
protected:
    ExampleHome() { removeSystemSemaphoreAtEnd(TemporaryCache::semaphoreKey(baseDir())); }
    QString path(const QString &name) const { return home.filePath(name); }
    QString baseDir() const { return home.filePath(QStringLiteral("data/ResourceCache")); }
    QString databasePath() const { return baseDir() + QStringLiteral("/ResourceCache.db"); }
    QString dataDir() const { return baseDir() + QStringLiteral("/Cache"); }

    std::unique_ptr<ProgramRun> run(const QString &program, const QStringList &arguments) const
    {
        ProgramRun::Options options;
        options.environment
            = { QStringLiteral("HOME=") + home.path(),
                QStringLiteral("XDG_DATA_HOME=") + path(QStringLiteral("data")),
                QStringLiteral("XDG_CONFIG_HOME=") + path(QStringLiteral("config")) };
        return std::make_unique<ProgramRun>(program, arguments, options);
    }

private:
    QTemporaryDir home;
};

} // namespace zel::test
