#pragma once

#include "CacheDatabase.h"
#include "ProgramRun.h"
#include "PtyRun.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>

#include <functional>
#include <memory>

namespace zel::test {

/// Runs the built zelcache against a cache of the test's own, without a look at the settings of
/// whoever runs the test.
class ZelcacheCli : public testing::Test
{
protected:
    static QString program();
    /// The arguments with the test's cache in front.
    QStringList inCache(const QStringList &arguments) const;
    QStringList environment() const;

    std::unique_ptr<ProgramRun> start(const QStringList &arguments) const;
    std::unique_ptr<ProgramRun> start(const QStringList &arguments,
                                      ProgramRun::Options options) const;
    /// Runs a line of bash in which "$zelcache" stands for the program and the test's cache.
    std::unique_ptr<ProgramRun> startInShell(const QString &line) const;
    std::unique_ptr<PtyRun> startAtTerminal(const QStringList &arguments) const;
    std::unique_ptr<PtyRun> startAtTerminal(const QStringList &arguments,
                                            PtyRun::Options options) const;

    /// Writes a file beside the cache and gives the reference that a share has for it.
    QString sharedFile(const QString &name, const QByteArray &content) const;

    /// Bytes of what is being fetched.
    qint64 stagedBytes() const;

    /// Waits until this holds; fails the test if it never does.
    static void waitUntil(const std::function<bool()> &condition);

    TemporaryCache cache;
    QTemporaryDir home;
};

QStringList linesOf(const QByteArray &output);
/// Fails the test if it is not one JSON object in one line.
QJsonObject jsonOf(const QByteArray &output);

} // namespace zel::test
