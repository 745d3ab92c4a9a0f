#include "ExampleHome.h"

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class SmallestHostTest : public ExampleHome
{
protected:
    std::unique_ptr<ProgramRun> run(const QStringList &arguments) const
    {
        return ExampleHome::run(QStringLiteral(SMALLEST_HOST), arguments);
    }
};

} // namespace

TEST_F(SmallestHostTest, run_shareReference_printsThePathOfACopy)
{
    const QString source = path(u"run.mzML"_s);
    writeFile(source, "spectra");
    const auto host = run({ u"share:"_s + source });
    ASSERT_EQ(host->exitCode(), 0) << host->errors().toStdString();
    const QString copy = QString::fromUtf8(host->output()).trimmed();
    EXPECT_TRUE(copy.startsWith(dataDir() + u"/share/"_s)) << qPrintable(copy);
    EXPECT_EQ(readFile(copy), "spectra");
}

TEST_F(SmallestHostTest, run_nothingThere_saysSo)
{
    const auto host = run({ u"share:"_s + path(u"missing.mzML"_s) });
    EXPECT_EQ(host->exitCode(), 1);
    EXPECT_TRUE(host->output().isEmpty());
    EXPECT_TRUE(host->errors().contains("missing.mzML"));
}

TEST_F(SmallestHostTest, run_unknownScheme_isToldApart)
{
    const auto host = run({ u"nonsense:x"_s });
    EXPECT_EQ(host->exitCode(), 2);
    EXPECT_TRUE(host->errors().contains("nonsense"));
}

TEST_F(SmallestHostTest, run_noReference_tellsTheUsage)
{
    const auto host = run({});
    EXPECT_EQ(host->exitCode(), 2);
    EXPECT_TRUE(host->errors().contains("usage: smallest_host"));
}
