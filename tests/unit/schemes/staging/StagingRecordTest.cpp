#include "staging/StagingRecord.h"

#include "TemporaryCache.h"
#include "staging/StagingFolder.h"

#include <sys/stat.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

StagingRecord someRecord()
{
    StagingRecord record;
    record.displayText = u"share:/a b"_s;
    record.referenceKey = u"share:/a%20b"_s;
    record.validator = u"\"etag\""_s;
    record.process = ProcessIdentity::current();
    record.bytes = 9007199254740993; // not exact as a number of JSON
    record.totalBytes = 80'000'000'000'000'001;
    record.bytesPerSecond = 123;
    record.durableBytes = 77;
    record.started = QDateTime::fromMSecsSinceEpoch(1'700'000'000'123, Qt::UTC);
    record.updated = record.started.addMSecs(5);
    return record;
}

class StagingRecordTest : public ::testing::Test
{
protected:
    QString path() const { return directory.filePath(u"record.json"_s); }

    QTemporaryDir directory;
};

} // namespace

TEST_F(StagingRecordTest, write_thenRead_givesTheSame)
{
    const StagingRecord record = someRecord();
    ASSERT_FALSE(record.write(path()).hasError());
    const auto read = StagingRecord::read(path());
    ASSERT_TRUE(read.hasValue());
    EXPECT_EQ(read.value().displayText, record.displayText);
    EXPECT_EQ(read.value().referenceKey, record.referenceKey);
    EXPECT_EQ(read.value().validator, record.validator);
    EXPECT_EQ(read.value().process, record.process);
    EXPECT_EQ(read.value().bytes, record.bytes);
    EXPECT_EQ(read.value().totalBytes, record.totalBytes);
    EXPECT_EQ(read.value().bytesPerSecond, record.bytesPerSecond);
    EXPECT_EQ(read.value().durableBytes, record.durableBytes);
    EXPECT_EQ(read.value().started, record.started);
    EXPECT_EQ(read.value().updated, record.updated);
}

TEST_F(StagingRecordTest, write_unknownTotal_staysUnknown)
{
    StagingRecord record = someRecord();
    record.totalBytes.reset();
    ASSERT_FALSE(record.write(path()).hasError());
    EXPECT_EQ(StagingRecord::read(path()).value().totalBytes, std::nullopt);
}

TEST_F(StagingRecordTest, writeDurably_thenRead_givesTheSame)
{
    ASSERT_FALSE(someRecord().writeDurably(path()).hasError());
    EXPECT_EQ(StagingRecord::read(path()).value().bytes, someRecord().bytes);
    EXPECT_TRUE(someRecord().writeDurably(directory.filePath(u"no/record"_s)).hasError());
}

TEST_F(StagingRecordTest, write_again_leavesOneFile)
{
    ASSERT_FALSE(someRecord().write(path()).hasError());
    ASSERT_FALSE(someRecord().writeDurably(path()).hasError());
    ASSERT_FALSE(someRecord().write(path()).hasError());
    EXPECT_EQ(QDir(directory.path()).entryList(QDir::Files), QStringList { u"record.json"_s });
}

TEST_F(StagingRecordTest, read_missing_hasCode1)
{
    EXPECT_EQ(StagingRecord::read(path()).error().errorCode(), ErrorCode::OperationFailed);
}

TEST_F(StagingRecordTest, read_noRecord_hasCode4)
{
    for (const char *content : { "", "{", "[]", "{}", "\xff\xfe" }) {
        writeFile(path(), content);
        EXPECT_EQ(StagingRecord::read(path()).error().errorCode(), ErrorCode::BadData) << content;
    }
}

TEST_F(StagingRecordTest, read_numberThatNoTransferHas_hasCode4)
{
    for (const char *member : { "bytes", "total", "rate", "durable" }) {
        for (const char *value : { "-1", "-9223372036854775808" }) {
            writeFile(path(), QByteArray("{\"key\":\"a:b\",\"") + member + "\":\"" + value + "\"}");
            EXPECT_EQ(StagingRecord::read(path()).error().errorCode(), ErrorCode::BadData)
                << member << ' ' << value;
        }
    }
}

// Whoever waits for one hangs.
TEST_F(StagingRecordTest, read_pipe_hasCode1AtOnce)
{
    ASSERT_EQ(::mkfifo(QFile::encodeName(path()).constData(), 0600), 0);
    EXPECT_EQ(StagingRecord::read(path()).error().errorCode(), ErrorCode::OperationFailed);
}

TEST_F(StagingRecordTest, read_linkToAnEndlessFile_hasCode1)
{
    ASSERT_TRUE(QFile::link(u"/dev/zero"_s, path()));
    EXPECT_EQ(StagingRecord::read(path()).error().errorCode(), ErrorCode::OperationFailed);
}

TEST_F(StagingRecordTest, read_tooBig_hasCode4)
{
    writeFile(path(), "{\"key\":\"a:b\"}" + QByteArray(1024 * 1024, ' '));
    EXPECT_EQ(StagingRecord::read(path()).error().errorCode(), ErrorCode::BadData);
}

TEST_F(StagingRecordTest, isBeingWritten_byAProcessThatIsGone_isFalse)
{
    StagingRecord record = someRecord();
    EXPECT_TRUE(record.isBeingWritten());
    record.process.startTime += 1; // the number came again
    EXPECT_FALSE(record.isBeingWritten());
    record = someRecord();
    record.process.bootId = u"of yesterday"_s;
    EXPECT_FALSE(record.isBeingWritten());
    EXPECT_FALSE(StagingRecord().isBeingWritten());
}

TEST_F(StagingRecordTest, readAll_givesTheNewestFirst)
{
    const QString dataDir = directory.filePath(u"Cache"_s);
    const QString staging = StagingFolder::stagingDirectoryFor(dataDir);
    for (int i = 0; i < 3; ++i) {
        StagingRecord record = someRecord();
        record.referenceKey = QString::number(i);
        record.updated = record.updated.addSecs(i == 1 ? 10 : i);
        ASSERT_TRUE(QDir().mkpath(staging + u'/' + record.referenceKey));
        ASSERT_FALSE(record.write(StagingFolder::recordPath(staging + u'/' + record.referenceKey))
                         .hasError());
    }
    ASSERT_TRUE(QDir().mkpath(staging + u"/without a record"_s));

    QStringList keys;
    const QList<StagingRecord> records = StagingRecord::readAll(dataDir);
    for (const StagingRecord &record : records)
        keys << record.referenceKey;
    EXPECT_EQ(keys, (QStringList { u"1"_s, u"2"_s, u"0"_s }));
}
