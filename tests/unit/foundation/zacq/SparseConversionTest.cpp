#include "zacq/SparseConversion.h"
#include "zacq/ZacqFixture.h"

#include "platform/ChildProcess.h"

#include <sys/stat.h>

using namespace zel;
using namespace zel::test;
using namespace zel::zacq;
using namespace Qt::Literals::StringLiterals;

namespace {

class SparseConversionTest : public ZacqFixture
{
protected:
    void SetUp() override { makeContainer(); }

    Error convert() const
    {
        return Zacq(container()).makeSparseZacqBlocking(container(), target());
    }
    QString shortSample() const { return target() + u"/s/run.raw"_s; }
    void makeSparse() const
    {
        const Error error = convert();
        ASSERT_FALSE(error.hasError()) << qPrintable(error.description());
        ASSERT_EQ(sampleOf(container()), shortSample());
    }

    /// Runs so many steps of the conversion in a process that ends there without a farewell.
    void convertUntil(int steps) const
    {
        ASSERT_TRUE(inChild([&] {
            SparseConversion conversion(container(), target());
            return !conversion.prepare().hasError() && (steps < 1 || !conversion.point().hasError())
                && (steps < 2 || !conversion.stage().hasError())
                && (steps < 3 || !conversion.move().hasError())
                && (steps < 4 || !conversion.publish().hasError());
        }));
    }
};

class SparseConversionInterruptedTest : public SparseConversionTest,
                                        public testing::WithParamInterface<int>
{
};

} // namespace

TEST_F(SparseConversionTest, makeSparse_folderForm_movesTheSampleUnderTheShortPath)
{
    const auto before = FileHash::ofFile(sampleOf(container()));
    writeFile(container() + u"/content/deep inside/run.raw.scan"_s, "side file");
    Zacq zacq(container());
    ASSERT_FALSE(zacq.open(Zacq::Mode::ReadOnly).hasError());
    ASSERT_FALSE(zacq.makeSparseZacqBlocking(container(), target()).hasError());

    EXPECT_EQ(zacq.sampleFilePath().value(), shortSample());
    EXPECT_TRUE(Zacq::isSparseZacq(container(), false));
    EXPECT_TRUE(Zacq::isSparseZacq(container(), true));
    EXPECT_TRUE(isZacqFile(container(), true));
    EXPECT_EQ(sampleOf(container()), shortSample());
    EXPECT_EQ(zacq.metadata().sampleName, u"Run 1"_s);
    EXPECT_TRUE(zacq.metadata().contentHash == before.value());
    EXPECT_FALSE(zacq.verifyContent().hasError());
    EXPECT_FALSE(QFileInfo::exists(container() + u'/' + samplePath()));
    EXPECT_EQ(readFile(target() + u"/s/run.raw.scan"_s), "side file"); // its neighbours come along
    EXPECT_FALSE(zacq.extractSample(at(u"out"_s)).hasError());
    EXPECT_TRUE(isZacqFile(target(), true)); // a container of its own right
    EXPECT_FALSE(Zacq::isSparseZacq(target(), false));
}

TEST_F(SparseConversionTest, makeSparse_twice_changesNothingMore)
{
    makeSparse();
    const QByteArray manifest = readFile(container() + u"/zacq.json"_s);
    makeSparse();
    EXPECT_EQ(readFile(container() + u"/zacq.json"_s), manifest);
}

TEST_F(SparseConversionTest, makeSparse_sampleBesideTheManifest_movesTheFileAlone)
{
    const QString path = at(u"data/file/flat.zacq"_s);
    ASSERT_FALSE(ZacqWriter::createFolder(path, at(u"source.raw"_s), u"flat.raw"_s, {}).hasError());
    ASSERT_FALSE(Zacq(path).makeSparseZacqBlocking(path, target()).hasError());
    EXPECT_EQ(sampleOf(path), target() + u"/s/flat.raw"_s);
    EXPECT_TRUE(isWhole(path));
}

TEST_F(SparseConversionTest, makeSparse_baseReachedByALink_isSpelledAsGiven)
{
    ASSERT_TRUE(QFile::link(at(u"data"_s), at(u"link"_s)));
    const QString path = at(u"link/file/ab12/run.zacq"_s);
    ASSERT_FALSE(
        Zacq(path).makeSparseZacqBlocking(path, at(u"link/zacq/a1b2c3.zacq"_s)).hasError());
    EXPECT_EQ(sampleOf(path), at(u"link/zacq/a1b2c3.zacq/s/run.raw"_s));
    EXPECT_EQ(sampleOf(container()), shortSample());
}

TEST_F(SparseConversionTest, makeSparse_baseMovedLater_stillOpens)
{
    makeSparse();
    ASSERT_TRUE(QDir().rename(at(u"data"_s), at(u"moved"_s)));
    EXPECT_EQ(sampleOf(at(u"moved/file/ab12/run.zacq"_s)),
              at(u"moved/zacq/a1b2c3.zacq/s/run.raw"_s));
    EXPECT_FALSE(Zacq::remove(at(u"moved/file/ab12/run.zacq"_s)).hasError());
    EXPECT_FALSE(QFileInfo::exists(at(u"moved/zacq/a1b2c3.zacq"_s)));
}

TEST_F(SparseConversionTest, makeSparse_unusableTarget_isBadArgumentAndChangesNothing)
{
    const QByteArray manifest = readFile(container() + u"/zacq.json"_s);
    ASSERT_TRUE(QDir().mkpath(at(u"elsewhere"_s)));
    for (const QString &path :
         { at(u"elsewhere/zacq/a.zacq"_s), at(u"data/other/a.zacq"_s), at(u"data/zacq/a"_s),
           container() + u"/zacq/a.zacq"_s, at(u"missing/zacq/a.zacq"_s), QString(), u"/"_s }) {
        const Error error = Zacq(container()).makeSparseZacqBlocking(container(), path);
        EXPECT_EQ(error.errorCode(), ErrorCode::BadArgument) << qPrintable(path);
    }
    EXPECT_EQ(readFile(container() + u"/zacq.json"_s), manifest);
    EXPECT_TRUE(isWhole(container()));
    EXPECT_FALSE(Zacq::isSparseZacq(container(), false));
}

TEST_F(SparseConversionTest, makeSparse_targetOfAnother_isRefusedAndBothStayWhole)
{
    makeSparse();
    const QString other = at(u"data/file/other.zacq"_s);
    ASSERT_FALSE(ZacqWriter::createFolder(other, at(u"source.raw"_s), samplePath(), {}).hasError());
    EXPECT_EQ(Zacq(other).makeSparseZacqBlocking(other, target()).errorCode(), ErrorCode::BadData);
    EXPECT_TRUE(isWhole(container()));
    EXPECT_TRUE(isWhole(other));
    EXPECT_FALSE(Zacq::isSparseZacq(other, false));

    writeFile(at(u"data/zacq/user.zacq/note"_s), "kept");
    EXPECT_EQ(Zacq(other).makeSparseZacqBlocking(other, at(u"data/zacq/user.zacq"_s)).errorCode(),
              ErrorCode::BadData);
    EXPECT_EQ(readFile(at(u"data/zacq/user.zacq/note"_s)), "kept");
}

TEST_F(SparseConversionTest, makeSparse_alreadySparseElsewhere_isBadArgument)
{
    makeSparse();
    const QString other = at(u"data/zacq/ffffff.zacq"_s);
    EXPECT_EQ(Zacq(container()).makeSparseZacqBlocking(container(), other).errorCode(),
              ErrorCode::BadArgument);
    EXPECT_TRUE(isWhole(container()));
    EXPECT_FALSE(QFileInfo::exists(at(u"data/zacq/ffffff.zacq"_s)));
}

TEST_F(SparseConversionTest, makeSparse_targetLeftByAFormerContainer_isReplaced)
{
    makeSparse();
    // The container is removed without its target, as an older program may do, and fetched anew.
    ASSERT_TRUE(QDir(container()).removeRecursively());
    makeContainer();
    EXPECT_FALSE(Zacq::isSparseZacq(container(), false));
    makeSparse();
    EXPECT_TRUE(isWhole(container()));
}

TEST_F(SparseConversionTest, makeSparse_sampleMissing_failsAndKeepsAFormerTarget)
{
    makeSparse();
    ASSERT_TRUE(QFile::rename(shortSample(), target() + u"/s/hidden"_s));
    EXPECT_EQ(convert().errorCode(), ErrorCode::BadData);
    EXPECT_TRUE(QFileInfo::exists(target() + u"/s/hidden"_s));
}

TEST_F(SparseConversionTest, makeSparse_fileForm_isRefused)
{
    const QString path = at(u"data/file/f.zacq"_s);
    ASSERT_FALSE(ZacqWriter::createFile(path, at(u"source.raw"_s), {}).hasError());
    EXPECT_TRUE(Zacq(path).makeSparseZacqBlocking(path, target()).hasError());
    EXPECT_TRUE(isZacqFile(path, true));
}

TEST_F(SparseConversionTest, makeSparse_stagingCameAsALink_writesNothingThroughIt)
{
    ASSERT_TRUE(QDir().mkpath(at(u"victim/s"_s)));
    ASSERT_TRUE(QFile::link(at(u"victim"_s), container() + u"/sparse.part"_s));
    makeSparse();
    EXPECT_TRUE(QDir(at(u"victim/s"_s)).isEmpty());
    EXPECT_FALSE(QFileInfo::exists(at(u"victim/zacq.json"_s)));
}

TEST_F(SparseConversionTest, makeSparse_targetsFolderIsALink_isRefusedAndSourceStaysWhole)
{
    ASSERT_TRUE(QDir().mkpath(at(u"victim"_s)));
    ASSERT_TRUE(QFile::link(at(u"victim"_s), at(u"data/zacq"_s)));
    EXPECT_EQ(convert().errorCode(), ErrorCode::BadData);
    EXPECT_TRUE(QDir(at(u"victim"_s)).isEmpty());
    EXPECT_TRUE(isWhole(container()));
}

TEST_F(SparseConversionTest, makeSparse_targetOnAnotherVolume_failsAndSourceStaysWhole)
{
    ASSERT_TRUE(QDir().mkpath(at(u"data/zacq"_s)));
    const auto isRight = withVolumeAt(QFile::encodeName(at(u"data/zacq"_s)), 10'000'000, [&] {
        return convert().errorCode() == ErrorCode::OperationFailed && isWhole(container())
            && !QFileInfo::exists(target());
    });
    if (!isRight)
        GTEST_SKIP() << "no volume can be mounted here";
    EXPECT_TRUE(*isRight);
    makeSparse();
}

TEST_F(SparseConversionTest, makeSparse_manifestCannotBeWritten_sourceStaysWhole)
{
    EXPECT_TRUE(
        withShortFiles(50, [&] { return convert().errorCode() == ErrorCode::OperationFailed; }));
    EXPECT_TRUE(isWhole(container()));
    EXPECT_FALSE(QFileInfo::exists(target()));
    makeSparse();
}

TEST_P(SparseConversionInterruptedTest, anyStep_containerIsWholeAndARepeatFinishes)
{
    convertUntil(GetParam());
    EXPECT_TRUE(isWhole(container()));
    EXPECT_EQ(QFileInfo::exists(target()), GetParam() == 4); // never there in part
    EXPECT_EQ(Zacq::isSparseZacq(container(), false), GetParam() > 0);
    EXPECT_EQ(Zacq::isSparseZacq(container(), true), GetParam() == 4);
    makeSparse();
    EXPECT_TRUE(isWhole(container()));
    EXPECT_FALSE(QFileInfo::exists(container() + u"/sparse.part"_s));
}

TEST_P(SparseConversionInterruptedTest, anyStep_removeTakesEverything)
{
    convertUntil(GetParam());
    EXPECT_FALSE(Zacq::remove(container()).hasError());
    EXPECT_FALSE(QFileInfo::exists(container()));
    EXPECT_FALSE(QFileInfo::exists(target()));
}

TEST_P(SparseConversionInterruptedTest, anyStep_failedRunThenRepeat_finishes)
{
    convertUntil(GetParam());
    const QByteArray name = QFile::encodeName(container());
    ASSERT_EQ(::chmod(name.constData(), 0555), 0);
    EXPECT_TRUE(asOrdinaryUser(QFile::encodeName(directory.path()), [&] {
        return convert().hasError() == (GetParam() < 4) && isWhole(container());
    }));
    ASSERT_EQ(::chmod(name.constData(), 0755), 0);
    makeSparse();
}

INSTANTIATE_TEST_SUITE_P(Steps, SparseConversionInterruptedTest, testing::Range(0, 5));

TEST_P(SparseConversionInterruptedTest, anyStep_sparseTarget_isThereOnceItIsWhole)
{
    convertUntil(GetParam());
    EXPECT_EQ(Zacq::sparseTarget(container()), GetParam() == 4 ? target() : QString());
}

TEST_F(SparseConversionTest, remove_sparse_takesTheTargetAndNothingElse)
{
    writeFile(at(u"data/zacq/other.zacq/file"_s), "kept");
    makeSparse();
    EXPECT_FALSE(Zacq::remove(container()).hasError());
    EXPECT_FALSE(QFileInfo::exists(container()));
    EXPECT_FALSE(QFileInfo::exists(target()));
    EXPECT_EQ(readFile(at(u"data/zacq/other.zacq/file"_s)), "kept");
    EXPECT_TRUE(QFileInfo::exists(at(u"data/file/ab12"_s)));
}

TEST_F(SparseConversionTest, remove_targetGone_removesTheContainer)
{
    makeSparse();
    ASSERT_TRUE(QDir(target()).removeRecursively());
    EXPECT_EQ(sampleOf(container()), QString());
    EXPECT_TRUE(Zacq::isSparseZacq(container(), false));
    EXPECT_FALSE(Zacq::isSparseZacq(container(), true));
    EXPECT_FALSE(Zacq::remove(container()).hasError());
    EXPECT_FALSE(QFileInfo::exists(container()));
}

TEST_F(SparseConversionTest, remove_targetThatCannotGo_failsAndStaysWhole)
{
    makeSparse();
    const QByteArray around = QFile::encodeName(at(u"data/zacq"_s));
    ASSERT_EQ(::chmod(around.constData(), 0555), 0);
    EXPECT_TRUE(asOrdinaryUser(QFile::encodeName(directory.path()),
                               [&] { return Zacq::remove(container()).hasError(); }));
    EXPECT_TRUE(isWhole(container()));
    ASSERT_EQ(::chmod(around.constData(), 0755), 0);
    EXPECT_FALSE(Zacq::remove(container()).hasError());
    EXPECT_FALSE(QFileInfo::exists(target()));
}

TEST_F(SparseConversionTest, remove_containerWithoutRights_takesTheTargetToo)
{
    makeSparse();
    ASSERT_EQ(::chmod(QFile::encodeName(container()).constData(), 0555), 0);
    EXPECT_TRUE(asOrdinaryUser(QFile::encodeName(directory.path()),
                               [&] { return !Zacq::remove(container()).hasError(); }));
    EXPECT_FALSE(QFileInfo::exists(container()));
    EXPECT_FALSE(QFileInfo::exists(target()));
}

TEST_F(SparseConversionTest, foreignPointer_toTheTargetOfAnother_isNeitherReadNorRemoved)
{
    makeSparse();
    const QString thief = at(u"data/file/cd34/thief.zacq"_s);
    ASSERT_TRUE(QDir().mkpath(thief));
    writeManifest(thief, manifestAt(container())); // the same levels, name and even the same id
    EXPECT_TRUE(Zacq::isSparseZacq(thief, false));
    EXPECT_FALSE(Zacq::isSparseZacq(thief, true));
    EXPECT_EQ(sampleOf(thief), QString());
    EXPECT_FALSE(Zacq::remove(thief).hasError());
    EXPECT_FALSE(QFileInfo::exists(thief));
    EXPECT_TRUE(isWhole(container()));
}

TEST_F(SparseConversionTest, foreignPointer_wrongIdOrOwner_tiesNothing)
{
    makeSparse();
    QJsonObject manifest = manifestAt(target());
    QJsonObject owner = manifest[u"owner"_s].toObject();
    owner[u"id"_s] = u"another"_s;
    manifest[u"owner"_s] = owner;
    writeManifest(target(), manifest);
    EXPECT_EQ(sampleOf(container()), QString());
    EXPECT_FALSE(Zacq::remove(container()).hasError());
    EXPECT_TRUE(QFileInfo::exists(shortSample()));
}

TEST_F(SparseConversionTest, foreignPointer_targetIsALink_isNotFollowed)
{
    makeSparse();
    ASSERT_TRUE(QDir().rename(target(), at(u"data/zacq/real"_s)));
    ASSERT_TRUE(QFile::link(at(u"data/zacq/real"_s), target()));
    EXPECT_EQ(sampleOf(container()), QString());
    EXPECT_FALSE(Zacq::remove(container()).hasError());
    EXPECT_TRUE(QFileInfo::exists(at(u"data/zacq/real/s/run.raw"_s)));
    EXPECT_TRUE(QFileInfo(target()).isSymLink());
}

TEST_F(SparseConversionTest, foreignPointer_toAFolderAroundTheContainer_tiesNothing)
{
    // data/zacq/out.zacq holds in.zacq, each naming the other: removing the inner one must not take
    // the outer one.
    makeSparse();
    const QString outer = at(u"data/zacq/out.zacq"_s);
    const QString inner = outer + u"/in.zacq"_s;
    ASSERT_TRUE(QDir().mkpath(inner));
    QJsonObject manifest = manifestAt(container());
    manifest[u"sparse"_s]
        = QJsonObject { { u"target"_s, u"../../../zacq/out.zacq"_s }, { u"id"_s, u"1"_s } };
    writeManifest(inner, manifest);
    manifest = manifestAt(target());
    manifest[u"owner"_s]
        = QJsonObject { { u"path"_s, u"zacq/out.zacq/in.zacq"_s }, { u"id"_s, u"1"_s } };
    writeManifest(outer, manifest);
    EXPECT_FALSE(Zacq::remove(inner).hasError());
    EXPECT_TRUE(QFileInfo::exists(outer + u"/zacq.json"_s));
}

TEST_F(SparseConversionTest, linkToASparseContainer_isNotSparseAndNotRemoved)
{
    makeSparse();
    ASSERT_TRUE(QFile::link(container(), at(u"link.zacq"_s)));
    EXPECT_EQ(sampleOf(at(u"link.zacq"_s)), shortSample());
    EXPECT_FALSE(Zacq::isSparseZacq(at(u"link.zacq"_s), false));
    EXPECT_FALSE(Zacq::isSparseZacq(at(u"link.zacq/"_s), false));
    EXPECT_EQ(Zacq::remove(at(u"link.zacq"_s)).errorCode(), ErrorCode::BadArgument);
    EXPECT_TRUE(isWhole(container()));
}
