#include "platform/TreeCopyFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

using TreeCopyTest = TreeCopyFixture;

TEST_F(TreeCopyTest, copyTree_nestedTree_arrivesWhole)
{
    const QByteArray big = manyBytes(9'000'001);
    writeFile(at(u"s/big"_s), big);
    writeFile(at(u"s/empty"_s), {});
    writeFile(at(u"s/a/b/c/d"_s), "deep");
    ASSERT_TRUE(QDir().mkpath(at(u"s/none"_s)));
    ASSERT_FALSE(copy().hasError());
    EXPECT_TRUE(readFile(at(u"t/big"_s)) == big);
    EXPECT_EQ(readFile(at(u"t/empty"_s)), "");
    EXPECT_EQ(readFile(at(u"t/a/b/c/d"_s)), "deep");
    EXPECT_TRUE(QFileInfo(at(u"t/none"_s)).isDir());
    EXPECT_EQ(
        QDir(at(u"t"_s)).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(),
        4);
}

TEST_F(TreeCopyTest, copyTree_timesAndRights_areKeptButWritable)
{
    writeFile(at(u"s/a/file"_s), "x");
    writeFile(at(u"s/run"_s), "x");
    setTime(u"s/a/file"_s, 1'000'000'000);
    setTime(u"s/a"_s, 1'100'000'000);
    ASSERT_EQ(::chmod(bytesAt(u"s/a/file"_s).constData(), 0444), 0);
    ASSERT_EQ(::chmod(bytesAt(u"s/run"_s).constData(), 04711), 0);
    ASSERT_EQ(::chmod(bytesAt(u"s/a"_s).constData(), 0555), 0);
    setTime(u"s"_s, 1'200'000'000);
    ASSERT_FALSE(copy().hasError());

    EXPECT_EQ(timeOf(u"t/a/file"_s), std::pair(time_t(1'000'000'000), 123456789L));
    EXPECT_EQ(timeOf(u"t/a"_s), std::pair(time_t(1'100'000'000), 123456789L));
    EXPECT_EQ(timeOf(u"t"_s).first, 1'200'000'000);
    const mode_t mask = ::umask(0);
    ::umask(mask);
    EXPECT_EQ(modeOf(u"t/a/file"_s), 0644 & ~mask);
    EXPECT_EQ(modeOf(u"t/a"_s), 0755 & ~mask);
    EXPECT_EQ(modeOf(u"t/run"_s), 0711 & ~mask);
    ::chmod(bytesAt(u"s/a"_s).constData(), 0755);
}

TEST_F(TreeCopyTest, copyTree_oddNames_areCopiedByteForByte)
{
    writeFile(at(u"s/"_s + QString(255, u'n')), "long");
    writeFile(at(u"s/new\nline"_s), "line");
    ASSERT_EQ(::mkdir((bytesAt(u"s"_s) + "/\xff dir").constData(), 0755), 0);
    FILE *file = ::fopen((bytesAt(u"s"_s) + "/\xff dir/\xfe file").constData(), "w");
    ASSERT_NE(file, nullptr);
    ::fputs("odd", file);
    ::fclose(file);
    ASSERT_FALSE(copy().hasError());
    EXPECT_EQ(readFile(at(u"t/"_s + QString(255, u'n'))), "long");
    EXPECT_EQ(readFile(at(u"t/new\nline"_s)), "line");
    EXPECT_EQ(::access((bytesAt(u"t"_s) + "/\xff dir/\xfe file").constData(), R_OK), 0);
}

TEST_F(TreeCopyTest, copyTree_pathLongerThanTheSystemTakes_isCopied)
{
    // 40 levels of 200 characters: only a walk from folder to folder gets there.
    const QString before = QDir::currentPath();
    ASSERT_TRUE(QDir().mkpath(at(u"s"_s)));
    ASSERT_TRUE(inChild([&] {
        const QByteArray level(200, 'd');
        bool isMade = ::chdir(bytesAt(u"s"_s).constData()) == 0;
        for (int i = 0; i < 40; ++i)
            isMade = isMade && ::mkdir(level.constData(), 0755) == 0
                && ::chdir(level.constData()) == 0;
        return isMade && ::symlink("x", "bottom") == 0;
    }));
    EXPECT_FALSE(copy().hasError());
    EXPECT_TRUE(inChild([&] {
        const QByteArray level(200, 'd');
        bool isThere = ::chdir(bytesAt(u"t"_s).constData()) == 0;
        for (int i = 0; i < 40; ++i)
            isThere = isThere && ::chdir(level.constData()) == 0;
        char text[8];
        return isThere && ::readlink("bottom", text, sizeof text) == 1;
    }));
}

TEST_F(TreeCopyTest, copyTree_links_insideAreKeptOthersLeftOutWithWarnings)
{
    writeFile(at(u"s/a/file"_s), "x");
    writeFile(at(u"secret"_s), "secret");
    const QByteArray top = bytesAt(u"secret"_s);
    link("file", u"s/a/near"_s);
    link("../a/file", u"s/a/up"_s);
    link(".", u"s/self"_s);
    link("gone", u"s/dangling"_s);
    link("../secret", u"s/out"_s);
    link("../../secret", u"s/a/out"_s);
    link("a/../../secret", u"s/sly"_s); // leads out once "a" is a link itself
    link(top, u"s/absolute"_s);

    QStringList skipped;
    TreeCopy::Options options;
    options.skipped = [&](const QString &path) {
        skipped.append(path);
    };
    const Error error = TreeCopy::copyTree(at(u"s"_s), at(u"t"_s), options);
    ASSERT_FALSE(error.hasError());
    EXPECT_EQ(linkText(u"t/a/near"_s), "file");
    EXPECT_EQ(linkText(u"t/a/up"_s), "../a/file");
    EXPECT_EQ(linkText(u"t/self"_s), ".");
    EXPECT_EQ(linkText(u"t/dangling"_s), "gone");
    const QStringList out { at(u"s/out"_s), at(u"s/a/out"_s), at(u"s/sly"_s), at(u"s/absolute"_s) };
    EXPECT_THAT(skipped, testing::UnorderedElementsAreArray(out));
    EXPECT_EQ(error.warnings().size(), out.size());
    for (const QString &path : out)
        EXPECT_TRUE(error.warnings().join(u'\n').contains(path)) << qPrintable(path);
    EXPECT_EQ(
        QDir(at(u"t"_s)).entryList(QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot).size(),
        3);
}

TEST_F(TreeCopyTest, copyTree_manyStrayLinks_areSummedUp)
{
    ASSERT_TRUE(QDir().mkpath(at(u"s"_s)));
    for (int i = 0; i < 50; ++i)
        link("/nowhere", u"s/%1"_s.arg(i));
    const Error error = copy();
    EXPECT_FALSE(error.hasError());
    ASSERT_EQ(error.warnings().size(), 21);
    EXPECT_TRUE(error.warnings().last().contains(u"30"_s));
}

TEST_F(TreeCopyTest, copyTree_pipe_isLeftOutAndDoesNotBlock)
{
    writeFile(at(u"s/file"_s), "x");
    ASSERT_EQ(::mkfifo(bytesAt(u"s/pipe"_s).constData(), 0600), 0);
    const Error error = copy();
    EXPECT_FALSE(error.hasError());
    EXPECT_EQ(error.warnings().size(), 1);
    EXPECT_FALSE(QFileInfo::exists(at(u"t/pipe"_s)));
    EXPECT_TRUE(QFileInfo::exists(at(u"t/file"_s)));
}

TEST_F(TreeCopyTest, copyTree_sourceIsLinkToFolder_copiesTheFolder)
{
    writeFile(at(u"real/file"_s), "x");
    link("real", u"s"_s);
    EXPECT_FALSE(copy().hasError());
    EXPECT_EQ(readFile(at(u"t/file"_s)), "x");
    EXPECT_FALSE(QFileInfo(at(u"t"_s)).isSymLink());
}

TEST_F(TreeCopyTest, copyTree_targetHoldsLinks_nothingIsWrittenThroughThem)
{
    writeFile(at(u"s/file"_s), "new");
    writeFile(at(u"s/folder/inner"_s), "new");
    writeFile(at(u"victim/file"_s), "kept");
    ASSERT_TRUE(QDir().mkpath(at(u"t"_s)));
    link(bytesAt(u"victim/file"_s), u"t/file"_s);
    EXPECT_FALSE(TreeCopy::copyFile(at(u"s/file"_s), at(u"t/file"_s), replacing()).hasError());
    EXPECT_EQ(readFile(at(u"victim/file"_s)), "kept");
    EXPECT_FALSE(QFileInfo(at(u"t/file"_s)).isSymLink());

    link(bytesAt(u"victim"_s), u"t/folder"_s);
    const Error error = TreeCopy::copyTree(at(u"s"_s), at(u"t"_s), replacing());
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(at(u"t/folder"_s)));
    EXPECT_FALSE(QFileInfo::exists(at(u"victim/inner"_s)));
}

TEST_F(TreeCopyTest, copyTree_duplicateFile_failsOrReplaces)
{
    writeFile(at(u"s/file"_s), "new");
    writeFile(at(u"t/file"_s), "former, longer");
    const Error error = copy();
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(at(u"t/file"_s)));
    EXPECT_EQ(readFile(at(u"t/file"_s)), "former, longer");
    EXPECT_FALSE(TreeCopy::copyTree(at(u"s"_s), at(u"t"_s), replacing()).hasError());
    EXPECT_EQ(readFile(at(u"t/file"_s)), "new");
}

TEST_F(TreeCopyTest, copyTree_intoItself_isBadArgumentAndLeavesNothing)
{
    writeFile(at(u"s/a/file"_s), "x");
    link("s/a", u"byLink"_s);
    for (const QString &target :
         { at(u"s"_s), at(u"s/new"_s), at(u"s/a/new"_s), at(u"byLink/new"_s) }) {
        const Error error = TreeCopy::copyTree(at(u"s"_s), target, {});
        EXPECT_EQ(error.errorCode(), ErrorCode::BadArgument) << qPrintable(target);
    }
    EXPECT_EQ(QDir(at(u"s"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
    EXPECT_EQ(QDir(at(u"s/a"_s)).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
    EXPECT_FALSE(TreeCopy::copyTree(at(u"s/a"_s), at(u"s/b"_s), {}).hasError());
}

TEST_F(TreeCopyTest, copyTree_missingSourceOrParent_failsAndNamesThePath)
{
    Error error = copy();
    EXPECT_EQ(error.errorCode(), ErrorCode::OperationFailed);
    EXPECT_TRUE(error.errorMessage().contains(at(u"s"_s)));
    writeFile(at(u"s"_s), "a file");
    EXPECT_TRUE(copy().hasError());
    ASSERT_TRUE(QDir().mkpath(at(u"f"_s)));
    error = TreeCopy::copyTree(at(u"f"_s), at(u"no/parent"_s), {});
    EXPECT_TRUE(error.errorMessage().contains(at(u"no/parent"_s)));
}

TEST_F(TreeCopyTest, copyTree_progress_reportsGrowingBytesUpToTheSum)
{
    writeFile(at(u"s/a"_s), QByteArray(10'000'000, 'a'));
    writeFile(at(u"s/b/c"_s), QByteArray(5, 'b'));
    qint64 last = 0;
    const Error error = TreeCopy::copyTree(at(u"s"_s), at(u"t"_s), {}, [&](qint64 bytes) {
        EXPECT_GE(bytes, last);
        last = bytes;
        return true;
    });
    EXPECT_FALSE(error.hasError());
    EXPECT_EQ(last, 10'000'005);
}

TEST_F(TreeCopyTest, copyTree_progressRefused_isCanceledWithoutAMessage)
{
    for (const char *name : { "1", "2", "3", "4" })
        writeFile(at(u"s/"_s + QString::fromLatin1(name)), "1234");
    for (int refusal = 0; refusal < 8; ++refusal) {
        int calls = 0;
        const QString target = at(u"t%1"_s.arg(refusal));
        const Error error
            = TreeCopy::copyTree(at(u"s"_s), target, {}, [&](qint64) { return calls++ < refusal; });
        EXPECT_EQ(error.errorCode(), ErrorCode::Canceled);
        EXPECT_EQ(error.errorMessage(), QString());
        EXPECT_EQ(calls, refusal + 1);
    }
}

TEST_F(TreeCopyTest, copyTree_diskFull_failsAndNamesTheFile)
{
    writeFile(at(u"s/a/big"_s), manyBytes(3'000'000));
    EXPECT_TRUE(withShortFiles(1'000'000,
                               [&] { return copy().errorMessage().contains(at(u"s/a/big"_s)); }));
    EXPECT_FALSE(QFileInfo::exists(at(u"t/a/big"_s)));
}

TEST_F(TreeCopyTest, copyTree_volumeFull_failsAndNamesTheFile)
{
    writeFile(at(u"s/a/small"_s), "x");
    writeFile(at(u"s/b/big"_s), manyBytes(3'000'000));
    ASSERT_TRUE(QDir().mkpath(at(u"t"_s)));
    const auto isTold = withVolumeAt(bytesAt(u"t"_s), 1'000'000, [&] {
        const Error error = copy();
        const QString text = error.errorMessage();
        return int(error.errorCode()) == 7 && text.contains(at(u"t/b/big"_s))
            && text.contains(u"space"_s) && !QFileInfo::exists(at(u"t/b/big"_s));
    });
    if (!isTold)
        GTEST_SKIP() << "no volume can be mounted here";
    EXPECT_TRUE(*isTold);
}

TEST_F(TreeCopyTest, copyTree_toAnotherVolume_arrivesWhole)
{
    const QByteArray big = manyBytes(9'000'001);
    writeFile(at(u"s/a/big"_s), big);
    ASSERT_TRUE(QDir().mkpath(at(u"t"_s)));
    const auto isWhole = withVolumeAt(bytesAt(u"t"_s), 50'000'000, [&] {
        return !copy().hasError() && readFile(at(u"t/a/big"_s)) == big;
    });
    if (!isWhole)
        GTEST_SKIP() << "no volume can be mounted here";
    EXPECT_TRUE(*isWhole);
}

TEST_F(TreeCopyTest, copyTree_readOnlyTarget_failsAndNamesIt)
{
    writeFile(at(u"s/file"_s), "x");
    ASSERT_TRUE(QDir().mkpath(at(u"t"_s)));
    ASSERT_EQ(::chmod(bytesAt(u"t"_s).constData(), 0555), 0);
    EXPECT_TRUE(asOrdinaryUser(bytesAt(u"."_s),
                               [&] { return copy().errorMessage().contains(at(u"t/file"_s)); }));
}

TEST_F(TreeCopyTest, copyTree_unreadableFile_failsAndNamesIt)
{
    writeFile(at(u"s/locked"_s), "x");
    ASSERT_EQ(::chmod(bytesAt(u"s/locked"_s).constData(), 0000), 0);
    EXPECT_TRUE(asOrdinaryUser(bytesAt(u"."_s), [&] {
        const Error error = copy();
        return error.errorCode() == ErrorCode::OperationFailed
            && error.errorMessage().contains(at(u"s/locked"_s));
    }));
}
