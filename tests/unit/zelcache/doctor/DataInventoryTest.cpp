#include "doctor/DataInventory.h"

#include "ResourceCache.h"
#include "ResourceManagerSettings.h"
#include "ResourceRetrieveHandle.h"
#include "TemporaryCache.h"
#include "platform/TreeCopy.h"
#include "zacq/ZacqWriter.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>

using namespace zel;
using namespace zel::cli;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Meets what the library itself makes.
class DataInventoryTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ResourceManagerSettings settings;
        settings.cachePath.setBaseDirPath(directory.baseDir());
        ASSERT_FALSE(cache.open(settings.cachePath, settings.sizes).hasError());
    }

    QString at(const QString &place) const { return directory.dataDir() + u'/' + place; }
    /// By a row of this reference.
    DataInventory inventory(const QString &place, const QString &reference = u"test:a"_s) const
    {
        ResourceCacheReader::Resource resource;
        resource.reference = reference;
        resource.path = at(place);
        return DataInventory::of(directory.dataDir(), { resource });
    }
    static QList<QByteArray> placesOf(const QList<TreeSurvey::Entry> &entries)
    {
        QList<QByteArray> places;
        for (const TreeSurvey::Entry &entry : entries)
            places.append(entry.path);
        return places;
    }
    /// A container whose sample has a path that is too long for other programs.
    void retrieveLongContainer(const QString &place)
    {
        writeFile(directory.outside(u"sample"_s), "sample data");
        ASSERT_TRUE(QDir().mkpath(QFileInfo(at(place)).path()));
        const QString inner = u"data/"_s + QString(220, u'n') + u".raw"_s;
        ASSERT_FALSE(zacq::ZacqWriter::createFolder(at(place), directory.outside(u"sample"_s),
                                                    inner, u"Sample"_s)
                         .hasError());
        ASSERT_FALSE(cache.add(u"test:a"_s, ResourceCleanupPolicy::OnDemand).hasError());
        ResourceRetrieveHandle handle(u"test:a"_s, at(place), &cache, {});
        ASSERT_TRUE(handle.tryStartRetrieve().value());
        ASSERT_FALSE(handle.finalizeRetrieve(Error()).hasError());
    }

    TemporaryCache directory;
    ResourceCache cache;
};

} // namespace

TEST_F(DataInventoryTest, of_whatTheCacheMovedAside_isALeftover)
{
    writeFile(at(u"share/1/run.raw"_s), "rest");
    const auto aside = cache.moveLeftoversAside(u"test:a"_s, at(u"share/1/run.raw"_s));
    ASSERT_TRUE(aside.hasValue());
    const QString name = QFileInfo(aside.value().movedTo).fileName();
    EXPECT_EQ(placesOf(inventory(u"share/1/run.raw"_s).leftovers()),
              QList<QByteArray>({ "share/1/" + name.toUtf8() }));
}

TEST_F(DataInventoryTest, of_copyThatIsToReplaceAFile_isALeftoverUntilItIsWhole)
{
    writeFile(directory.outside(u"run.raw"_s), "data");
    writeFile(at(u"share/1/run.raw"_s), "old");
    qsizetype most = 0;
    const auto look = [&](qint64) {
        most = std::max(most, inventory(u"share/1/run.raw"_s).leftovers().size());
        return true;
    };
    TreeCopy::Options options;
    options.replacesFiles = true;
    const Error copied = TreeCopy::copyFile(directory.outside(u"run.raw"_s),
                                            at(u"share/1/run.raw"_s), options, look);
    ASSERT_FALSE(copied.hasError());
    EXPECT_EQ(most, 1);
    EXPECT_TRUE(inventory(u"share/1/run.raw"_s).leftovers().isEmpty());
}

TEST_F(DataInventoryTest, of_containerAtItsShortPlace_isClaimedByItsReferenceAlone)
{
    retrieveLongContainer(u"share/1/x.zacq"_s);
    EXPECT_EQ(placesOf(inventory(u"share/1/x.zacq"_s).unclaimed()), QList<QByteArray>());
    EXPECT_EQ(inventory(u"share/1/x.zacq"_s, u"test:b"_s).unclaimed().size(), 1);
}
