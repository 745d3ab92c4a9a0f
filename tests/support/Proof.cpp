#include "Proof.h"

#include <gtest/gtest.h>

#include <QFile>

#include <random>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

bool isLongProof()
{
    return qgetenv("ZEL_PROOF") == "long";
}

std::uint32_t proofSeed()
{
    bool isGiven = false;
    const std::uint32_t given = qgetenv("ZEL_SEED").toUInt(&isGiven);
    return isGiven ? given : std::random_device()();
}

void recordFigure(const QString &what, qint64 value)
{
    testing::Test::RecordProperty(what.toStdString(), std::to_string(value));
    QFile table(qEnvironmentVariable("ZEL_FIGURES"));
    if (table.fileName().isEmpty())
        return;
    const testing::TestInfo *test = testing::UnitTest::GetInstance()->current_test_info();
    const QString line
        = u"%1.%2\t%3\t%4\n"_s.arg(QString::fromUtf8(test->test_suite_name()),
                                   QString::fromUtf8(test->name()), what, QString::number(value));
    ASSERT_TRUE(table.open(QIODevice::Append | QIODevice::Unbuffered));
    ASSERT_GT(table.write(line.toUtf8()), 0);
}

} // namespace zel::test
