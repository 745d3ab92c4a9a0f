#include "ZelcacheCli.h"

#include "NginxServer.h"
#include "Printers.h"
#include "ScriptedServer.h"

#include <unistd.h>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// The cache lies on a small volume of its own, which only the processes of one run see.
class FullDiskCliTest : public ZelcacheCli
{
protected:
    /// Runs lines of bash on a fresh volume. A machine that lets nobody mount one fails the test.
    std::unique_ptr<ProgramRun> runOnVolume(const QString &options, const QString &lines) const
    {
        const QString inside
            = u"mount -t tmpfs -o %1 tmpfs %2 && echo mounted >&2 || exit 99\n%3"_s.arg(
                options, cache.baseDir(), lines);
        auto run = startInShell(u"unshare %1 bash -c '%2'"_s.arg(
            ::geteuid() == 0 ? u"--mount"_s : u"--mount --map-root-user"_s, inside));
        EXPECT_NE(run->exitCode(), 99) << run->errors().toStdString();
        EXPECT_TRUE(run->errors().contains("mounted")) << run->errors().toStdString();
        return run;
    }
};

namespace {

/// Sends far more than the volume holds, without saying so before. A validator lets a later fetch
/// go on from what has come.
ScriptedServer::Script endless(const QByteArray &headers)
{
    return [headers](const auto &request, auto &connection) {
        connection.send("HTTP/1.1 200 OK\r\nConnection: close\r\n" + headers + "\r\n");
        if (request.method == "HEAD")
            return;
        for (int piece = 0; piece < 1000 && connection.send(QByteArray(65536, 'x')); ++piece) { }
    };
}

} // namespace

TEST_F(FullDiskCliTest, get_endlessFile_isCode7AndTheCacheStaysUsable)
{
    for (const QByteArray &headers : { QByteArray(), QByteArray("ETag: \"one\"\r\n") }) {
        const ScriptedServer server(endless(headers));
        const QString small = sharedFile(u"small.raw"_s, "small");
        const auto run
            = runOnVolume(u"size=20m"_s,
                          u"$zelcache get %1; echo code $?; $zelcache list; $zelcache get %2"_s.arg(
                              server.url(u"big.raw"_s), small));
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        const QStringList lines = linesOf(run->output());
        ASSERT_EQ(lines.size(), 3) << run->output().toStdString();
        EXPECT_EQ(lines.at(0), u"code 7"_s);
        EXPECT_TRUE(lines.at(1).startsWith(u"Missing"_s)) << qPrintable(lines.at(1));
        EXPECT_TRUE(lines.at(2).endsWith(u"/small.raw"_s));
        EXPECT_TRUE(run->errors().contains("no room left for \"big.raw\""))
            << run->errors().toStdString();
        EXPECT_FALSE(run->errors().contains("log:")) << run->errors().toStdString();
    }
}

TEST_F(FullDiskCliTest, get_afterRoomWasMade_goesOnAndIsWhole)
{
    QByteArray content(12'000'000, '\0');
    for (qsizetype i = 0; i < content.size(); ++i)
        content[i] = char(i * 31 / 7);
    writeFile(cache.outside(u"whole"_s), content);
    const ScriptedServer server([&content](const auto &request, auto &connection) {
        const QByteArray range = request.header("Range");
        const qsizetype first = range.mid(6).chopped(range.isEmpty() ? 0 : 1).toLongLong();
        const QByteArray last = QByteArray::number(content.size() - 1);
        connection.send(range.isEmpty() ? "HTTP/1.1 200 OK\r\n"
                                        : "HTTP/1.1 206 Part\r\nContent-Range: bytes "
                                + QByteArray::number(first) + '-' + last + '/'
                                + QByteArray::number(content.size()) + "\r\n");
        connection.send("ETag: \"one\"\r\nConnection: close\r\n\r\n");
        if (request.method != "HEAD")
            connection.send(content.mid(first));
    });
    const auto run
        = runOnVolume(u"size=11m"_s,
                      u"$zelcache get %1; echo code $?; mount -o remount,size=40m %2; "
                      "cmp $($zelcache get %1) %3"_s.arg(server.url(u"big.raw"_s), cache.baseDir(),
                                                         cache.outside(u"whole"_s)));
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(run->output(), "code 7\n");
    EXPECT_TRUE(server.requests().constLast().header("Range").startsWith("bytes="));
}

TEST_F(FullDiskCliTest, get_fileLargerThanTheVolume_isCode7WithNothingAtItsPlace)
{
    const QString big = sharedFile(u"big.raw"_s, QByteArray(9'000'000, 'b'));
    const auto run
        = runOnVolume(u"size=6m"_s,
                      u"$zelcache get --force %1; code=$?; find %2 -name big.raw -size +0; "
                      "$zelcache list; exit $code"_s.arg(big, cache.baseDir()));
    EXPECT_EQ(run->exitCode(), 7) << run->errors().toStdString();
    const QStringList lines = linesOf(run->output());
    ASSERT_EQ(lines.size(), 1) << run->output().toStdString();
    EXPECT_TRUE(lines.at(0).startsWith(u"Missing"_s));
}

TEST_F(FullDiskCliTest, get_fileThatFitsAfterAnEvictionOnly_makesRoomFarBelowTheOptimum)
{
    const QString old = sharedFile(u"old.raw"_s, QByteArray(9'000'000, 'o'));
    const QString big = sharedFile(u"big.raw"_s, QByteArray(10'000'000, 'b'));
    const auto run = runOnVolume(
        u"size=20m"_s,
        u"$zelcache get %1 && $zelcache get -v %2 && $zelcache list --references"_s.arg(old, big));
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_TRUE(run->errors().contains("Made room: 1 resource")) << run->errors().toStdString();
    const auto refused = runOnVolume(
        u"size=20m"_s,
        u"$zelcache get %1 && $zelcache get %1 %2; echo code $?; $zelcache path %1"_s.arg(old,
                                                                                          big));
    const QStringList lines = linesOf(refused->output());
    ASSERT_EQ(lines.size(), 3) << refused->errors().toStdString();
    EXPECT_EQ(lines.at(1), u"code 7"_s);
    EXPECT_TRUE(refused->errors().contains("Does not fit the disk"))
        << refused->errors().toStdString();
}

TEST_F(FullDiskCliTest, get_moreFilesThanTheVolumeTakes_isCode7AndMissing)
{
    for (int i = 0; i < 100; ++i)
        writeFile(cache.outside(u"run.d/%1"_s.arg(i)), "a");
    const auto run = runOnVolume(
        u"size=20m,nr_inodes=60"_s,
        u"$zelcache get share:%1; echo code $?; ls %2/Cache/share/*; $zelcache list"_s.arg(
            cache.outside(u"run.d"_s), cache.baseDir()));
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QStringList lines = linesOf(run->output());
    ASSERT_EQ(lines.size(), 2) << run->output().toStdString();
    EXPECT_EQ(lines.at(0), u"code 7"_s) << run->errors().toStdString();
    EXPECT_TRUE(lines.at(1).startsWith(u"Missing"_s));
    EXPECT_TRUE(run->errors().contains("No space left")) << run->errors().toStdString();
}

TEST_F(FullDiskCliTest, get_fileThatLeavesTheDatabaseNoRoom_isCode7BeforeTheFirstByte)
{
    const QString tight = sharedFile(u"tight.raw"_s, QByteArray(9'000'000, 't'));
    const auto run = runOnVolume(
        u"size=11m"_s,
        u"$zelcache get --force %1; echo code $?; find %2/Staging -size +1M; $zelcache list"_s.arg(
            tight, cache.baseDir()));
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QStringList lines = linesOf(run->output());
    ASSERT_EQ(lines.size(), 2) << run->output().toStdString();
    EXPECT_EQ(lines.at(0), u"code 7"_s) << run->errors().toStdString();
    EXPECT_TRUE(run->errors().contains("There is no room for")) << run->errors().toStdString();
}

TEST_F(FullDiskCliTest, get_noFileMoreAtAnyStepOfTheFetch_isCode7)
{
    // One file more each time, so that each time a later step is the one without it.
    const QString steps = u"for n in $(seq 6 60); do mount -o remount,nr_inodes=$n %2 && "
                          "{ $zelcache get %1 >/dev/null; code=$?; echo $code; "
                          "[ $code = 0 ] && exit 0; }; done"_s;
    const NginxServer server;
    server.addFile(u"run.raw"_s, "content");
    for (const QString &reference :
         { sharedFile(u"small.raw"_s, "small"), server.url(u"run.raw"_s) }) {
        const auto run
            = runOnVolume(u"size=50m,nr_inodes=6"_s, steps.arg(reference, cache.baseDir()));
        EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
        QStringList codes = linesOf(run->output());
        // Before that there is no cache yet, or no folder that the resource would come to.
        while (!codes.isEmpty() && codes.constFirst() != u"7"_s)
            codes.removeFirst();
        EXPECT_GE(codes.size(), 4) << run->output().toStdString();
        EXPECT_EQ(codes.count(u"7"_s), codes.size() - 1) << run->output().toStdString();
        EXPECT_TRUE(codes.endsWith(u"0"_s)) << run->output().toStdString();
    }
}

TEST_F(FullDiskCliTest, add_folderLargerThanTheVolume_isCode7AndLeavesNothing)
{
    const QString small = cache.outside(u"small.raw"_s);
    writeFile(small, "small");
    writeFile(cache.outside(u"run.d/first"_s), "a");
    writeFile(cache.outside(u"run.d/second"_s), QByteArray(9'000'000, 'b'));
    const auto run
        = runOnVolume(u"size=6m"_s,
                      u"$zelcache add http://127.0.0.1:9/run.d %1; echo code $?; "
                      "find %2/Cache -mindepth 3; $zelcache add http://127.0.0.1:9/a %3"_s.arg(
                          cache.outside(u"run.d"_s), cache.baseDir(), small));
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    const QStringList lines = linesOf(run->output());
    ASSERT_EQ(lines.size(), 2) << run->output().toStdString();
    EXPECT_EQ(lines.at(0), u"code 7"_s);
    EXPECT_TRUE(lines.at(1).endsWith(u"/a"_s));
    EXPECT_TRUE(run->errors().contains("second")) << run->errors().toStdString();
    EXPECT_TRUE(run->errors().contains("No space left")) << run->errors().toStdString();
}

TEST_F(FullDiskCliTest, get_volumeFullBefore_failsWithoutACrash)
{
    const QString reference = sharedFile(u"small.raw"_s, "small");
    const auto run = runOnVolume(
        u"size=8m"_s,
        u"head -c 9m /dev/zero >%1/filler 2>/dev/null; $zelcache get %2; code=$?; "
        "rm %1/filler; $zelcache get %2 && exit $code"_s.arg(cache.baseDir(), reference));
    EXPECT_EQ(run->exitCode(), 8) << run->errors().toStdString();
    EXPECT_EQ(linesOf(run->output()).size(), 1);
    EXPECT_TRUE(run->errors().contains("disk is full")) << run->errors().toStdString();
}

} // namespace zel::test
