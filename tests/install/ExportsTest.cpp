#include "ProgramRun.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QSet>

#include <ostream>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

struct Exports
{
    const char *name;
    QString library;
    QString list;
};
std::ostream &operator<<(std::ostream &out, const Exports &exports)
{
    return out << exports.name;
}

QSet<QString> lines(const QByteArray &text)
{
    const QStringList all = QString::fromUtf8(text).split(u'\n', Qt::SkipEmptyParts);
    return { all.begin(), all.end() };
}

/// What programs can link to, against the list that has been agreed on.
class ExportsTest : public testing::TestWithParam<Exports>
{
};

} // namespace

TEST_P(ExportsTest, library_asBuilt_exportsWhatItsListSays)
{
    ProgramRun names(QStringLiteral(UPDATE_EXPORTS), { u"--list"_s, GetParam().library });
    ASSERT_EQ(names.exitCode(), 0) << names.errors().toStdString();
    const QSet<QString> exported = lines(names.output());
    const QSet<QString> agreed = lines(readFile(GetParam().list));
    ASSERT_FALSE(agreed.isEmpty()) << GetParam().list.toStdString();

    for (const QString &name : exported - agreed) {
        ADD_FAILURE() << "new: " << name.toStdString() << "\nIf programs are to have it, run "
                      << "scripts/update-exports.";
    }
    for (const QString &name : agreed - exported) {
        ADD_FAILURE() << "gone: " << name.toStdString() << "\nPrograms that were built with it do "
                      << "not run any more.";
    }
}

TEST_P(ExportsTest, library_asBuilt_exportsNothingOfTheInsideOfClasses)
{
    ProgramRun names(QStringLiteral(NM_PROGRAM),
                     { u"-DC"_s, u"--defined-only"_s, GetParam().library });
    ASSERT_EQ(names.exitCode(), 0) << names.errors().toStdString();
    EXPECT_TRUE(names.output().contains(" zel::")) << names.output().toStdString();
    EXPECT_FALSE(names.output().contains("::Private::")) << names.output().toStdString();
}

INSTANTIATE_TEST_SUITE_P(
    Libraries, ExportsTest,
    testing::Values(Exports { "manager", QStringLiteral(MANAGER_LIBRARY),
                              QStringLiteral(SOURCE_FOLDER "/resource_manager/exports.txt") },
                    Exports { "schemes", QStringLiteral(SCHEMES_LIBRARY),
                              QStringLiteral(SOURCE_FOLDER "/schemes/exports.txt") }),
    [](const auto &exports) { return std::string(exports.param.name); });
