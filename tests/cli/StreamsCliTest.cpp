#include "ReadingCli.h"

#include "NginxServer.h"
#include "Printers.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// What goes in and out where it is not as usual.
class StreamsCliTest : public ReadingCli
{
};

TEST_F(StreamsCliTest, list_outputThatDoesNotBlock_isWhole)
{
    fill({ 500 });
    addHundredThousand();
    PtyRun::Options options;
    options.outputIsNonBlocking = true;
    const auto run = startAtTerminal({ u"list"_s, u"--references"_s }, options);
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_EQ(run->seen().count("\r\n"), 100'001);
    EXPECT_TRUE(run->seen().contains("lims:sample-100000.raw\r\n"));
}

TEST_F(StreamsCliTest, get_listWithoutEnd_isRefused)
{
    const auto run = start({ u"get"_s, u"-f"_s, u"/dev/zero"_s });
    EXPECT_EQ(run->exitCode(), 1);
    EXPECT_EQ(run->errors(), "zelcache: error: The list /dev/zero is longer than 64 MiB.\n");
    EXPECT_FALSE(QFile::exists(cache.databasePath()));
}

TEST_F(StreamsCliTest, get_listOnAPipe_isReadToItsEnd)
{
    const QString reference = sharedFile(u"a.raw"_s, "a");
    const auto run = startInShell(
        u"{ for i in {1..30000}; do echo '# a line that says nothing'; done; sleep 0.1; "
        "echo %1; } | $zelcache get -f -"_s.arg(reference));
    EXPECT_EQ(run->exitCode(), 0) << run->errors().toStdString();
    EXPECT_EQ(linesOf(run->output()), QStringList { pathOf(reference) });
}

TEST_F(StreamsCliTest, get_answerCannotBeWritten_isCode1AndSaysWhy)
{
    ProgramRun::Options options;
    options.outputFile = u"/dev/full"_s;
    const auto run = start({ u"get"_s, sharedFile(u"1.raw"_s, "1") }, options);
    EXPECT_EQ(run->exitCode(), 1);
    EXPECT_TRUE(run->errors().contains("No space left")) << run->errors().toStdString();
}

TEST_F(StreamsCliTest, doctor_answerOrTraceCannotBeWritten_isNotTheCodeOfARepair)
{
    ASSERT_EQ(start({ u"get"_s, sharedFile(u"1.raw"_s, "1") })->exitCode(), 0);
    ProgramRun::Options options;
    options.outputFile = u"/dev/full"_s;
    EXPECT_EQ(start({ u"doctor"_s }, options)->exitCode(), 8);
    writeFile(cache.dataDir() + u"/stray.raw"_s, "s");
    const QStringList repair { u"doctor"_s, u"--repair"_s, u"--min-age"_s, u"0"_s };
    const QString nowhere = cache.outside(u"missing/trace"_s);
    EXPECT_EQ(start(repair + QStringList { u"--trace"_s, nowhere })->exitCode(), 8);
    EXPECT_EQ(start(repair)->exitCode(), 1) << "there was something to repair";
}

TEST_F(StreamsCliTest, get_readerGone_stopsFetchingWithoutAWord)
{
    NginxServer::Options slowly;
    slowly.bytesPerSecond = 100'000;
    const NginxServer server(slowly);
    server.addFile(u"slow.raw"_s, QByteArray(10'000'000, 's'));
    const auto run = startInShell(u"$zelcache get %1 %2 | head -n 1; exit ${PIPESTATUS[0]}"_s.arg(
        sharedFile(u"a.raw"_s, "a"), server.url(u"slow.raw"_s)));
    EXPECT_EQ(run->exitCode(), 20);
    EXPECT_EQ(linesOf(run->output()).size(), 1);
    EXPECT_EQ(run->errors(), "");
    EXPECT_EQ(CacheDatabase(cache.databasePath()).status(server.url(u"slow.raw"_s)), u"Missing"_s);
}

TEST_F(StreamsCliTest, get_standardOutputClosed_isCode1AndHarmsNoOtherFile)
{
    const auto run = startInShell(u"$zelcache get %1 >&-"_s.arg(sharedFile(u"a.raw"_s, "a")));
    EXPECT_EQ(run->exitCode(), 1);
    EXPECT_TRUE(run->errors().contains("answer")) << run->errors().toStdString();
    EXPECT_EQ(CacheDatabase(cache.databasePath()).count(u"CachedResources"_s), 1);
}

TEST_F(StreamsCliTest, error_ofALongReference_repeatsItsEndsOnly)
{
    const QString reference = u"nonsense:start/"_s + QString(100'000, u'x') + u"/end.raw"_s;
    for (const QString &command : { u"get"_s, u"path"_s, u"policy"_s }) {
        ProgramRun::Options options;
        const auto run = start({ command, reference }, options);
        EXPECT_EQ(run->exitCode(), 2);
        EXPECT_LT(run->errors().size(), 5'000) << qPrintable(command);
        EXPECT_TRUE(run->errors().startsWith("zelcache: error: "));
    }
    const QString missing = u"share:/start/"_s + QString(100'000, u'x') + u"/end.raw"_s;
    const auto run = start({ u"get"_s, missing });
    EXPECT_EQ(run->exitCode(), 1);
    EXPECT_LT(run->errors().size(), 5'000);
    EXPECT_TRUE(run->errors().contains("share:/start/xx")) << run->errors().toStdString();
    EXPECT_TRUE(run->errors().contains("xx/end.raw: ")) << run->errors().toStdString();
}

TEST_F(StreamsCliTest, error_terminalThatDoesNotSayWhatItIs_hasNoColors)
{
    PtyRun::Options options;
    options.environment = QStringList { u"TERM="_s };
    const auto run = startAtTerminal({ u"path"_s, u"nonsense"_s }, options);
    EXPECT_EQ(run->exitCode(), 2);
    EXPECT_FALSE(run->seen().contains('\x1b')) << run->seen().toStdString();
}

} // namespace zel::test
