#pragma once

#include "StepRecorder.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace zel::test {

/// A step as a StepRecorder has logged it.
struct LoggedStep
{
    LoggedHead head;
    QString path;
    QString newPath;
    QByteArray bytes;

    FileStep::Kind kind() const { return FileStep::Kind(head.kind); }
};

/// Fails the test if the log ends within a step.
QList<LoggedStep> readStepLog(const QString &path);

} // namespace zel::test
