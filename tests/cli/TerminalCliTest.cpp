#include "ZelcacheCli.h"

#include "NginxServer.h"
#include "Printers.h"

#include <QElapsedTimer>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

class TerminalCliTest : public ZelcacheCli
{
protected:
    static NginxServer::Options slowly()
    {
        NginxServer::Options options;
        options.bytesPerSecond = 500'000;
        return options;
    }

    TerminalCliTest() { server.addFile(u"big.raw"_s, QByteArray(3'000'000, 'b')); }

    NginxServer server { slowly() };
    const QString reference = server.url(u"big.raw"_s);
};

TEST_F(TerminalCliTest, get_atATerminal_drawsABarWithBytesRateAndTimeLeft)
{
    const auto run = startAtTerminal({ u"get"_s, reference });
    EXPECT_TRUE(run->waitFor(" of 2.9 MiB"));
    EXPECT_TRUE(run->waitFor("KiB/s"));
    EXPECT_TRUE(run->waitFor(" left"));
    EXPECT_TRUE(run->waitFor("big.raw  [="));
    EXPECT_EQ(run->exitCode(), 0) << run->seen().toStdString();
    // The bar is wiped away before the path takes its place.
    const qsizetype wiped = run->seen().lastIndexOf("\r\x1b[K");
    ASSERT_GE(wiped, 0);
    const QByteArray last = run->seen().mid(wiped + 4);
    EXPECT_TRUE(last.startsWith(cache.dataDir().toUtf8())) << last.toStdString();
    EXPECT_TRUE(last.endsWith("/big.raw\r\n")) << last.toStdString();
}

TEST_F(TerminalCliTest, get_narrowTerminal_neverWraps)
{
    PtyRun::Options options;
    options.columns = 30;
    options.outputIsTerminal = false;
    const auto run = startAtTerminal({ u"get"_s, reference }, options);
    EXPECT_EQ(run->exitCode(), 0) << run->seen().toStdString();
    EXPECT_TRUE(run->seen().contains('%'));
    for (QByteArray line : run->seen().split('\r')) {
        line.replace("\x1b[K", "");
        EXPECT_LT(line.size(), 30) << line.toStdString();
    }
}

// To draw is to read what all of them tell.
TEST_F(TerminalCliTest, get_manyThatEndAtOnce_drawsBySeldomMomentsNotByEnds)
{
    QStringList arguments { u"get"_s };
    for (int i = 0; i < 150; ++i)
        arguments.append(sharedFile(u"%1.raw"_s.arg(i), "x"));
    PtyRun::Options options;
    options.outputIsTerminal = false;
    QElapsedTimer timer;
    timer.start();
    const auto run = startAtTerminal(arguments, options);
    EXPECT_EQ(run->exitCode(), 0) << run->seen().toStdString();
    // Each is drawn and wiped away again.
    EXPECT_LE(run->seen().count('\r'), 2 * (timer.elapsed() / 150 + 3));
}

TEST_F(TerminalCliTest, get_answerElsewhere_stillDrawsABar)
{
    PtyRun::Options options;
    options.outputIsTerminal = false;
    const auto run = startAtTerminal({ u"get"_s, reference }, options);
    EXPECT_TRUE(run->waitFor("%"));
    EXPECT_EQ(run->exitCode(), 0);
    EXPECT_TRUE(run->seen().endsWith("\r\x1b[K")) << run->seen().toStdString();
}

TEST_F(TerminalCliTest, get_noBarWanted_drawsNone)
{
    PtyRun::Options dumb;
    dumb.environment = QStringList { u"TERM=dumb"_s };
    const auto atDumbTerminal = startAtTerminal({ u"get"_s, reference }, dumb);
    EXPECT_EQ(atDumbTerminal->exitCode(), 0);
    EXPECT_FALSE(atDumbTerminal->seen().contains('\x1b'));
    for (const QString &option : { u"--no-progress"_s, u"--quiet"_s }) {
        const auto run = startAtTerminal({ u"get"_s, option, sharedFile(u"a.raw"_s, "a") });
        EXPECT_EQ(run->exitCode(), 0);
        EXPECT_FALSE(run->seen().contains('\x1b')) << run->seen().toStdString();
    }
}

TEST_F(TerminalCliTest, get_anotherProcessFetches_namesItAndHowFar)
{
    const auto fetcher = start({ u"get"_s, reference });
    waitUntil([this] { return stagedBytes() > 100'000; });
    const auto waiter = startAtTerminal({ u"get"_s, reference });
    const QByteArray process = QByteArray::number(fetcher->processId());
    EXPECT_TRUE(waiter->waitFor("fetched by process " + process));
    EXPECT_TRUE(waiter->waitFor("%"));
    EXPECT_EQ(waiter->exitCode(), 0) << waiter->seen().toStdString();
    EXPECT_EQ(fetcher->exitCode(), 0) << fetcher->errors().toStdString();
}

TEST_F(TerminalCliTest, get_controlC_cancels)
{
    const auto run = startAtTerminal({ u"get"_s, reference });
    EXPECT_TRUE(run->waitFor("%"));
    run->type("\x03");
    EXPECT_EQ(run->exitCode(), 130) << run->seen().toStdString();
    EXPECT_EQ(CacheDatabase(cache.databasePath()).status(reference), u"Missing"_s);
}

TEST_F(TerminalCliTest, prompt_yes_fetches)
{
    const auto run = startAtTerminal({ u"get"_s, u"--prompt"_s, sharedFile(u"a.raw"_s, "a") });
    EXPECT_TRUE(run->waitFor("[y/N]"));
    run->type("y\n");
    EXPECT_EQ(run->exitCode(), 0) << run->seen().toStdString();
    EXPECT_TRUE(run->seen().contains("a.raw\r\n"));
}

TEST_F(TerminalCliTest, prompt_germanLocale_isAnsweredInEitherLanguage)
{
    PtyRun::Options options;
    options.environment = QStringList { u"LC_ALL=de_DE.UTF-8"_s };
    for (const char *answer : { "j\n", "Ja\n", "yes\n" }) {
        const QString reference = sharedFile(u"%1.raw"_s.arg(QChar::fromLatin1(*answer)), "a");
        const auto run = startAtTerminal({ u"get"_s, u"--prompt"_s, reference }, options);
        EXPECT_TRUE(run->waitFor("Abrufen? [j/N]"));
        run->type(answer);
        EXPECT_EQ(run->exitCode(), 0) << run->seen().toStdString();
    }
}

TEST_F(TerminalCliTest, prompt_anythingElse_isCode20)
{
    for (const char *answer : { "n\n", "\n", "\x04" }) {
        const auto run = startAtTerminal({ u"get"_s, u"--prompt"_s, sharedFile(u"a.raw"_s, "a") });
        EXPECT_TRUE(run->waitFor("[y/N]"));
        run->type(answer);
        EXPECT_EQ(run->exitCode(), 20) << run->seen().toStdString();
    }
}

TEST_F(TerminalCliTest, prompt_controlC_isCode130AndLeavesNoRows)
{
    const QString shared = sharedFile(u"a.raw"_s, "a");
    const auto run = startAtTerminal({ u"get"_s, u"--prompt"_s, shared });
    EXPECT_TRUE(run->waitFor("[y/N]"));
    run->type("\x03");
    EXPECT_EQ(run->exitCode(), 130) << run->seen().toStdString();
    CacheDatabase database(cache.databasePath());
    EXPECT_EQ(database.count(u"ResourceUsages"_s), 0);
    EXPECT_EQ(database.count(u"Clients"_s), 0);
}

TEST_F(TerminalCliTest, prompt_severalResources_asksOnce)
{
    const auto run = startAtTerminal(
        { u"get"_s, u"--prompt"_s, sharedFile(u"a.raw"_s, "a"), sharedFile(u"b.raw"_s, "b") });
    EXPECT_TRUE(run->waitFor("these 2 resources? [y/N]"));
    run->type("yes\n");
    EXPECT_EQ(run->exitCode(), 0) << run->seen().toStdString();
    EXPECT_EQ(run->seen().count("[y/N]"), 1);
}

TEST_F(TerminalCliTest, error_atATerminal_isColoredUnlessTheUserMindsColors)
{
    const auto colored = startAtTerminal({ u"path"_s, u"nonsense"_s });
    EXPECT_EQ(colored->exitCode(), 2);
    EXPECT_TRUE(colored->seen().contains("\x1b[31m")) << colored->seen().toStdString();
    PtyRun::Options options;
    options.environment = QStringList { u"NO_COLOR=1"_s };
    const auto plain = startAtTerminal({ u"path"_s, u"nonsense"_s }, options);
    EXPECT_EQ(plain->exitCode(), 2);
    EXPECT_FALSE(plain->seen().contains('\x1b')) << plain->seen().toStdString();
}

} // namespace zel::test
