#include "platform/TreeCopy.h"

#include "SyncStarts.h"
#include "TemporaryCache.h"

#include <QTemporaryDir>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

// Or the disk idles while the file is copied, and the copy idles while the disk works.
TEST(FileCopyCostTest, copyFile_large_theDiskBeginsWithEachPieceMeanwhile)
{
    const QTemporaryDir directory;
    const QString source = directory.filePath(u"source"_s);
    constexpr qsizetype size = 9'000'000;
    writeFile(source, QByteArray(size, 'x'));

    startRecordingSyncStarts();
    const Error error = TreeCopy::copyFile(source, directory.filePath(u"copy"_s), {}, {});
    const std::vector<SyncStart> starts = stopRecordingSyncStarts();

    ASSERT_FALSE(error.hasError()) << error.description().toStdString();
    int64_t begun = 0;
    for (const SyncStart &start : starts) {
        EXPECT_EQ(start.offset, begun);
        begun += start.count;
    }
    EXPECT_EQ(begun, size);
}
