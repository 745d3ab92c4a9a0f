#include "ProgramRun.h"
#include "TemporaryCache.h"

#include <filesystem>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Builds the program of somebody else from a copy of its folder, against what is installed of this
/// tree: the public headers and the shared library.
class ExternalProgramTest : public testing::Test
{
protected:
    ExternalProgramTest()
    {
        // Always in the same place: a cache of compilations knows it then.
        std::filesystem::remove_all(folder.toStdString());
        std::filesystem::copy(EXTERNAL_PROGRAM, folder.toStdString(),
                              std::filesystem::copy_options::recursive);
    }

    static testing::AssertionResult cmake(const QStringList &arguments)
    {
        ProgramRun::Options options;
        options.limit = 240'000; // compiles nine files, on a machine that may be busy
        ProgramRun run(QStringLiteral(CMAKE_PROGRAM), arguments, options);
        if (run.exitCode() == 0)
            return testing::AssertionSuccess();
        return testing::AssertionFailure()
            << run.output().toStdString() << run.errors().toStdString();
    }
    testing::AssertionResult install(const QString &component) const
    {
        return cmake({ u"--install"_s, QStringLiteral(BUILD_FOLDER), u"--prefix"_s, prefix(),
                       u"--component"_s, component });
    }
    testing::AssertionResult configure() const
    {
        return cmake({ u"-S"_s, folder, u"-B"_s, buildFolder(), u"-G"_s,
                       QStringLiteral(CMAKE_GENERATOR_NAME),
                       QStringLiteral("-DCMAKE_CXX_COMPILER=" CXX_COMPILER),
                       QStringLiteral("-DCMAKE_CXX_COMPILER_LAUNCHER=" CXX_LAUNCHER),
                       QStringLiteral("-DCMAKE_CXX_FLAGS=" CXX_FLAGS),
                       u"-DCMAKE_PREFIX_PATH="_s + prefix() });
    }
    testing::AssertionResult build() const
    {
        return cmake({ u"--build"_s, buildFolder(), u"--parallel"_s, u"2"_s });
    }
    QString prefix() const { return folder + u"/installed"_s; }
    QString buildFolder() const { return folder + u"/build"_s; }

    const QString folder = QStringLiteral(COPY_OF_EXTERNAL_PROGRAM);
    TemporaryCache directory;
};

} // namespace

TEST_F(ExternalProgramTest, build_installedLibrary_linksAndFetchesAResourceOfItsOwn)
{
    ASSERT_TRUE(install(u"library"_s));
    ASSERT_TRUE(install(u"schemes"_s));
    ASSERT_TRUE(install(u"development"_s));
    ASSERT_TRUE(configure());
    ASSERT_TRUE(build());

    ProgramRun program(buildFolder() + u"/note_reader"_s, { directory.baseDir(), u"words"_s });
    ASSERT_EQ(program.exitCode(), 0) << program.errors().toStdString();
    const QString path = QString::fromUtf8(program.output()).trimmed();
    EXPECT_EQ(path, directory.dataDir() + u"/notes/words/text.note"_s);
    EXPECT_EQ(readFile(path), "words");
}

TEST(SharedLibraryTest, exports_always_nothingOfTheInsideOfClasses)
{
    ProgramRun names(QStringLiteral(NM_PROGRAM),
                     { u"-DC"_s, u"--defined-only"_s, QStringLiteral(SHARED_LIBRARY) });
    ASSERT_EQ(names.exitCode(), 0) << names.errors().toStdString();
    EXPECT_TRUE(names.output().contains("zel::ResourceManager::instance()"));
    EXPECT_FALSE(names.output().contains("::Private::")) << names.output().toStdString();
}
