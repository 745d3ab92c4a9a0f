#include "../../unit/foundation/platform/ChildProcess.h"
#include "../../unit/schemes/staging/StagingFixture.h"
#include "FailingStep.h"
#include "Task.h"
#include "files/FileUtilsGeneric.h"
#include "folder/FolderRetrieval.h"
#include "folder/FolderStaging.h"
#include "platform/FreeSpace.h"
#include "share/ShareRetrieval.h"

#include <QFileInfo>

#include <cerrno>
#include <functional>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

constexpr int fewFiles = 1; // brought to the disk one by one
constexpr int manyFiles = 20; // with the whole volume
// So little that room is given back, and enough to begin.
constexpr qint64 volumeBytes = 7ll * 1024 * 1024;

/// The volume takes every byte, and tells only when it is waited for that there was no room: so do
/// file systems that choose the places of bytes late, and quotas.
class LateWantOfSpaceTest : public StagingFixture
{
protected:
    using Fetch = std::function<Error()>;

    /// The fetch fails at the step of that kind and number, and succeeds when it is done again.
    void expectRoomIsGivenBack(const Fetch &fetch, FileStep::Kind kind, int number)
    {
        const auto isRight = withVolumeAt(QFile::encodeName(cache.baseDir()), volumeBytes, [&] {
            for (const int reason : { ENOSPC, EDQUOT })
                failFor(reason, fetch, kind, number);
            const Error again = fetch();
            EXPECT_FALSE(again.hasError()) << again.description().toStdString();
            EXPECT_EQ(FileUtilsGeneric::contentSize(plan.expectedPath), wholeBytes());
            return true;
        });
        if (!isRight)
            GTEST_SKIP() << "no volume can be mounted here";
        EXPECT_TRUE(*isRight);
    }

    /// From a share.
    Error copyFromShare()
    {
        for (int i = 0; i < files; ++i)
            writeFile(share() + u"/file %1"_s.arg(i), content);
        Task task(nullptr);
        return ShareRetrieval(&task, plan, share(), {}).run();
    }
    Error copyFileFromShare()
    {
        writeFile(share(), content);
        Task task(nullptr);
        return ShareRetrieval(&task, plan, share(), {}).run();
    }

    /// From a server, of which all files are here already.
    Error copyFromServer()
    {
        RemoteListing listing;
        for (int i = 0; i < files; ++i) {
            RemoteFile file;
            file.path = u"file %1"_s.arg(i);
            file.size = content.size();
            file.etag = "\"1\"";
            EXPECT_FALSE(listing.addFile(file).hasError());
        }
        stage(listing);
        Task task(nullptr);
        const auto lister = [&](const auto &) -> Result<RemoteListing> {
            return listing;
        };
        return FolderRetrieval(&task, plan, lister, HttpSettings()).run();
    }

    int files = fewFiles;

private:
    void failFor(int reason, const Fetch &fetch, FileStep::Kind kind, int number)
    {
        const QString folder = QFileInfo(cache.baseDir()).canonicalFilePath();
        Error error;
        {
            const FailingStep failing(folder.toStdString(), number, reason,
                                      FailingStep::Lasting::Once, kind);
            error = fetch();
            EXPECT_TRUE(failing.hasFailed());
        }
        EXPECT_EQ(int(error.errorCode()), FreeSpace::lackingCode)
            << error.description().toStdString();
        ASSERT_EQ(places().size(), 1);
        EXPECT_EQ(FileUtilsGeneric::contentSize(StagingFolder::contentPath(places().first())), 0);
    }

    void stage(const RemoteListing &listing)
    {
        FolderStaging staging(open(plan, listing.validator()), listing);
        EXPECT_FALSE(staging.prepare({}).hasError());
        for (const auto &[path, file] : listing.files()) {
            const auto part = staging.openPart(path, u"1"_s);
            ASSERT_TRUE(part.hasValue());
            EXPECT_FALSE(part.value()->append(content.constData(), content.size()).hasError());
            EXPECT_FALSE(staging.finish(file, u"1"_s, {}, {}).hasError());
        }
    }

    QString share() const { return cache.outside(u"share/run.d"_s); }
    qint64 wholeBytes() const { return files * content.size(); }

    const FetchPlan plan = planFor(u"share:/run.d"_s, u"run.d"_s);
    const QByteArray content = QByteArray(64 * 1024, 'x');
};

} // namespace

TEST_F(LateWantOfSpaceTest, shareRetrieval_largeFolder_givesRoomBackAndHasCode7)
{
    files = manyFiles;
    expectRoomIsGivenBack([this] { return copyFromShare(); }, FileStep::Kind::SyncFileSystem, 0);
}

TEST_F(LateWantOfSpaceTest, shareRetrieval_foldersOfASmallFolder_giveRoomBackAndHaveCode7)
{
    // The file is the first to be waited for.
    expectRoomIsGivenBack([this] { return copyFromShare(); }, FileStep::Kind::Sync, 1);
}

TEST_F(LateWantOfSpaceTest, shareRetrieval_folderAroundAFile_givesRoomBackAndHasCode7)
{
    expectRoomIsGivenBack([this] { return copyFileFromShare(); }, FileStep::Kind::Sync, 1);
}

TEST_F(LateWantOfSpaceTest, folderRetrieval_largeFolder_givesRoomBackAndHasCode7)
{
    files = manyFiles;
    expectRoomIsGivenBack([this] { return copyFromServer(); }, FileStep::Kind::SyncFileSystem, 0);
}

TEST_F(LateWantOfSpaceTest, folderRetrieval_fileOfASmallFolder_givesRoomBackAndHasCode7)
{
    expectRoomIsGivenBack([this] { return copyFromServer(); }, FileStep::Kind::Sync, 0);
}

TEST_F(LateWantOfSpaceTest, folderRetrieval_folderOfASmallFolder_givesRoomBackAndHasCode7)
{
    expectRoomIsGivenBack([this] { return copyFromServer(); }, FileStep::Kind::Sync, 1);
}

} // namespace zel
