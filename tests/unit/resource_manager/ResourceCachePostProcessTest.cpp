#include "support/CacheFixture.h"

#include "ResourceRetrieveHandle.h"
#include "files/FileUtilsGeneric.h"
#include "zacq/Zacq.h"
#include "zacq/ZacqWriter.h"

#include <QCryptographicHash>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Retrieves a container into the cache; what is checked happens when the retrieval ends.
class ResourceCachePostProcessTest : public CacheFixture
{
protected:
    void SetUp() override
    {
        openCache();
        writeFile(directory.outside(u"sample"_s), "sample data");
    }
    QString container() const { return dataPath(u"s/a/x.zacq"_s); }
    QString target() const { return dataPath(u"zacq/%1.zacq"_s.arg(shortHash())); }
    QString shortHash() const
    {
        return QString::fromLatin1(
            QCryptographicHash::hash(reference.toUtf8(), QCryptographicHash::Md5).toHex().first(6));
    }
    /// A folder container whose sample's path has exactly this length.
    void makeContainer(qsizetype samplePathLength)
    {
        QString inner = u"data/"_s;
        const qsizetype missing = samplePathLength - container().size() - 1 - inner.size();
        ASSERT_GT(missing, 0);
        inner += QString(missing - 4, u'n') + u".raw"_s;
        QDir().mkpath(QFileInfo(container()).path());
        const Error error = zacq::ZacqWriter::createFolder(
            container(), directory.outside(u"sample"_s), inner, u"Sample"_s);
        ASSERT_FALSE(error.hasError()) << qPrintable(error.description());
    }
    Error retrieve()
    {
        EXPECT_FALSE(cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError());
        ResourceRetrieveHandle handle(reference, container(), &cache, {});
        EXPECT_TRUE(handle.tryStartRetrieve().value());
        return handle.finalizeRetrieve(Error());
    }
    QString samplePath() const
    {
        zacq::Zacq opened(container());
        EXPECT_FALSE(opened.open(zacq::Zacq::Mode::ReadOnly).hasError());
        return opened.sampleFilePath().value();
    }

    const QString reference = u"test:a"_s;
};

} // namespace

TEST_F(ResourceCachePostProcessTest, finalize_samplePathOf217_isLeftAlone)
{
    makeContainer(217);
    ASSERT_FALSE(retrieve().hasError());
    EXPECT_FALSE(QFileInfo::exists(target()));
    EXPECT_FALSE(zacq::Zacq::isSparseZacq(container(), false));
}

TEST_F(ResourceCachePostProcessTest, finalize_samplePathOf218_movesTheSampleToAShortPath)
{
    makeContainer(218);
    const LogCapture log;
    ASSERT_FALSE(retrieve().hasError());
    EXPECT_TRUE(zacq::Zacq::isSparseZacq(container(), false));
    const QStringList lengths = log.texts(QtDebugMsg).filter(u"The conversion took"_s);
    EXPECT_EQ(lengths.size(), 1);
    EXPECT_TRUE(log.contains(QtDebugMsg, u"Postprocessing \"test:a\""_s));
    EXPECT_TRUE(log.contains(QtDebugMsg, u"ZACQ file detected, fixing long path if needed"_s));
    EXPECT_TRUE(log.contains(QtDebugMsg, u"is too long, applying fix..."_s));
    EXPECT_TRUE(log.contains(
        QtDebugMsg, u"Converting \"%1\" to \"%2\" as sparse ZACQ"_s.arg(container(), target())));
    EXPECT_TRUE(samplePath().startsWith(target())) << qPrintable(samplePath());
    EXPECT_EQ(readFile(samplePath()), "sample data");
    EXPECT_EQ(rowValue(u"cachedPath"_s, reference).toString(), container());
    EXPECT_EQ(database().status(reference), u"Ready"_s);
}

TEST_F(ResourceCachePostProcessTest, updateFileSizes_sparseContainer_countsItsShortFolderToo)
{
    constexpr qint64 sampleSize = 100'000;
    writeFile(directory.outside(u"sample"_s), QByteArray(sampleSize, 's'));
    makeContainer(218);
    ASSERT_FALSE(retrieve().hasError());
    ASSERT_EQ(zacq::Zacq::sparseTarget(container()), target());
    const qint64 both
        = FileUtilsGeneric::contentSize(container()) + FileUtilsGeneric::contentSize(target());
    ASSERT_GE(both, sampleSize);
    ASSERT_FALSE(cache.updateFileSizes().hasError());
    EXPECT_EQ(rowValue(u"fileSize"_s, reference).toLongLong(), both);
    EXPECT_EQ(cache.readCurrentCacheSize().value(), both);
    ASSERT_FALSE(cache.saveLocalPath(reference, container(), 1).hasError());
    ASSERT_FALSE(cache.updateFileSize(reference).hasError());
    EXPECT_EQ(rowValue(u"fileSize"_s, reference).toLongLong(), both);
}

TEST_F(ResourceCachePostProcessTest, updateFileSizes_sparseContainerUnreadable_countsWhatLiesThere)
{
    makeContainer(218);
    ASSERT_FALSE(retrieve().hasError());
    writeFile(container() + u"/zacq.json"_s, "{");
    ASSERT_FALSE(cache.updateFileSizes().hasError());
    EXPECT_EQ(rowValue(u"fileSize"_s, reference).toLongLong(),
              FileUtilsGeneric::contentSize(container()));
}

TEST_F(ResourceCachePostProcessTest, purge_sparseContainer_takesItsShortFolderToo)
{
    makeContainer(218);
    ASSERT_FALSE(retrieve().hasError());
    ASSERT_TRUE(QFileInfo::exists(target()));
    cache.close();
    openCache({ 1, 2 });
    const LogCapture log;
    ASSERT_FALSE(cache.purgeCacheIfNeeded(0).hasError());
    EXPECT_FALSE(QFileInfo::exists(target()));
    EXPECT_FALSE(QFileInfo::exists(container()));
    EXPECT_FALSE(log.contains(QtDebugMsg, u"The data stays at its path while it is removed"_s));
}

TEST_F(ResourceCachePostProcessTest, finalize_switchedOff_leavesALongPath)
{
    cache.setFixLongZacqFilePaths(false);
    makeContainer(218);
    ASSERT_FALSE(retrieve().hasError());
    EXPECT_FALSE(zacq::Zacq::isSparseZacq(container(), false));
}

TEST_F(ResourceCachePostProcessTest, finalize_fileContainer_isReadyWithTheFailureInTheLog)
{
    QDir().mkpath(QFileInfo(container()).path());
    ASSERT_FALSE(zacq::ZacqWriter::createFile(container(), directory.outside(u"sample"_s), u"S"_s)
                     .hasError());
    const LogCapture log;
    ASSERT_FALSE(retrieve().hasError());
    EXPECT_EQ(database().status(reference), u"Ready"_s);
    EXPECT_TRUE(log.contains(QtDebugMsg, u"ZACQ file detected, fixing long path if needed"_s));
    EXPECT_TRUE(log.contains(QtWarningMsg, u"error 5: Only Folder ZACQ is supported"_s));
}

TEST_F(ResourceCachePostProcessTest, finalize_fileContainerSwitchedOff_isNotEvenOpened)
{
    cache.setFixLongZacqFilePaths(false);
    QDir().mkpath(QFileInfo(container()).path());
    ASSERT_FALSE(zacq::ZacqWriter::createFile(container(), directory.outside(u"sample"_s), u"S"_s)
                     .hasError());
    const LogCapture log;
    ASSERT_FALSE(retrieve().hasError());
    EXPECT_FALSE(log.contains(QtDebugMsg, u"ZACQ file detected"_s));
    EXPECT_TRUE(log.texts(QtWarningMsg).isEmpty());
}

TEST_F(ResourceCachePostProcessTest, finalize_noContainer_passesUntouched)
{
    writeFile(container(), "no container at all");
    const LogCapture log;
    ASSERT_FALSE(retrieve().hasError());
    EXPECT_EQ(database().status(reference), u"Ready"_s);
    EXPECT_TRUE(log.texts(QtWarningMsg).isEmpty());
}

TEST_F(ResourceCachePostProcessTest, finalize_targetAlreadyThere_skips)
{
    makeContainer(218);
    writeFile(target() + u"/leftover"_s, "x");
    const LogCapture log;
    ASSERT_FALSE(retrieve().hasError());
    EXPECT_TRUE(log.contains(QtDebugMsg, u"Hash folder \"%1\" already exists"_s.arg(target())));
    EXPECT_TRUE(log.contains(
        QtDebugMsg, u"has already been represented by this sparse ZACQ instance, skipping..."_s));
    EXPECT_EQ(readFile(target() + u"/leftover"_s), "x");
}

namespace {

/// While it lives, a container is damaged between the two looks at it, when the log says that its
/// short folder exists. Everything that is logged goes on to whoever listened before.
class DamageBeforeTheSecondLook
{
public:
    explicit DamageBeforeTheSecondLook(const QString &container)
    {
        manifest = container + u"/zacq.json"_s;
        before = qInstallMessageHandler(damage);
    }
    DamageBeforeTheSecondLook(const DamageBeforeTheSecondLook &) = delete;
    DamageBeforeTheSecondLook &operator=(const DamageBeforeTheSecondLook &) = delete;
    ~DamageBeforeTheSecondLook() { qInstallMessageHandler(before); }

private:
    static void damage(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        if (text.startsWith(u"Hash folder"_s))
            writeFile(manifest, "{");
        before(type, context, text);
    }

    inline static QString manifest;
    inline static QtMessageHandler before = nullptr;
};

} // namespace

TEST_F(ResourceCachePostProcessTest,
       finalize_targetAlreadyThereAndContainerDamaged_tellsOfTheTarget)
{
    makeContainer(218);
    writeFile(target() + u"/leftover"_s, "x");
    const LogCapture log;
    {
        const DamageBeforeTheSecondLook damage(container());
        ASSERT_FALSE(retrieve().hasError());
    }
    EXPECT_TRUE(log.contains(QtWarningMsg,
                             u"error 4: Target hash folder for sparse ZACQ already exists"_s));
    EXPECT_FALSE(log.contains(QtDebugMsg, u"skipping..."_s));
    EXPECT_EQ(database().status(reference), u"Ready"_s);
}

namespace {

/// A base directory of a wanted length, so that the target's path has one too.
class ResourceCachePostProcessLongTargetTest : public ResourceCachePostProcessTest
{
protected:
    void SetUp() override { writeFile(directory.outside(u"sample"_s), "sample data"); }

    /// Opens the cache where the target's path has exactly this length.
    void openForTargetLength(qsizetype length)
    {
        const qsizetype fixed
            = directory.outside(u"b"_s).size() - 1 + u"/Cache/zacq/123456.zacq"_s.size();
        base = directory.addBaseDir(QString(length - fixed, u'b'));
        ASSERT_TRUE(QDir().mkpath(base));
        ASSERT_FALSE(cache.open(pathOf(base), {}).hasError());
    }
    Error retrieveLong()
    {
        const QString path = base + u"/Cache/s/a/x.zacq"_s;
        QDir().mkpath(QFileInfo(path).path());
        EXPECT_FALSE(zacq::ZacqWriter::createFolder(path, directory.outside(u"sample"_s),
                                                    u"data/"_s + QString(60, u'n') + u".raw"_s,
                                                    u"Sample"_s)
                         .hasError());
        EXPECT_FALSE(cache.add(reference, ResourceCleanupPolicy::OnDemand).hasError());
        ResourceRetrieveHandle handle(reference, path, &cache, {});
        EXPECT_TRUE(handle.tryStartRetrieve().value());
        return handle.finalizeRetrieve(Error());
    }
    void TearDown() override { cache.close(); }
    bool hasTarget() const
    {
        return QFileInfo::exists(base + u"/Cache/zacq/%1.zacq"_s.arg(shortHash()));
    }

    QString base;
};

} // namespace

TEST_F(ResourceCachePostProcessLongTargetTest, finalize_targetPathOf217_isAccepted)
{
    openForTargetLength(217);
    const LogCapture log;
    ASSERT_FALSE(retrieveLong().hasError());
    EXPECT_TRUE(hasTarget()) << qPrintable(log.texts(QtWarningMsg).join(u"\n"_s));
}

TEST_F(ResourceCachePostProcessLongTargetTest, finalize_targetPathOf218_isRefusedAndStaysLong)
{
    openForTargetLength(218);
    const LogCapture log;
    ASSERT_FALSE(retrieveLong().hasError());
    EXPECT_FALSE(hasTarget());
    EXPECT_TRUE(log.contains(QtWarningMsg, u"error 4: Sample name is too long"_s));
}
