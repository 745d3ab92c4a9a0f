#include "../SchemeManagerFixture.h"
#include "Holds.h"
#include "ResourceCache.h"
#include "staging/StagingArea.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// How often a fetch takes the semaphore, from the handler to its end: each time may be a wait for
/// all other programs.
class ShareHoldsTest : public SchemeManagerFixture
{
protected:
    static constexpr int interrupted = 30;

    ShareHoldsTest()
    {
        ResourceManager::setRetrieveMode(ResourceHandler::RetrieveMode::NoPrompt);
        // What goes on by itself: no ping comes, and the first count of all sizes is over.
        ResourceManager::cache()->setPingEnabled(false);
        EXPECT_TRUE(ResourceManager::cache()->readCurrentCacheSize().hasValue());
    }
    /// As if a program had died on so many fetches.
    void leaveInterrupted() const
    {
        for (int i = 0; i < interrupted; ++i)
            leaveOneInterrupted(u"share:/gone/%1.raw"_s.arg(i));
    }
    void leaveOneInterrupted(const QString &text) const
    {
        const auto lost = reference(text);
        const QString path = cache.dataDir() + u"/share/gone/lost.raw"_s;
        const FetchPlan plan = FetchPlan::make(*lost, path, ResourceManager::cache());
        ASSERT_TRUE(StagingArea::open(plan, u"v1"_s).hasValue());
    }
    int holdsOfFetches(int count) const
    {
        QList<QString> references;
        for (int i = 0; i < count; ++i) {
            const QString path = cache.outside(u"share%1/%2.raw"_s.arg(count).arg(i));
            writeFile(path, "content");
            references.append(u"share:"_s + path);
        }
        startCountingHolds();
        fetch(references);
        return stopCountingHolds();
    }

private:
    static void fetch(const QList<QString> &references)
    {
        const auto handlers = ResourceManager::getHandlers(references);
        ASSERT_TRUE(handlers.hasValue());
        const Error error = ResourceManager::retrieve(handlers.value());
        ASSERT_FALSE(error.hasError()) << error.description().toStdString();
    }
};

} // namespace

// One less where the fetch ends before this thread looks at it for the first time.
TEST_F(ShareHoldsTest, retrieve_smallFileAlone_isFifteenHolds)
{
    const int holds = holdsOfFetches(1);
    EXPECT_GE(holds, 14);
    EXPECT_LE(holds, 15);
}

// Six at once: the first one looks, for each of the others, whether what it has staged was left
// behind. On a busy machine one of them does with fewer now and then.
TEST_F(ShareHoldsTest, retrieve_manySmallFiles_areFifteenHoldsForEachAtMost)
{
    constexpr int count = 24;
    EXPECT_LE(holdsOfFetches(count), count * 15 + 5);
}

// Whether what they were to bring is Ready is asked of the cache.
TEST_F(ShareHoldsTest, retrieve_besideInterruptedFetches_isOneMoreHoldForEachOfThem)
{
    leaveInterrupted();
    const int holds = holdsOfFetches(1);
    EXPECT_GE(holds, 14 + interrupted);
    EXPECT_LE(holds, 15 + interrupted);
}

TEST_F(ShareHoldsTest, retrieve_manyBesideInterruptedFetches_askForEachOfThemOnce)
{
    constexpr int count = 12;
    leaveInterrupted();
    EXPECT_LE(holdsOfFetches(count), count * 15 + interrupted + 5);
}
