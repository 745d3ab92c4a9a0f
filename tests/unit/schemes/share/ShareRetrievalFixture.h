#pragma once

#include "../staging/StagingFixture.h"
#include "Task.h"
#include "share/ShareRetrieval.h"

#include <QCryptographicHash>

#include <functional>

namespace zel::test {

/// A task that is asked whether it is canceled at every step of the work, and does something at
/// one of them.
class SteppedTask : public Task
{
public:
    SteppedTask()
        : Task(nullptr)
    {
    }

    bool isCanceled() const override
    {
        if (++steps == atStep)
            action();
        return Task::isCanceled();
    }

    mutable int steps = 0;
    int atStep = -1;
    std::function<void()> action;
};

/// Copies from a share beside the folders of a cache.
class ShareRetrievalFixture : public StagingFixture
{
protected:
    QString source(const QString &name) const
    {
        return cache.outside(QStringLiteral("share/") + name);
    }

    Error retrieve(Task &task, const FetchPlan &plan, const QString &name,
                   const ExpectedContent &expected = {})
    {
        return ShareRetrieval(&task, plan, source(name), expected).run();
    }
    Error retrieve(const FetchPlan &plan, const QString &name, const ExpectedContent &expected = {})
    {
        Task task(nullptr);
        return retrieve(task, plan, name, expected);
    }

    static ExpectedContent checksumOf(const QByteArray &content)
    {
        ExpectedContent expected;
        expected.hash.digest = QCryptographicHash::hash(content, QCryptographicHash::Sha256);
        return expected;
    }

    /// Several pieces long.
    static QByteArray largeContent()
    {
        QByteArray content;
        content.reserve(1'200'000);
        while (content.size() < 1'100'000)
            content += QByteArray::number(content.size());
        return content;
    }

    QStringList namesBeside(const FetchPlan &plan)
    {
        return QFileInfo(plan.expectedPath)
            .dir()
            .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    const FetchPlan plan = planFor(QStringLiteral("share:/run.raw"));
};

} // namespace zel::test
