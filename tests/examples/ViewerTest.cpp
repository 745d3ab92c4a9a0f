#include "CacheDatabase.h"
#include "ResourceCache.h"
#include "ResourceManager.h"
#include "ViewerFixture.h"

#include <QFileInfo>
#include <QPixmap>
#include <QTreeWidget>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

const auto here = u"In the cache"_s;
const auto absent = u"Not here yet"_s;
const auto fetching = u"Fetching"_s;
const auto canceled = u"Canceled"_s;
const auto failed = u"Failed"_s;

class ViewerTest : public ViewerFixture
{
protected:
    /// Lists a run of the server and waits until it is known to exist.
    void list(const QString &folder, const QString &name)
    {
        window->add(server.url(u"/%1/%2"_s.arg(folder, name)));
        ASSERT_TRUE(waitForState(name, absent)) << qPrintable(details());
    }
    bool inUse(const QString &reference) const
    {
        return ResourceManager::cache()->inUse(reference).value();
    }
};

} // namespace

TEST_F(ViewerTest, add_typedReference_isListedAndLookedFor)
{
    type(server.url(u"/runs/run.mzML"_s));
    click(u"add"_s);
    ASSERT_TRUE(row(u"run.mzML"_s));
    EXPECT_TRUE(waitForState(u"run.mzML"_s, absent));
    EXPECT_FALSE(server.wasFetched(u"/runs/run.mzML"_s));
    EXPECT_TRUE(isEnabled(u"fetch"_s));
    EXPECT_FALSE(isEnabled(u"cancel"_s));
}

TEST_F(ViewerTest, add_otherSpellingOfOneResource_isListedOnce)
{
    list(u"runs"_s, u"run.mzML"_s);
    window->add(server.url(u"/runs/../runs/run.mzML"_s));
    EXPECT_EQ(row(u"run.mzML"_s)->treeWidget()->topLevelItemCount(), 1);
}

TEST_F(ViewerTest, add_noReference_tellsWhy)
{
    type(u"nonsense:run"_s);
    click(u"add"_s);
    EXPECT_FALSE(row(u"run"_s));
    EXPECT_TRUE(details().contains(u"nonsense"_s)) << qPrintable(details());
}

TEST_F(ViewerTest, add_nothingThere_hasFailed)
{
    window->add(server.url(u"/missing/run.mzML"_s));
    EXPECT_TRUE(waitForState(u"run.mzML"_s, failed));
    EXPECT_TRUE(details().contains(u"does not exist"_s)) << qPrintable(details());
}

TEST_F(ViewerTest, fetch_agreedTo_bringsTheDataAndTellsWhere)
{
    list(u"runs"_s, u"run.mzML"_s);
    answer(u"Fetch"_s);
    click(u"fetch"_s);
    ASSERT_TRUE(waitForState(u"run.mzML"_s, here)) << qPrintable(details());
    EXPECT_EQ(questions.size(), 1);
    EXPECT_TRUE(questions.value(0).contains(u"/runs/run.mzML"_s)) << qPrintable(questions.value(0));
    EXPECT_EQ(percent(u"run.mzML"_s), 100);
    const QString path = details().section(u'\n', 1); // behind where it came from
    EXPECT_EQ(QFileInfo(path).size(), TickingServer::size) << qPrintable(path);
    EXPECT_FALSE(isEnabled(u"fetch"_s));
}

TEST_F(ViewerTest, fetch_declined_fetchesNothing)
{
    list(u"runs"_s, u"run.mzML"_s);
    answer(u"Not now"_s);
    click(u"fetch"_s);
    EXPECT_EQ(state(u"run.mzML"_s), canceled);
    EXPECT_EQ(questions.size(), 1);
    EXPECT_FALSE(server.wasFetched(u"/runs/run.mzML"_s));
    EXPECT_TRUE(isEnabled(u"fetch"_s));
}

TEST_F(ViewerTest, fetch_answerForAll_isAskedOnce)
{
    list(u"runs"_s, u"a.mzML"_s);
    list(u"runs"_s, u"b.mzML"_s);
    clickRow(u"a.mzML"_s);
    clickRow(u"b.mzML"_s, Qt::ControlModifier);
    answer(u"Fetch"_s, true);
    click(u"fetch"_s);
    EXPECT_TRUE(waitForState(u"a.mzML"_s, here));
    EXPECT_TRUE(waitForState(u"b.mzML"_s, here));
    EXPECT_EQ(questions.size(), 1);
}

TEST_F(ViewerTest, fetch_nobodyToBeAsked_asksNobody)
{
    list(u"runs"_s, u"run.mzML"_s);
    setAsking(false);
    answer(u"Not now"_s);
    click(u"fetch"_s);
    EXPECT_TRUE(waitForState(u"run.mzML"_s, here));
    EXPECT_TRUE(questions.isEmpty());
}

TEST_F(ViewerTest, fetch_large_eventLoopTurnsBetweenTheStepsOfProgress)
{
    list(u"large"_s, u"large.raw"_s);
    setAsking(false);
    click(u"fetch"_s);
    // The click has returned, and the data cannot be here: its second half waits for ticks.
    EXPECT_EQ(state(u"large.raw"_s), fetching);

    QList<int> steps;
    QList<int> ticksAtStep;
    ASSERT_TRUE(waitFor([&] {
        const int shown = percent(u"large.raw"_s);
        if (shown >= 50 && (steps.isEmpty() || shown != steps.last())) {
            steps.append(shown);
            ticksAtStep.append(ticks);
        }
        return steps.size() >= 4;
    }));
    // Many pieces make a percent, and each has waited for the event loop.
    const int turns = ticksAtStep.last() - ticksAtStep.first();
    EXPECT_GT(turns, 2 * TickingServer::size / 100 / TickingServer::pieceSize);
    EXPECT_GT(server.piecesSent(), turns / 2);
    EXPECT_EQ(state(u"large.raw"_s), fetching);

    server.letGo();
    EXPECT_TRUE(waitForState(u"large.raw"_s, here)) << qPrintable(details());
}

TEST_F(ViewerTest, fetch_ofOneWhileAnotherRuns_bothProceed)
{
    list(u"large"_s, u"large.raw"_s);
    setAsking(false);
    click(u"fetch"_s);
    list(u"runs"_s, u"run.mzML"_s);
    click(u"fetch"_s);
    EXPECT_TRUE(waitForState(u"run.mzML"_s, here));
    EXPECT_EQ(state(u"large.raw"_s), fetching);
    server.letGo();
    EXPECT_TRUE(waitForState(u"large.raw"_s, here));
}

TEST_F(ViewerTest, cancel_whileFetching_endsAndCanBeFetchedAgain)
{
    list(u"large"_s, u"large.raw"_s);
    setAsking(false);
    click(u"fetch"_s);
    ASSERT_TRUE(waitFor([this] { return percent(u"large.raw"_s) >= 40; }));
    EXPECT_FALSE(isEnabled(u"remove"_s));
    click(u"cancel"_s);
    ASSERT_TRUE(waitForState(u"large.raw"_s, canceled));
    EXPECT_FALSE(isEnabled(u"cancel"_s));

    server.letGo();
    click(u"fetch"_s);
    EXPECT_TRUE(waitForState(u"large.raw"_s, here)) << qPrintable(details());
}

TEST_F(ViewerTest, remove_listedResource_isInUseUntilThen)
{
    list(u"runs"_s, u"run.mzML"_s);
    const QString reference = server.url(u"/runs/run.mzML"_s);
    EXPECT_TRUE(inUse(reference));
    click(u"remove"_s);
    EXPECT_FALSE(row(u"run.mzML"_s));
    EXPECT_FALSE(inUse(reference));
}

TEST_F(ViewerTest, close_nothingRuns_closesAtOnce)
{
    list(u"runs"_s, u"run.mzML"_s);
    window->close();
    EXPECT_FALSE(window->isVisible());
}

TEST_F(ViewerTest, close_whileFetching_endsTheFetchFirst)
{
    list(u"large"_s, u"large.raw"_s);
    setAsking(false);
    click(u"fetch"_s);
    ASSERT_TRUE(waitFor([this] { return percent(u"large.raw"_s) >= 40; }));
    window->close();
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(waitFor([this] { return !window->isVisible(); }));
    EXPECT_EQ(state(u"large.raw"_s), canceled);

    CacheDatabase database(directory.databasePath());
    EXPECT_EQ(database.count(u"AcquiringTasks"_s), 0);
    EXPECT_EQ(database.status(server.url(u"/large/large.raw"_s)), u"Missing"_s);
}

TEST_F(ViewerTest, close_whileAsked_takesItForANo)
{
    list(u"runs"_s, u"run.mzML"_s);
    atQuestion = [this](QWidget *) {
        window->close();
    };
    answer({});
    click(u"fetch"_s);
    EXPECT_TRUE(waitFor([this] { return !window->isVisible(); }));
    EXPECT_EQ(questions.size(), 1);
    EXPECT_EQ(state(u"run.mzML"_s), canceled);
    EXPECT_FALSE(server.wasFetched(u"/runs/run.mzML"_s));
}

TEST_F(ViewerTest, window_runsOfAllKinds_looksAsInTheGuide)
{
    setAsking(false);
    list(u"runs"_s, u"hela-2024-05-30.mzML"_s);
    click(u"fetch"_s);
    ASSERT_TRUE(waitForState(u"hela-2024-05-30.mzML"_s, here));
    list(u"runs"_s, u"blank-07.mzML"_s);
    window->add(server.url(u"/missing/blank-06.mzML"_s));
    ASSERT_TRUE(waitForState(u"blank-06.mzML"_s, failed));
    list(u"large"_s, u"qc-0612.raw"_s);
    click(u"fetch"_s);
    ASSERT_TRUE(waitFor([this] { return percent(u"qc-0612.raw"_s) >= 60; }));
    list(u"large"_s, u"hela-2024-05-31.raw"_s);
    click(u"fetch"_s);
    ASSERT_TRUE(waitFor([this] { return percent(u"hela-2024-05-31.raw"_s) >= 50; }));
    setAsking(true);
    const QPixmap picture = window->grab();
    EXPECT_EQ(picture.size(), window->size() * picture.devicePixelRatio());
    EXPECT_TRUE(picture.save(QStringLiteral(PICTURES) + u"/viewer.png"_s));

    QPixmap question;
    atQuestion = [&question](QWidget *box) {
        question = box->grab();
    };
    clickRow(u"blank-07.mzML"_s);
    clickRow(u"blank-06.mzML"_s, Qt::ControlModifier);
    answer(u"Not now"_s, true);
    click(u"fetch"_s);
    ASSERT_FALSE(question.isNull());
    EXPECT_TRUE(question.save(QStringLiteral(PICTURES) + u"/viewer-question.png"_s));
}
