#include "ProgramRun.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

constexpr auto someLines = "echo '#7 DONE cov: 12 corp: 3/9b'; ";
constexpr auto statistics = "echo 'stat::number_of_executed_units: 7'; ";

/// scripts/fuzz in a tree of its own, in which the build makes nothing and the one fuzzer is a few
/// lines of bash. A run in which nothing was fuzzed must not look like one that found nothing.
class FuzzScriptTest : public testing::Test
{
protected:
    FuzzScriptTest()
    {
        for (const char *name : { "fuzz", "environment" }) {
            const QString script = u"scripts/"_s + QString::fromLatin1(name);
            writeFile(tree.filePath(script),
                      readFile(QStringLiteral(ZEL_SOURCE_TREE "/") + script));
        }
        writeProgram(u"scripts/setup"_s, "true");
        writeProgram(u"bin/cmake"_s, "true");
        writeFile(tree.filePath(u"tests/proof/fuzz/corpus/Stub/input"_s), "text");
    }

    void writeProgram(const QString &path, const QByteArray &lines) const
    {
        writeFile(tree.filePath(path), "#!/bin/bash\n" + lines + '\n');
        EXPECT_TRUE(QFile::setPermissions(tree.filePath(path),
                                          QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    }

    /// What the script ends with when the fuzzer does this.
    int codeAfter(const QByteArray &lines)
    {
        writeProgram(u"build/fuzz/tests/proof/fuzz/StubFuzzer"_s, lines);
        return codeOf({});
    }

    int codeOf(const QStringList &arguments)
    {
        ProgramRun::Options options;
        options.environment
            = { u"PATH="_s + tree.filePath(u"bin"_s) + u':' + qEnvironmentVariable("PATH"),
                u"ZEL_FIGURES="_s + tree.filePath(u"figures"_s) };
        ProgramRun run(u"bash"_s, QStringList { tree.filePath(u"scripts/fuzz"_s) } + arguments,
                       options);
        const int code = run.exitCode();
        output = run.output();
        errors = run.errors();
        return code;
    }

    const QTemporaryDir tree;
    QByteArray output;
    QByteArray errors;
};

} // namespace

TEST_F(FuzzScriptTest, fuzz_endsWellWithStatistics_succeedsAndTellsThem)
{
    EXPECT_EQ(codeAfter(QByteArray(someLines) + statistics), 0) << errors.toStdString();
    EXPECT_TRUE(output.contains("StubFuzzer\texecutions\t7\n")) << output.toStdString();
    EXPECT_TRUE(output.contains("StubFuzzer\tcoverage\t12\n")) << output.toStdString();
}

TEST_F(FuzzScriptTest, fuzz_exitCodeIsNotZero_failsAndSaysSo)
{
    EXPECT_EQ(codeAfter(QByteArray(someLines) + statistics + "echo the reason; exit 77"), 1);
    EXPECT_TRUE(errors.contains("it ended with code 77")) << errors.toStdString();
    EXPECT_TRUE(errors.contains("the reason")) << errors.toStdString();
}

TEST_F(FuzzScriptTest, fuzz_programIsNotThere_failsAndSaysSo)
{
    EXPECT_EQ(codeOf({}), 1);
    EXPECT_TRUE(errors.contains("it ended with code 127")) << errors.toStdString();
    EXPECT_TRUE(errors.contains("it has not told its statistics")) << errors.toStdString();
}

TEST_F(FuzzScriptTest, fuzz_nothingExecuted_failsAndSaysSo)
{
    EXPECT_EQ(codeAfter(someLines), 1);
    EXPECT_TRUE(errors.contains("it has not told its statistics")) << errors.toStdString();
    EXPECT_EQ(codeAfter("echo 'stat::number_of_executed_units: 0'"), 1);
    EXPECT_TRUE(errors.contains("it has executed nothing")) << errors.toStdString();
}

TEST_F(FuzzScriptTest, fuzz_inputThatBreaksIt_failsAndSaysWhere)
{
    EXPECT_EQ(codeAfter(QByteArray(someLines) + statistics + "touch crash-1"), 1);
    EXPECT_TRUE(errors.contains("1 inputs in ")) << errors.toStdString();
}

TEST_F(FuzzScriptTest, fuzz_noTargets_failsAndSaysSo)
{
    QDir(tree.filePath(u"tests/proof/fuzz/corpus/Stub"_s)).removeRecursively();
    EXPECT_EQ(codeOf({}), 1);
    EXPECT_TRUE(errors.contains("There is nothing to fuzz")) << errors.toStdString();
}
