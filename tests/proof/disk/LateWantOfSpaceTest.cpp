#include "../../unit/schemes/staging/StagingFixture.h"
#include "FailingStep.h"
#include "Task.h"
#include "files/FileUtilsGeneric.h"
#include "folder/FolderRetrieval.h"
#include "folder/FolderStaging.h"
#include "http/HttpStagingSink.h"
#include "platform/ChildProcess.h"
#include "platform/FreeSpace.h"
#include "share/ShareRetrieval.h"

#include <QDirIterator>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <functional>
#include <map>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;
using namespace zel::test;

constexpr int fewFiles = 1; // brought to the disk one by one
constexpr int manyFiles = 20; // with the whole volume
// So little that room is given back, and enough to begin.
constexpr qint64 volumeBytes = 7ll * 1024 * 1024;

/// The volume takes every byte, and tells only when it is waited for that there was no room: so do
/// file systems that choose the places of bytes late, and quotas. What it had no room for is gone
/// then, though files have their length, and no later sync tells so again.
class LateWantOfSpaceTest : public StagingFixture
{
protected:
    using Fetch = std::function<Error()>;

    /// The fetch fails at the step of that kind and number, and succeeds when it is done again.
    void expectRoomIsGivenBack(const Fetch &fetch, FileStep::Kind kind, int number)
    {
        const auto isRight = withVolumeAt(QFile::encodeName(cache.baseDir()), volumeBytes, [&] {
            for (const int reason : { ENOSPC, EDQUOT })
                expectNothingIsLeft(failFor(reason, fetch, kind, number));
            expectSuccess(fetch);
            return !HasFailure();
        });
        if (!isRight)
            GTEST_SKIP() << "no volume can be mounted here";
        EXPECT_TRUE(*isRight);
    }

    /// The same where there is room for everything. Meanwhile what is staged gets other bytes, of
    /// which none may arrive.
    void expectNothingIsGoneOnFrom(const Fetch &fetch, FileStep::Kind kind, int number)
    {
        for (const int reason : { ENOSPC, EDQUOT, EIO }) {
            EXPECT_TRUE(failFor(reason, fetch, kind, number).hasError());
            loseStagedBytes();
        }
        expectSuccess(fetch);
    }

    /// From a share, which does not change.
    Error copyFromShare()
    {
        for (int i = 0; i < files && !QFileInfo::exists(fileOf(share(), i)); ++i)
            writeFile(fileOf(share(), i), content);
        Task task(nullptr);
        return ShareRetrieval(&task, plan, share(), {}).run();
    }
    Error copyFileFromShare()
    {
        files = 0;
        if (!QFileInfo::exists(share()))
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
            file.path = nameOf(i);
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
    /// A server that goes on from what is here.
    Error copyFileFromServer()
    {
        files = 0;
        Task task(nullptr);
        HttpStagingSink sink(plan, &task);
        HttpRepresentation state;
        state.size = content.size();
        state.etag = "\"1\"";
        const Result<qint64> present = sink.open(state);
        EXPECT_TRUE(present.hasValue());
        EXPECT_FALSE(sink.write(content.mid(present.value())).hasError());
        Error error = sink.publish();
        if (error.hasError())
            sink.giveUp(error);
        return error;
    }

    int files = fewFiles; ///< 0: the resource is a file

private:
    Error failFor(int reason, const Fetch &fetch, FileStep::Kind kind, int number)
    {
        const QString folder = QFileInfo(cache.baseDir()).canonicalFilePath();
        const FailingStep failing(folder.toStdString(), number, reason, FailingStep::Lasting::Once,
                                  kind);
        Error error = fetch();
        EXPECT_TRUE(failing.hasFailed());
        return error;
    }
    void expectNothingIsLeft(const Error &error)
    {
        EXPECT_EQ(int(error.errorCode()), FreeSpace::lackingCode)
            << error.description().toStdString();
        ASSERT_EQ(places().size(), 1);
        EXPECT_EQ(FileUtilsGeneric::contentSize(StagingFolder::contentPath(places().first())), 0);
    }

    void loseStagedBytes()
    {
        for (const QString &place : places()) {
            QDirIterator staged(StagingFolder::contentPath(place), QDir::Files,
                                QDirIterator::Subdirectories);
            while (staged.hasNext()) {
                const QString path = staged.next();
                writeFile(path, QByteArray(QFileInfo(path).size(), '\0'));
            }
        }
    }
    void expectSuccess(const Fetch &fetch)
    {
        const Error error = fetch();
        EXPECT_FALSE(error.hasError()) << error.description().toStdString();
        EXPECT_EQ(FileUtilsGeneric::contentSize(plan.expectedPath), wholeBytes());
        for (int i = 0; i < files; ++i)
            EXPECT_TRUE(readFile(fileOf(plan.expectedPath, i)) == content) << i;
        EXPECT_TRUE(files > 0 || readFile(plan.expectedPath) == content);
    }

    /// Takes what is here as it is.
    void stage(const RemoteListing &listing)
    {
        FolderStaging staging(open(plan, listing.validator()), listing);
        std::map<QString, qint64> sizes;
        for (const auto &[path, file] : listing.files())
            sizes[path] = content.size();
        EXPECT_FALSE(staging.prepare(sizes).hasError());
        for (const auto &[path, file] : listing.files()) {
            if (staging.wholeSize(path) == content.size())
                continue;
            const auto part = staging.openPart(path, u"1"_s);
            ASSERT_TRUE(part.hasValue());
            EXPECT_FALSE(part.value()->append(content.constData(), content.size()).hasError());
            EXPECT_FALSE(staging.finish(file, u"1"_s, {}, {}).hasError());
        }
    }

    QString share() const { return cache.outside(u"share/run.d"_s); }
    qint64 wholeBytes() const { return std::max(files, 1) * content.size(); }
    static QString nameOf(int file) { return u"file %1"_s.arg(file); }
    static QString fileOf(const QString &folder, int file) { return folder + u'/' + nameOf(file); }

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

TEST_F(LateWantOfSpaceTest, shareRetrieval_largeFolderCannotBeSynced_nothingIsGoneOnFrom)
{
    files = manyFiles;
    expectNothingIsGoneOnFrom([this] { return copyFromShare(); }, FileStep::Kind::SyncFileSystem,
                              0);
}

TEST_F(LateWantOfSpaceTest, shareRetrieval_fileOfASmallFolderCannotBeSynced_nothingIsGoneOnFrom)
{
    expectNothingIsGoneOnFrom([this] { return copyFromShare(); }, FileStep::Kind::Sync, 0);
}

TEST_F(LateWantOfSpaceTest, shareRetrieval_folderOfASmallFolderCannotBeSynced_nothingIsGoneOnFrom)
{
    expectNothingIsGoneOnFrom([this] { return copyFromShare(); }, FileStep::Kind::Sync, 1);
}

TEST_F(LateWantOfSpaceTest, shareRetrieval_fileCannotBeSynced_nothingIsGoneOnFrom)
{
    expectNothingIsGoneOnFrom([this] { return copyFileFromShare(); }, FileStep::Kind::Sync, 0);
}

TEST_F(LateWantOfSpaceTest, shareRetrieval_folderAroundAFileCannotBeSynced_nothingIsGoneOnFrom)
{
    expectNothingIsGoneOnFrom([this] { return copyFileFromShare(); }, FileStep::Kind::Sync, 1);
}

TEST_F(LateWantOfSpaceTest, folderRetrieval_largeFolderCannotBeSynced_nothingIsGoneOnFrom)
{
    files = manyFiles;
    expectNothingIsGoneOnFrom([this] { return copyFromServer(); }, FileStep::Kind::SyncFileSystem,
                              0);
}

TEST_F(LateWantOfSpaceTest, folderRetrieval_fileOfASmallFolderCannotBeSynced_nothingIsGoneOnFrom)
{
    expectNothingIsGoneOnFrom([this] { return copyFromServer(); }, FileStep::Kind::Sync, 0);
}

TEST_F(LateWantOfSpaceTest, folderRetrieval_folderOfASmallFolderCannotBeSynced_nothingIsGoneOnFrom)
{
    expectNothingIsGoneOnFrom([this] { return copyFromServer(); }, FileStep::Kind::Sync, 1);
}

TEST_F(LateWantOfSpaceTest, httpStagingSink_fileCannotBeSynced_nothingIsGoneOnFrom)
{
    expectNothingIsGoneOnFrom([this] { return copyFileFromServer(); }, FileStep::Kind::Sync, 0);
}

} // namespace zel
