#include "zacq/SparseConversion.h"
#include "zacq/ZacqFixture.h"

#include "UnsyncedFolders.h"

using namespace zel;
using namespace zel::test;
using namespace zel::zacq;
using namespace Qt::Literals::StringLiterals;

namespace {

class SparseConversionCostTest : public ZacqFixture
{
protected:
    /// The row that leads to the container says Ready all the time.
    void expectNoMoveThatAPowerCutCouldLose(const QString &path) const
    {
        const UnsyncedFolders folders(directory.path().toStdString());
        const Error error = SparseConversion(path, target()).run();
        EXPECT_FALSE(error.hasError()) << error.description().toStdString();
        EXPECT_EQ(folders.movedInto(), std::set<std::string>());
        EXPECT_EQ(folders.now(), std::set<std::string>());
    }
};

} // namespace

TEST_F(SparseConversionCostTest, run_firstOfTheCache_movesTheSampleIntoFoldersThatAreOnTheDisk)
{
    makeContainer();
    expectNoMoveThatAPowerCutCouldLose(container());
}

TEST_F(SparseConversionCostTest, run_sampleBesideTheManifest_movesItIntoFoldersThatAreOnTheDisk)
{
    makeContainer();
    const QString path = at(u"data/file/flat.zacq"_s);
    ASSERT_FALSE(ZacqWriter::createFolder(path, at(u"source.raw"_s), u"flat.raw"_s, {}).hasError());
    expectNoMoveThatAPowerCutCouldLose(path);
}
