#include "platform/VolumeMove.h"

#include "FileSteps.h"
#include "TemporaryCache.h"
#include "Volumes.h"

#include <cerrno>
#include <functional>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// A volume that knows no renaming with conditions; something comes in at the last moment.
class PoorVolume final : public FileStepWatcher
{
public:
    explicit PoorVolume(bool hasLinks, std::function<void()> comeIn = {})
        : hasLinks(hasLinks)
        , comeIn(std::move(comeIn))
    {
        watchFileSteps(this);
    }
    PoorVolume(const PoorVolume &) = delete;
    PoorVolume &operator=(const PoorVolume &) = delete;
    ~PoorVolume() override { watchFileSteps(nullptr); }

private:
    int before(const FileStep &step) override
    {
        if (step.kind == FileStep::Kind::Rename && step.flags != 0)
            return EINVAL;
        const bool isSecondName = step.kind == FileStep::Kind::Link && step.path;
        if (isSecondName && comeIn)
            comeIn();
        return isSecondName && !hasLinks ? EPERM : 0;
    }

    const bool hasLinks;
    const std::function<void()> comeIn;
};

class VolumeMoveTest : public ::testing::Test
{
protected:
    /// File and folder move to a free place, but not to one that is taken.
    void expectMovesToFreePlacesOnly()
    {
        write(u"file"_s, "file");
        write(u"folder/x"_s, "x");
        EXPECT_TRUE(VolumeMove::moveIfFree(native(u"file"_s), native(u"file2"_s)).value());
        EXPECT_TRUE(VolumeMove::moveIfFree(native(u"folder"_s), native(u"folder2"_s)).value());
        EXPECT_EQ(content(u"file2"_s), "file");
        EXPECT_EQ(content(u"folder2/x"_s), "x");
        EXPECT_FALSE(QFileInfo::exists(directory.filePath(u"file"_s)));
        EXPECT_FALSE(QFileInfo::exists(directory.filePath(u"folder"_s)));

        write(u"taken"_s, "taken");
        EXPECT_TRUE(QDir(directory.path()).mkpath(u"empty"_s));
        EXPECT_TRUE(QFile::link(u"nowhere"_s, directory.filePath(u"link"_s)));
        EXPECT_FALSE(VolumeMove::moveIfFree(native(u"file2"_s), native(u"taken"_s)).value());
        EXPECT_FALSE(VolumeMove::moveIfFree(native(u"file2"_s), native(u"link"_s)).value());
        EXPECT_FALSE(VolumeMove::moveIfFree(native(u"folder2"_s), native(u"empty"_s)).value());
        EXPECT_EQ(content(u"taken"_s), "taken");
        EXPECT_EQ(content(u"file2"_s), "file");
        EXPECT_EQ(content(u"folder2/x"_s), "x");
    }

    std::filesystem::path native(const QString &name) const
    {
        return directory.filePath(name).toStdString();
    }
    QByteArray content(const QString &name) const { return readFile(directory.filePath(name)); }
    void write(const QString &name, const QByteArray &bytes)
    {
        writeFile(directory.filePath(name), bytes);
    }

    QTemporaryDir directory;
};

} // namespace

TEST_F(VolumeMoveTest, move_overAFile_replacesIt)
{
    write(u"a"_s, "a");
    write(u"b"_s, "b");
    EXPECT_TRUE(VolumeMove::move(native(u"a"_s), native(u"b"_s)).value());
    EXPECT_EQ(content(u"b"_s), "a");
    EXPECT_FALSE(QFileInfo::exists(directory.filePath(u"a"_s)));
}

TEST_F(VolumeMoveTest, move_overAFullFolder_failsAndNamesBoth)
{
    write(u"a/x"_s, "a");
    write(u"b/y"_s, "b");
    const auto moved = VolumeMove::move(native(u"a"_s), native(u"b"_s));
    ASSERT_FALSE(moved.hasValue());
    EXPECT_TRUE(moved.error().errorMessage().contains(directory.filePath(u"a"_s)));
    EXPECT_TRUE(moved.error().errorMessage().contains(directory.filePath(u"b"_s)));
}

TEST_F(VolumeMoveTest, moveIfFree_takenPlace_isToldAndNothingIsDone)
{
    expectMovesToFreePlacesOnly();
}

TEST_F(VolumeMoveTest, moveIfFree_volumeWithoutIt_doesTheSame)
{
    for (const bool hasLinks : { true, false }) {
        directory = QTemporaryDir();
        const PoorVolume volume(hasLinks);
        expectMovesToFreePlacesOnly();
    }
}

TEST_F(VolumeMoveTest, moveIfFree_fileComesInOnAVolumeWithoutIt_isNotReplaced)
{
    write(u"a"_s, "a");
    const PoorVolume volume(true, [this] { write(u"b"_s, "b"); });
    EXPECT_FALSE(VolumeMove::moveIfFree(native(u"a"_s), native(u"b"_s)).value());
    EXPECT_EQ(content(u"a"_s), "a");
    EXPECT_EQ(content(u"b"_s), "b");
}

TEST_F(VolumeMoveTest, moveIfFree_nothingToMove_failsAndNamesBoth)
{
    const auto moved = VolumeMove::moveIfFree(native(u"a"_s), native(u"b"_s));
    ASSERT_FALSE(moved.hasValue());
    EXPECT_TRUE(moved.error().errorMessage().contains(directory.filePath(u"a"_s)));
    EXPECT_TRUE(moved.error().errorMessage().contains(directory.filePath(u"b"_s)));
}

TEST_F(VolumeMoveTest, exchange_fileAndFolder_changePlaces)
{
    write(u"a"_s, "a");
    write(u"b/y"_s, "b");
    const auto exchanged = VolumeMove::exchange(native(u"a"_s), native(u"b"_s));
    ASSERT_TRUE(exchanged.hasValue());
    if (!exchanged.value())
        GTEST_SKIP() << "this volume cannot do that";
    EXPECT_EQ(content(u"b"_s), "a");
    EXPECT_EQ(content(u"a/y"_s), "b");
}

TEST_F(VolumeMoveTest, exchange_withNothing_fails)
{
    write(u"a"_s, "a");
    EXPECT_FALSE(VolumeMove::exchange(native(u"a"_s), native(u"missing"_s)).hasValue());
    EXPECT_EQ(content(u"a"_s), "a");
}

TEST_F(VolumeMoveTest, otherVolume_isToldAndNothingIsDone)
{
    const QTemporaryDir other(u"/dev/shm/zel-move-XXXXXX"_s);
    if (!areOnTwoVolumes(other.path(), directory.path()))
        GTEST_SKIP() << "no second volume to write to";
    write(u"a"_s, "a");
    writeFile(other.filePath(u"b"_s), "b");
    const std::filesystem::path there = other.filePath(u"b"_s).toStdString();
    EXPECT_FALSE(VolumeMove::move(native(u"a"_s), there).value());
    EXPECT_FALSE(VolumeMove::exchange(native(u"a"_s), there).value());
    EXPECT_EQ(content(u"a"_s), "a");
    EXPECT_EQ(readFile(other.filePath(u"b"_s)), "b");
}
