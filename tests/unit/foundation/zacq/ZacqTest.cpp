#include "zacq/ZacqFixture.h"

#include "platform/ChildProcess.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace zel;
using namespace zel::test;
using namespace zel::zacq;
using namespace Qt::Literals::StringLiterals;

namespace {

class ZacqTest : public ZacqFixture
{
protected:
    QString fileForm() const { return at(u"run.zacq"_s); }
    void makeFileForm() const
    {
        writeFile(at(u"source.raw"_s), content);
        ASSERT_FALSE(
            ZacqWriter::createFile(fileForm(), at(u"source.raw"_s), u"Run 1"_s).hasError());
    }
    void makeSparse() const
    {
        makeContainer();
        const Error error = Zacq(container()).makeSparseZacqBlocking(container(), target());
        ASSERT_FALSE(error.hasError()) << qPrintable(error.description());
    }
    static QStringList entriesOf(const QString &folder)
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
};

} // namespace

TEST_F(ZacqTest, folderForm_written_opensAndNamesItsSample)
{
    makeContainer();
    EXPECT_TRUE(isZacqFile(container(), false));
    EXPECT_TRUE(isZacqFile(container(), true));
    Zacq zacq(container());
    EXPECT_EQ(zacq.getType(), Zacq::Type::Unknown);
    EXPECT_TRUE(zacq.metadata().contentHash.isEmpty());
    ASSERT_FALSE(zacq.open(Zacq::Mode::ReadOnly).hasError());
    EXPECT_EQ(zacq.getType(), Zacq::Type::Folder);
    EXPECT_EQ(static_cast<int>(zacq.getType()), 2);
    EXPECT_EQ(zacq.sampleFilePath().value(), container() + u'/' + samplePath());
    EXPECT_EQ(zacq.metadata().sampleName, u"Run 1"_s);
    EXPECT_TRUE(zacq.metadata().contentHash == FileHash::ofFile(at(u"source.raw"_s)).value());
    EXPECT_FALSE(zacq.verifyContent().hasError());
    EXPECT_FALSE(Zacq::isSparseZacq(container(), false));
    EXPECT_EQ(entriesOf(at(u"data/file/ab12"_s)), QStringList(u"run.zacq"_s));
}

TEST_F(ZacqTest, fileForm_written_opensAndGivesItsSample)
{
    makeFileForm();
    EXPECT_TRUE(isZacqFile(fileForm(), false));
    EXPECT_TRUE(isZacqFile(fileForm(), true));
    EXPECT_FALSE(Zacq::isSparseZacq(fileForm(), false));
    Zacq zacq(fileForm());
    ASSERT_FALSE(zacq.open(Zacq::Mode::ReadOnly).hasError());
    EXPECT_EQ(zacq.getType(), Zacq::Type::File);
    EXPECT_EQ(zacq.sampleFilePath().error().errorCode(), ErrorCode::FeatureLacking);
    EXPECT_EQ(zacq.metadata().sampleName, u"Run 1"_s);
    EXPECT_FALSE(zacq.verifyContent().hasError());
    ASSERT_FALSE(zacq.extractSample(at(u"out.raw"_s)).hasError());
    EXPECT_EQ(readFile(at(u"out.raw"_s)), content);
    EXPECT_TRUE(zacq.extractSample(at(u"out.raw"_s)).hasError());
}

TEST_F(ZacqTest, fileForm_bytes_areAsDocumented)
{
    makeFileForm();
    const QByteArray bytes = readFile(fileForm());
    EXPECT_TRUE(bytes.startsWith(QByteArray("\x89ZACQ\r\n\x1a", 8)));
    const int length
        = static_cast<unsigned char>(bytes.at(8)) + 256 * static_cast<unsigned char>(bytes.at(9));
    EXPECT_EQ(bytes.mid(10, 2), QByteArray(2, '\0'));
    const QJsonObject manifest = QJsonDocument::fromJson(bytes.mid(12, length)).object();
    EXPECT_EQ(manifest[u"format"_s].toString(), u"zacq"_s);
    EXPECT_EQ(manifest[u"version"_s].toInt(), 1);
    EXPECT_EQ(manifest[u"sample"_s][u"size"_s].toInteger(), content.size());
    EXPECT_EQ(bytes.mid(12 + length), content);
}

TEST_F(ZacqTest, emptySample_bothForms_work)
{
    writeFile(at(u"empty"_s), {});
    ASSERT_FALSE(ZacqWriter::createFile(at(u"f.zacq"_s), at(u"empty"_s), {}).hasError());
    ASSERT_FALSE(ZacqWriter::createFolder(at(u"d.zacq"_s), at(u"empty"_s), u"s"_s, {}).hasError());
    EXPECT_TRUE(isZacqFile(at(u"f.zacq"_s), true));
    EXPECT_TRUE(isZacqFile(at(u"d.zacq"_s), true));
    Zacq zacq(at(u"f.zacq"_s));
    ASSERT_FALSE(zacq.open(Zacq::Mode::ReadOnly).hasError());
    EXPECT_FALSE(zacq.verifyContent().hasError());
}

TEST_F(ZacqTest, isZacqFile_otherThings_areNone)
{
    writeFile(at(u"short.zacq"_s), "\x89ZA");
    writeFile(at(u"text.zacq"_s), "just a text that is long enough");
    writeFile(at(u"empty.zacq"_s), {});
    ASSERT_TRUE(QDir().mkpath(at(u"folder.zacq"_s)));
    ASSERT_TRUE(QDir().mkpath(at(u"trick.zacq/zacq.json"_s)));
    ASSERT_EQ(::mkfifo(QFile::encodeName(at(u"pipe.zacq"_s)).constData(), 0600), 0);
    for (const QString &name :
         { u"short"_s, u"text"_s, u"empty"_s, u"folder"_s, u"trick"_s, u"pipe"_s, u"missing"_s }) {
        const QString path = at(name + u".zacq"_s);
        EXPECT_FALSE(isZacqFile(path, false)) << qPrintable(name);
        EXPECT_FALSE(isZacqFile(path, true)) << qPrintable(name);
        EXPECT_FALSE(Zacq::isSparseZacq(path, false)) << qPrintable(name);
        Zacq zacq(path);
        EXPECT_TRUE(zacq.open(Zacq::Mode::ReadOnly).hasError()) << qPrintable(name);
        EXPECT_EQ(zacq.getType(), Zacq::Type::Unknown);
        EXPECT_FALSE(zacq.sampleFilePath().hasValue());
        EXPECT_EQ(Zacq::remove(path).errorCode(), ErrorCode::BadArgument) << qPrintable(name);
    }
    EXPECT_TRUE(QFileInfo::exists(at(u"trick.zacq/zacq.json"_s)));
    EXPECT_FALSE(isZacqFile(QString(), false));
}

TEST_F(ZacqTest, open_shortenedFile_isBadData)
{
    makeFileForm();
    const QByteArray bytes = readFile(fileForm());
    for (const qsizetype length :
         { qsizetype(8), qsizetype(10), qsizetype(12), qsizetype(40), bytes.size() - 1 }) {
        writeFile(at(u"cut.zacq"_s), bytes.left(length));
        EXPECT_TRUE(isZacqFile(at(u"cut.zacq"_s), false));
        EXPECT_FALSE(isZacqFile(at(u"cut.zacq"_s), true));
        EXPECT_EQ(Zacq(at(u"cut.zacq"_s)).open(Zacq::Mode::ReadOnly).errorCode(),
                  ErrorCode::BadData);
    }
    QByteArray endless = bytes;
    endless.replace(8, 4, QByteArray(4, '\xff'));
    writeFile(at(u"cut.zacq"_s), endless);
    EXPECT_EQ(Zacq(at(u"cut.zacq"_s)).open(Zacq::Mode::ReadOnly).errorCode(), ErrorCode::BadData);
}

TEST_F(ZacqTest, open_versionOfTheFuture_isUnsupported)
{
    makeContainer();
    QJsonObject manifest = manifestAt(container());
    manifest[u"version"_s] = 2;
    writeManifest(container(), manifest);
    EXPECT_EQ(Zacq(container()).open(Zacq::Mode::ReadOnly).errorCode(),
              ErrorCode::UnsupportedContainer);
}

TEST_F(ZacqTest, sampleFilePath_sampleMissingOrShort_isBadData)
{
    makeContainer();
    Zacq zacq(container());
    ASSERT_FALSE(zacq.open(Zacq::Mode::ReadOnly).hasError());
    writeFile(container() + u'/' + samplePath(), content.left(10));
    EXPECT_EQ(zacq.sampleFilePath().error().errorCode(), ErrorCode::BadData);
    ASSERT_TRUE(QFile::remove(container() + u'/' + samplePath()));
    EXPECT_EQ(zacq.sampleFilePath().error().errorCode(), ErrorCode::BadData);
    EXPECT_EQ(zacq.verifyContent().errorCode(), ErrorCode::BadData);
    EXPECT_FALSE(isZacqFile(container(), true));
}

TEST_F(ZacqTest, verifyContent_changedByte_isBadDataInBothForms)
{
    makeContainer();
    makeFileForm();
    QByteArray changed = content;
    changed[100] = '!';
    writeFile(container() + u'/' + samplePath(), changed);
    QByteArray bytes = readFile(fileForm());
    bytes[bytes.size() - 1] = '!';
    writeFile(fileForm(), bytes);
    for (const QString &path : { container(), fileForm() }) {
        Zacq zacq(path);
        ASSERT_FALSE(zacq.open(Zacq::Mode::ReadOnly).hasError());
        EXPECT_EQ(zacq.verifyContent().errorCode(), ErrorCode::BadData);
        EXPECT_EQ(zacq.extractSample(at(u"out.raw"_s)).errorCode(), ErrorCode::BadData);
        EXPECT_FALSE(QFileInfo::exists(at(u"out.raw"_s)));
    }
}

TEST_F(ZacqTest, sampleFilePath_linksInTheContainer_areNotFollowed)
{
    makeContainer();
    writeFile(at(u"outside/run.raw"_s), content);
    ASSERT_TRUE(QFile::remove(container() + u'/' + samplePath()));
    ASSERT_TRUE(QFile::link(at(u"outside/run.raw"_s), container() + u'/' + samplePath()));
    EXPECT_EQ(sampleOf(container()), QString());

    ASSERT_TRUE(QDir(container() + u"/content"_s).removeRecursively());
    ASSERT_TRUE(QDir().mkpath(container() + u"/content"_s));
    ASSERT_TRUE(QFile::link(at(u"outside"_s), container() + u"/content/deep inside"_s));
    EXPECT_EQ(sampleOf(container()), QString());
}

TEST_F(ZacqTest, open_manifestIsALink_isNoContainer)
{
    makeContainer();
    ASSERT_TRUE(QFile::rename(container() + u"/zacq.json"_s, at(u"moved.json"_s)));
    ASSERT_TRUE(QFile::link(at(u"moved.json"_s), container() + u"/zacq.json"_s));
    EXPECT_FALSE(isZacqFile(container(), false));
    EXPECT_EQ(Zacq(container()).open(Zacq::Mode::ReadOnly).errorCode(), ErrorCode::BadData);
}

TEST_F(ZacqTest, sampleFilePath_containerReachedByALink_isSpelledAfterIt)
{
    makeContainer();
    ASSERT_TRUE(QFile::link(container(), at(u"link"_s)));
    EXPECT_EQ(sampleOf(at(u"link"_s)), at(u"link/"_s) + samplePath());
    EXPECT_EQ(sampleOf(container() + u"/../run.zacq/"_s), container() + u'/' + samplePath());
}

TEST_F(ZacqTest, create_existingPathOrUnusableName_failsAndLeavesNothing)
{
    writeFile(at(u"s"_s), "x");
    writeFile(at(u"there"_s), "kept");
    EXPECT_EQ(ZacqWriter::createFile(at(u"there"_s), at(u"s"_s), {}).errorCode(),
              ErrorCode::OperationFailed);
    EXPECT_TRUE(ZacqWriter::createFolder(at(u"there"_s), at(u"s"_s), u"s"_s, {}).hasError());
    for (const QString &path : { u"../s"_s, u"/s"_s, QString(), u"zacq.json"_s, u"a/../b"_s })
        EXPECT_EQ(ZacqWriter::createFolder(at(u"new"_s), at(u"s"_s), path, {}).errorCode(),
                  ErrorCode::BadArgument);
    EXPECT_TRUE(ZacqWriter::createFolder(at(u"new"_s), at(u"missing"_s), u"s"_s, {}).hasError());
    EXPECT_TRUE(ZacqWriter::createFile(at(u"new"_s), at(u"missing"_s), {}).hasError());
    const QString nowhere = at(u"no/folder/new"_s);
    EXPECT_EQ(ZacqWriter::createFile(nowhere, at(u"s"_s), {}).errorCode(),
              ErrorCode::OperationFailed);
    EXPECT_EQ(ZacqWriter::createFolder(nowhere, at(u"s"_s), u"s"_s, {}).errorCode(),
              ErrorCode::OperationFailed);
    EXPECT_EQ(
        ZacqWriter::createFile(at(u"new"_s), at(u"s"_s), QString(2'000'000, u'n')).errorCode(),
        ErrorCode::BadArgument);
    EXPECT_EQ(readFile(at(u"there"_s)), "kept");
    EXPECT_EQ(entriesOf(directory.path()), (QStringList { u"s"_s, u"there"_s }));
}

TEST_F(ZacqTest, create_diskFull_failsAndLeavesNothing)
{
    writeFile(at(u"s"_s), content);
    EXPECT_TRUE(withShortFiles(1000, [&] {
        return ZacqWriter::createFile(at(u"f.zacq"_s), at(u"s"_s), {}).errorCode()
            == ErrorCode::OperationFailed
            && ZacqWriter::createFolder(at(u"d.zacq"_s), at(u"s"_s), u"x"_s, {}).errorCode()
            == ErrorCode::OperationFailed;
    }));
    EXPECT_EQ(entriesOf(directory.path()), QStringList(u"s"_s));
}

TEST_F(ZacqTest, sparseTarget_pathsOfEveryKind_isThatOfTheSparseContainerAlone)
{
    makeSparse();
    ASSERT_TRUE(QFile::link(container(), at(u"link.zacq"_s)));
    EXPECT_EQ(Zacq::sparseTarget(container()), target());
    for (const QString &other :
         { target(), at(u"link.zacq"_s), at(u"source.raw"_s), at(u"missing"_s), QString() })
        EXPECT_EQ(Zacq::sparseTarget(other), QString()) << qPrintable(other);
}

TEST_F(ZacqTest, sparseTarget_damagedOnOneSide_isNone)
{
    makeSparse();
    const QByteArray manifest = readFile(container() + u"/zacq.json"_s);
    writeFile(container() + u"/zacq.json"_s, "{");
    EXPECT_EQ(Zacq::sparseTarget(container()), QString());
    writeFile(container() + u"/zacq.json"_s, manifest);
    EXPECT_EQ(Zacq::sparseTarget(container()), target());
    ASSERT_TRUE(QFile::remove(target() + u"/zacq.json"_s));
    EXPECT_EQ(Zacq::sparseTarget(container()), QString());
}

TEST_F(ZacqTest, sparseTarget_inTheContainerItself_isNone)
{
    // data/zacq is a container that points to what lies in itself, and would be counted twice.
    makeSparse();
    const QString outer = at(u"data/zacq"_s);
    QJsonObject manifest = manifestAt(container());
    manifest[u"sparse"_s]
        = QJsonObject { { u"target"_s, u"../zacq/a1b2c3.zacq"_s }, { u"id"_s, u"1"_s } };
    writeManifest(outer, manifest);
    manifest = manifestAt(target());
    manifest[u"owner"_s] = QJsonObject { { u"path"_s, u"zacq"_s }, { u"id"_s, u"1"_s } };
    writeManifest(target(), manifest);
    EXPECT_TRUE(Zacq::isSparseZacq(outer, true));
    EXPECT_EQ(Zacq::sparseTarget(outer), QString());
}

TEST_F(ZacqTest, manifestSize_folderForms_isThatOfTheFileAndOtherwise0)
{
    makeSparse();
    makeFileForm();
    for (const QString &folder : { container(), target() })
        EXPECT_EQ(Zacq::manifestSize(folder), readFile(folder + u"/zacq.json"_s).size());
    for (const QString &other : { fileForm(), at(u"missing"_s), at(u"data"_s) })
        EXPECT_EQ(Zacq::manifestSize(other), 0) << qPrintable(other);
}

TEST_F(ZacqTest, remove_plainContainers_goAlone)
{
    makeContainer();
    makeFileForm();
    EXPECT_FALSE(Zacq::remove(container()).hasError());
    EXPECT_FALSE(Zacq::remove(fileForm()).hasError());
    EXPECT_FALSE(QFileInfo::exists(container()));
    EXPECT_FALSE(QFileInfo::exists(fileForm()));
    EXPECT_TRUE(QFileInfo::exists(at(u"data/file/ab12"_s)));
    EXPECT_EQ(Zacq::remove(container()).errorCode(), ErrorCode::BadArgument);
}
