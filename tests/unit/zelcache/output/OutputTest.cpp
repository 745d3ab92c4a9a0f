#include "output/Output.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QJsonArray>
#include <QJsonObject>
#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

/// Both streams are files here, as in a script.
class OutputTest : public testing::Test
{
protected:
    OutputTest()
        : answers(directory.filePath(u"out"_s))
        , messages(directory.filePath(u"err"_s))
    {
        EXPECT_TRUE(answers.open(QIODevice::ReadWrite) && messages.open(QIODevice::ReadWrite));
    }

    Output::Manner manner(bool quiet = false, int verbosity = 0)
    {
        Output::Manner both;
        both.quiet = quiet;
        both.verbosity = verbosity;
        both.answerDescriptor = answers.handle();
        both.messageDescriptor = messages.handle();
        return both;
    }

    static QByteArray contentOf(const QFile &file)
    {
        QFile reader(file.fileName());
        EXPECT_TRUE(reader.open(QIODevice::ReadOnly));
        return reader.readAll();
    }

    QTemporaryDir directory;
    QFile answers;
    QFile messages;
};

TEST_F(OutputTest, answer_toAFile_isWrittenAsItIs)
{
    Output(manner()).answer(u"/a/ü\x1b.raw"_s);
    EXPECT_EQ(contentOf(answers), "/a/ü\x1b.raw\n");
    EXPECT_EQ(contentOf(messages), "");
}

TEST_F(OutputTest, answer_ofJson_isOneLine)
{
    Output(manner()).answer(QJsonObject { { u"a"_s, 1 } });
    EXPECT_EQ(contentOf(answers), "{\"a\":1}\n");
}

TEST_F(OutputTest, answerLines_moreThanOnePart_areAllWrittenInTheirOrder)
{
    const QString filling(1000, u'x');
    Output(manner()).answerLines(200,
                                 [&filling](qsizetype i) { return QString::number(i) + filling; });
    const QList<QByteArray> lines = contentOf(answers).split('\n');
    ASSERT_EQ(lines.size(), 201);
    for (int i = 0; i < 200; ++i)
        EXPECT_EQ(lines.at(i), QByteArray::number(i) + filling.toLatin1());
    Output(manner()).answerLines(0, [](qsizetype) { return u"never"_s; });
    EXPECT_FALSE(contentOf(answers).contains("never"));
}

TEST_F(OutputTest, answer_arrayOfMany_isOneObjectInOneLine)
{
    const QJsonObject frame { { u"a"_s, u"\"list\":[]"_s }, { u"list"_s, QJsonArray() } };
    const auto number = [](qsizetype i) {
        return QString::number(i);
    };
    Output(manner()).answer(frame, { { u"list"_s, 3, number } });
    Output(manner()).answer(frame, { { u"list"_s, 0, number } });
    EXPECT_EQ(contentOf(answers),
              "{\"a\":\"\\\"list\\\":[]\",\"list\":[0,1,2]}\n"
              "{\"a\":\"\\\"list\\\":[]\",\"list\":[]}\n");
}

TEST_F(OutputTest, answer_severalArrays_eachGetsItsElements)
{
    const QJsonObject frame { { u"a"_s, QJsonArray() }, { u"b"_s, 1 }, { u"c"_s, QJsonArray() } };
    Output(manner()).answer(frame,
                            { { u"a"_s, 1,
                                [](qsizetype) {
                                    return u"\"c\""_s;
                                } },
                              { u"c"_s, 2, [](qsizetype i) {
                                   return QString::number(i);
                               } } });
    EXPECT_EQ(contentOf(answers), "{\"a\":[\"c\"],\"b\":1,\"c\":[0,1]}\n");
}

TEST_F(OutputTest, messages_always_goToTheOtherStreamWithoutColors)
{
    Output output(manner());
    output.error(u"broken\x1b"_s);
    output.warning(u"odd"_s);
    EXPECT_EQ(contentOf(messages), "zelcache: error: broken\\x1b\nzelcache: warning: odd\n");
    EXPECT_EQ(contentOf(answers), "");
}

TEST_F(OutputTest, error_ofSeveralLines_isPrefixedOnEach)
{
    Output(manner()).error(u"first\nsecond"_s);
    EXPECT_EQ(contentOf(messages), "zelcache: error: first\nzelcache: error: second\n");
}

TEST_F(OutputTest, warning_quiet_isLeftOut)
{
    Output output(manner(true));
    output.warning(u"odd"_s);
    output.error(u"broken"_s);
    EXPECT_EQ(contentOf(messages), "zelcache: error: broken\n");
}

TEST_F(OutputTest, note_onlyVerbose_isShown)
{
    Output(manner()).note(u"quietly"_s);
    EXPECT_EQ(contentOf(messages), "");
    Output(manner(false, 1)).note(u"aloud"_s);
    EXPECT_EQ(contentOf(messages), "zelcache: aloud\n");
}

TEST_F(OutputTest, showProgress_noTerminal_drawsNothing)
{
    Output output(manner());
    EXPECT_FALSE(output.drawsProgress());
    output.showProgress({});
    EXPECT_EQ(contentOf(messages), "");
}

TEST_F(OutputTest, answer_deviceFull_isReportedAndNotTriedAgain)
{
    Output::Manner full = manner();
    full.answerDescriptor = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(full.answerDescriptor, 0);
    Output output(full);
    output.answer(u"/a"_s);
    EXPECT_EQ(output.answerFailure(), std::errc::no_space_on_device);
    ::close(full.answerDescriptor);
}

TEST_F(OutputTest, isAnswerWanted_readerGone_isFalse)
{
    int pipe[2] = { -1, -1 };
    ASSERT_EQ(::pipe2(pipe, O_CLOEXEC), 0);
    Output::Manner piped = manner();
    piped.answerDescriptor = pipe[1];
    Output output(piped);
    EXPECT_TRUE(output.isAnswerWanted());
    ::close(pipe[0]);
    EXPECT_FALSE(output.isAnswerWanted());
    EXPECT_EQ(output.answerFailure(), std::errc::broken_pipe);
    ::close(pipe[1]);
}

} // namespace zel::cli
