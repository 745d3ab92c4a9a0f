#include "ForeignProject.h"

#include <QFileInfo>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

struct Example
{
    const char *folder;
    const char *program;
};

void PrintTo(const Example &example, std::ostream *stream)
{
    *stream << example.folder;
}

/// Strangers copy a folder and build it against what they have installed.
class ExamplesBuildTest : public testing::TestWithParam<Example>
{
};

} // namespace

TEST_P(ExamplesBuildTest, build_folderAlone_needsNothingButWhatIsInstalled)
{
    const QString folder = QString::fromLatin1(GetParam().folder);
    const ForeignProject project(QStringLiteral(EXAMPLES "/") + folder, folder);
    ASSERT_TRUE(project.build());
    EXPECT_TRUE(QFileInfo(project.program(QString::fromLatin1(GetParam().program))).isExecutable());
}

INSTANTIATE_TEST_SUITE_P(Folders, ExamplesBuildTest,
                         testing::Values(Example { "smallest", "smallest_host" },
                                         Example { "own_scheme", "archive_host" },
                                         Example { "viewer", "viewer" }),
                         [](const auto &test) { return std::string(test.param.folder); });
