#include "ApacheServer.h"
#include "NginxServer.h"
#include "PowerCuts.h"

#include <gtest/gtest.h>

#include <QCryptographicHash>
#include <QFile>

#include <linux/fs.h>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;
using Kind = FileStep::Kind;

namespace {

// From one megabyte on a file goes to the disk while more of it comes, and each sixteen have to be
// there before the next ones come.
constexpr int largeFile = 1536 * 1024;
constexpr int hugeFile = 20 * 1024 * 1024;
constexpr int partOfHugeFile = 17 * 1024 * 1024; // what has come when its fetch breaks off

// More of them than are brought to the disk one by one.
constexpr int manyFiles = 20;

constexpr int sectorSize = 512;
constexpr int longFileName = 200; // longer than what a sparse container is made for

/// No sector of it is like another one, or like a hole.
QByteArray content(int size)
{
    QByteArray bytes;
    bytes.reserve(size + sectorSize);
    while (bytes.size() < size)
        bytes += QByteArray::number(bytes.size()).leftJustified(sectorSize, '.');
    return bytes.left(size);
}

QString retrieve(const CutResource &resource)
{
    return u"retrieve "_s + resource.reference;
}

QString retrieveInPart(const CutResource &resource)
{
    return u"retrieveInPart %1 %2"_s.arg(QString::number(partOfHugeFile), resource.reference);
}

/// The sources and what is done with them.
class PowerLossTest : public testing::Test
{
protected:
    CutResource shared(const QString &name) const
    {
        const QString source = power.outside(u"share/"_s + name);
        return { u"share:"_s + source, source };
    }
    CutResource file(const QString &name, int size) const
    {
        const CutResource resource = shared(name);
        writeFile(resource.source, content(size));
        return resource;
    }
    CutResource folder(const QString &name, const QStringList &files, int size) const
    {
        const CutResource resource = shared(name);
        for (const QString &each : files)
            writeFile(resource.source + u'/' + each, content(size));
        return resource;
    }
    CutResource webFile(const QString &name, int size) const { return webFile(name, size, nginx); }
    CutResource webFile(const QString &name, int size, const NginxServer &server) const
    {
        const QString source = power.outside(u"web/"_s + name);
        writeFile(source, content(size));
        server.addFile(name, content(size));
        return { server.url(name), source };
    }
    CutResource webFolder(const QString &name, const QMap<QString, int> &sizes) const
    {
        const QString list = name + u"/SHA256SUMS"_s;
        QByteArray sums;
        for (auto size = sizes.begin(); size != sizes.end(); ++size) {
            const QByteArray bytes = content(*size);
            webFile(name + u'/' + size.key(), *size);
            sums += QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex() + "  "
                + size.key().toUtf8() + '\n';
        }
        nginx.addFile(list, sums);
        return { u"list+"_s + nginx.url(list), power.outside(u"web/"_s + name) };
    }
    CutResource davFile(const QString &name, int size)
    {
        const QString source = power.outside(u"dav/"_s + name);
        writeFile(source, content(size));
        davServer().addFile(name, content(size));
        return { davServer().url(name), source };
    }
    CutResource davFolder(const QString &name, const QMap<QString, int> &sizes)
    {
        for (auto size = sizes.begin(); size != sizes.end(); ++size)
            davFile(name + u'/' + size.key(), *size);
        return { davServer().url(name), power.outside(u"dav/"_s + name) };
    }
    CutResource container(const QString &name)
    {
        const QString sample = power.outside(u"sample"_s);
        writeFile(sample, content(30'000));
        const QString source
            = file(name + u"/beside"_s, 0).source.section(u'/', 0, -2) + u"/run.zacq"_s;
        const QString inside = u"data/%1.raw"_s.arg(QString(longFileName, u'n'));
        EXPECT_EQ(power.askOther(u"makeContainer %1 %2 %3"_s.arg(source, sample, inside)), u"ok"_s);
        return { u"share:"_s + source, sample, true };
    }
    static QStringList names(int count)
    {
        QStringList names;
        for (int i = 0; i < count; ++i)
            names << u"file%1"_s.arg(i);
        return names;
    }

    void cutFetchesOf(const QList<CutResource> &resources)
    {
        QStringList commands;
        for (const CutResource &resource : resources)
            commands << retrieve(resource);
        cut(resources, commands);
    }
    void cut(const QList<CutResource> &resources, const QStringList &commands)
    {
        power.expect(resources);
        power.record(commands);
        power.cutEverywhere();
    }
    bool hasSyncedAll() const
    {
        return power.hasRecorded(
            [](const LoggedStep &step) { return step.kind() == Kind::SyncFileSystem; });
    }
    bool hasExchanged() const
    {
        return power.hasRecorded([](const LoggedStep &step) {
            return step.kind() == Kind::Rename && (step.head.flags & RENAME_EXCHANGE) != 0;
        });
    }
    bool hasMade(const QString &part) const
    {
        return power.hasRecorded([&](const LoggedStep &step) {
            return step.path.contains(part) || step.newPath.contains(part);
        });
    }

    const ApacheServer &davServer()
    {
        if (!apache)
            apache = std::make_unique<ApacheServer>();
        return *apache;
    }

    const NginxServer nginx;
    std::unique_ptr<ApacheServer> apache;
    PowerCuts power;
};

} // namespace

TEST_F(PowerLossTest, fetchOfFiles_cutAfterEachStep_eachReadyRowHasAllOfItsData)
{
    cutFetchesOf({ file(u"a/x.wiff"_s, 20'000), file(u"b/run.mzML"_s, 70'000) });
    EXPECT_GT(power.manifestsFound(), 0);
}

TEST_F(PowerLossTest, fetchOfAFolder_cutAfterEachStep_eachReadyRowHasAllOfItsData)
{
    cutFetchesOf({ folder(u"run.d"_s, { u"a"_s, u"b/c"_s, u"b/d/e"_s }, 5'000) });
    EXPECT_GT(power.manifestsFound(), 0);
    EXPECT_FALSE(hasSyncedAll());
}

TEST_F(PowerLossTest, fetchOfManyFiles_cutAfterEachStep_eachReadyRowHasAllOfItsData)
{
    cutFetchesOf({ folder(u"run.d"_s, names(manyFiles), 5'000) });
    EXPECT_TRUE(hasSyncedAll());
}

TEST_F(PowerLossTest, fetchOfLargeFiles_cutAfterEachStep_nextFetchIsWhole)
{
    cutFetchesOf({ file(u"run.raw"_s, largeFile), webFile(u"run.raw"_s, largeFile) });
}

// The bytes that were waited for stay, and holes behind them do not.
TEST_F(PowerLossTest, fetchThatBrokeOff_cutAfterEachStep_nextFetchIsWhole)
{
    const CutResource resource = file(u"run.raw"_s, hugeFile);
    cut({ resource }, { retrieveInPart(resource), retrieve(resource) });
}

TEST_F(PowerLossTest, fetchFromAServerThatBrokeOff_cutAfterEachStep_nextFetchIsWhole)
{
    const CutResource resource = webFile(u"run.raw"_s, hugeFile);
    cut({ resource }, { retrieveInPart(resource), retrieve(resource) });
}

// What was waited for once is of no worth any more when the file is begun anew.
TEST_F(PowerLossTest, fetchBegunAnew_cutAfterEachStep_nextFetchIsWhole)
{
    NginxServer::Options options;
    options.directives = u"if (-f $document_root/no-ranges) { rewrite ^/run /all$uri last; }\n"
                         "location /all/ { max_ranges 0; rewrite ^/all(.*)$ $1 break; }"_s;
    const NginxServer server(options);
    const CutResource resource = webFile(u"run.raw"_s, hugeFile, server);
    server.addFile(u"no-ranges"_s, {});
    power.expect({ resource });
    power.record({ retrieveInPart(resource), retrieve(resource) });
    EXPECT_TRUE(power.hasRecorded([](const LoggedStep &step) {
        return step.kind() == Kind::Resize && step.path.endsWith(u"/content/run.raw"_s);
    }));
    EXPECT_TRUE(QFile::remove(server.root() + u"/no-ranges"_s)); // the next ones can go on
    power.cutEverywhere();
}

TEST_F(PowerLossTest, fetchOfAWebFolder_cutAfterEachStep_nextFetchIsWhole)
{
    cutFetchesOf({ webFolder(u"run.d"_s, { { u"a"_s, 5'000 }, { u"b/c"_s, largeFile } }) });
    EXPECT_FALSE(hasSyncedAll());
}

TEST_F(PowerLossTest, fetchOfManyWebFiles_cutAfterEachStep_eachReadyRowHasAllOfItsData)
{
    QMap<QString, int> sizes;
    for (const QString &name : names(manyFiles))
        sizes.insert(name, 5'000);
    cutFetchesOf({ webFolder(u"run.d"_s, sizes) });
    EXPECT_TRUE(hasSyncedAll());
}

TEST_F(PowerLossTest, fetchOfADavFile_cutAfterEachStep_nextFetchIsWhole)
{
    const CutResource resource = davFile(u"run.raw"_s, hugeFile);
    cut({ resource }, { retrieveInPart(resource), retrieve(resource) });
}

TEST_F(PowerLossTest, fetchOfADavFolder_cutAfterEachStep_nextFetchIsWhole)
{
    cutFetchesOf({ davFolder(
        u"run.d"_s, { { u"a"_s, 5'000 }, { u"b/c"_s, largeFile }, { u"b/d/e"_s, 5'000 } }) });
    EXPECT_GT(power.manifestsFound(), 0);
    EXPECT_FALSE(hasSyncedAll());
}

TEST_F(PowerLossTest, fetchOverOtherData_cutAfterEachStep_eachReadyRowHasAllOfItsData)
{
    const CutResource other = folder(u"old/run.d"_s, { u"a"_s, u"more"_s }, 3'000);
    const CutResource fetched = folder(u"new/run.d"_s, { u"a"_s, u"b"_s }, 5'000);
    const CutResource otherFile = file(u"old/run.raw"_s, 3'000);
    const CutResource fetchedFile = file(u"new/run.raw"_s, 5'000);
    const QString over = u"retrieveOver %1 %2"_s;
    cut({ fetched, fetchedFile },
        { over.arg(other.source, fetched.reference),
          over.arg(otherFile.source, fetchedFile.reference) });
    EXPECT_TRUE(hasExchanged());
}

TEST_F(PowerLossTest, fetchOverOtherDataWithoutExchange_cutAfterEachStep_rowsAreWhole)
{
    const CutResource other = folder(u"old/run.d"_s, { u"a"_s, u"more"_s }, 3'000);
    const CutResource fetched = folder(u"new/run.d"_s, { u"a"_s, u"b"_s }, 5'000);
    cut({ fetched },
        { u"refuseExchanges"_s, u"retrieveOver %1 %2"_s.arg(other.source, fetched.reference) });
    EXPECT_TRUE(hasMade(u"/.replaced-"_s));
}

TEST_F(PowerLossTest, fetchStagedOnAnotherVolume_cutAfterEachStep_eachReadyRowHasAllOfItsData)
{
    const CutResource fetched = folder(u"run.d"_s, { u"a"_s, u"b/c"_s }, 5'000);
    const CutResource fetchedFile = file(u"run.raw"_s, 5'000);
    cut({ fetched, fetchedFile }, { u"refuseMoves"_s, retrieve(fetched), retrieve(fetchedFile) });
    EXPECT_TRUE(hasMade(u"/.incoming-"_s));
}

TEST_F(PowerLossTest, fetchOfAContainer_cutAfterEachStep_sampleOfEachReadyRowIsThere)
{
    cutFetchesOf({ container(u"container"_s) });
    EXPECT_TRUE(hasMade(u"/Cache/zacq/"_s));
}

TEST_F(PowerLossTest, add_cutAfterEachStep_eachReadyRowHasAllOfItsData)
{
    const CutResource added = folder(u"run.d"_s, { u"a"_s, u"b/c"_s }, 5'000);
    const CutResource addedFile = file(u"run.raw"_s, 70'000);
    const QString add = u"add %1 %2"_s;
    cut({ added, addedFile },
        { add.arg(added.source, added.reference), add.arg(addedFile.source, addedFile.reference) });
}

TEST_F(PowerLossTest, purgeAndFetchAgain_cutAfterEachStep_noReadyRowHasAPartOfItsData)
{
    const CutResource resource = folder(u"run.d"_s, { u"a"_s, u"b"_s }, 5'000);
    cut({ resource }, { retrieve(resource), u"purge"_s, retrieve(resource), u"purge"_s });
}
