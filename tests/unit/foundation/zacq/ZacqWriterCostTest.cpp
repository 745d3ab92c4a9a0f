#include "zacq/ZacqFixture.h"

#include "UnsyncedFolders.h"

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ZacqWriterCostTest : public ZacqFixture
{
};

} // namespace

TEST_F(ZacqWriterCostTest, createFolder_sampleInInnerFolders_allTheirNamesAreOnTheDisk)
{
    ASSERT_TRUE(QDir(directory.path()).mkpath(u"data/file/ab12"_s));
    const UnsyncedFolders folders(container().section(u'/', 0, -2).toStdString());
    makeContainer();
    EXPECT_EQ(folders.now(), std::set<std::string>());
}
