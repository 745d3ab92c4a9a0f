#pragma once

#include "TemporaryCache.h"
#include "staging/FetchPlan.h"
#include "staging/StagingArea.h"
#include "staging/StagingFolder.h"

#include <QProcess>

namespace zel::test {

/// A cache's folders without a cache: what is staged in them and what arrives.
class StagingFixture : public ::testing::Test
{
protected:
    FetchPlan planFor(const QString &key, const QString &name = QStringLiteral("run.raw"))
    {
        FetchPlan plan;
        plan.referenceKey = key;
        plan.displayText = key;
        plan.expectedPath = cache.dataDir() + QStringLiteral("/share/folder/") + name;
        plan.stagingDirectory = StagingFolder::stagingDirectoryFor(cache.dataDir());
        plan.isReady = [this](const QString &asked) {
            return ready.contains(asked);
        };
        return plan;
    }

    /// Opens the place, which has to work.
    static std::unique_ptr<StagingArea> open(const FetchPlan &plan, const QString &validator)
    {
        auto area = StagingArea::open(plan, validator);
        EXPECT_TRUE(area.hasValue()) << area.error().description().toStdString();
        return area.hasValue() ? std::move(area).value() : nullptr;
    }

    static void append(StagingArea &area, const QByteArray &bytes)
    {
        auto file = area.openMainFile();
        ASSERT_TRUE(file.hasValue());
        ASSERT_FALSE(file.value()->append(bytes.constData(), bytes.size()).hasError());
        ASSERT_FALSE(file.value()->sync().hasError());
    }

    static qint64 stagedBytes(StagingArea &area) { return area.openMainFile().value()->size(); }

    QStringList places() { return StagingFolder::all(planFor({}).stagingDirectory); }

    TemporaryCache cache;
    QStringList ready; ///< the keys that count as Ready
};

/// Another process that holds the lock of a file.
class LockingProcess
{
public:
    explicit LockingProcess(const QString &path)
    {
        process.start(QStringLiteral("flock"),
                      { QStringLiteral("-x"), path, QStringLiteral("-c"),
                        QStringLiteral("echo held; exec cat") });
        EXPECT_TRUE(process.waitForReadyRead(10000)) << "no lock after ten seconds";
    }
    ~LockingProcess()
    {
        process.kill();
        process.waitForFinished();
    }

private:
    QProcess process;
};

} // namespace zel::test
