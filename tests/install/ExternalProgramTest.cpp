#include "ForeignProject.h"
#include "ProgramRun.h"
#include "TemporaryCache.h"

#include <QFileInfo>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

TEST(ExternalProgramTest, build_installedLibrary_linksAndFetchesAResourceOfItsOwn)
{
    const ForeignProject project(QStringLiteral(EXTERNAL_PROGRAM), u"external"_s);
    ASSERT_TRUE(project.build());

    const TemporaryCache directory;
    ProgramRun program(project.program(u"note_reader"_s), { directory.baseDir(), u"words"_s });
    ASSERT_EQ(program.exitCode(), 0) << program.errors().toStdString();
    const QString path = QString::fromUtf8(program.output()).trimmed();
    EXPECT_EQ(path, directory.dataDir() + u"/notes/words/text.note"_s);
    EXPECT_EQ(readFile(path), "words");
}

TEST(ExternalProgramTest, configure_treeInAFolderOfTheProject_bringsTheLibrariesAlone)
{
    const ForeignProject project(QStringLiteral(EXTERNAL_PROGRAM), u"around"_s);
    ASSERT_TRUE(project.configure({ QStringLiteral("-DZEL_TREE=" SOURCE_TREE) }));
    EXPECT_TRUE(QFileInfo::exists(project.program(u"zel/schemes"_s)));
    EXPECT_FALSE(QFileInfo::exists(project.program(u"zel/apps"_s)));
    EXPECT_FALSE(QFileInfo::exists(project.program(u"zel/tests"_s)));
}
