#include "StepLog.h"

#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <cstring>

namespace zel::test {

QList<LoggedStep> readStepLog(const QString &path)
{
    const QByteArray log = readFile(path);
    QList<LoggedStep> steps;
    qsizetype position = 0;
    const auto next = [&](qsizetype count) {
        const QByteArray bytes = log.mid(position, count);
        EXPECT_EQ(bytes.size(), count) << "The log ends in the middle of a step.";
        position += count;
        return bytes;
    };
    while (position < log.size() && !testing::Test::HasFailure()) {
        LoggedStep step;
        std::memcpy(&step.head, next(sizeof step.head).constData(), sizeof step.head);
        step.path = QString::fromUtf8(next(step.head.pathLength));
        step.newPath = QString::fromUtf8(next(step.head.newPathLength));
        step.bytes = next(qsizetype(step.head.byteCount));
        steps << step;
    }
    return steps;
}

} // namespace zel::test
