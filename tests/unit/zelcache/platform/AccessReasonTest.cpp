#include "platform/AccessReason.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <cerrno>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

class AccessReasonTest : public testing::Test
{
protected:
    AccessReasonTest() { EXPECT_TRUE(QFile(file).open(QIODevice::WriteOnly)); }

    static QString reason(const QString &path, int refusal)
    {
        return u"\"%1\": %2"_s.arg(path, qt_error_string(refusal));
    }

    QTemporaryDir directory;
    const QString file = directory.filePath(u"file"_s);
};

TEST_F(AccessReasonTest, whyUnreadable_nothingThere_namesItAndTheReason)
{
    const QString missing = directory.filePath(u"missing"_s);
    EXPECT_EQ(whyUnreadable(missing), reason(missing, ENOENT));
    EXPECT_EQ(whyUnreadable(file), QString());
}

TEST_F(AccessReasonTest, whyUnwritable_folderThatIsToBeMade_asksTheNearestOneAroundIt)
{
    EXPECT_EQ(whyUnwritable(directory.filePath(u"a/b"_s)), QString());
    EXPECT_EQ(whyUnwritable(file + u"/a/b"_s), reason(file, ENOTDIR));
}

TEST_F(AccessReasonTest, whyNoFile_onlyAFolder_isNone)
{
    EXPECT_EQ(whyNoFile(directory.path()), reason(directory.path(), EISDIR));
    EXPECT_EQ(whyNoFile(file), QString());
    EXPECT_EQ(whyNoFile(file + u"2"_s), QString());
}

TEST_F(AccessReasonTest, whyNotExecutable_fileOrFolder_saysWhat)
{
    EXPECT_EQ(whyNotExecutable(file), qt_error_string(EACCES));
    EXPECT_EQ(whyNotExecutable(directory.path()), qt_error_string(EISDIR));
}

TEST_F(AccessReasonTest, withReason_ofAFailure_isItsLastLine)
{
    const Error failure(ErrorCode::BadData, u"It is broken."_s);
    EXPECT_EQ(withReason(failure, u"the disk"_s).errorMessage(), u"It is broken.\nthe disk"_s);
    EXPECT_EQ(withReason(failure, {}).errorMessage(), u"It is broken."_s);
    EXPECT_EQ(withReason(failure, u"the disk"_s).errorCode(), ErrorCode::BadData);
}

} // namespace zel::cli
