#include "tasks/GetSiblingsTask.h"

#include "support/ManagerFixture.h"

#include <QSequentialIterable>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

using References = GetSiblingsTask::References;

class ScriptedSiblings : public GetSiblingsTask
{
public:
    explicit ScriptedSiblings(const Result<References> &answer)
        : GetSiblingsTask(nullptr)
        , answer(answer)
    {
    }

    Result<References> readSiblings() override
    {
        searchedOn = QThread::currentThread();
        return answer;
    }

    Result<References> answer;
    QThread *searchedOn = nullptr;
};

class GetSiblingsTaskTest : public testing::Test
{
protected:
    void SetUp() override { registerTestSchemes(); }
};

/// A handler whose scheme knows its neighbours.
class NeighbourlyHandler : public LocalTestHandler
{
public:
    using LocalTestHandler::LocalTestHandler;

    Result<std::unique_ptr<GetSiblingsTask>> siblings() const override
    {
        std::unique_ptr<GetSiblingsTask> task
            = std::make_unique<ScriptedSiblings>(References { testReference(u"neighbour"_s) });
        return task;
    }
};

} // namespace

TEST_F(GetSiblingsTaskTest, exec_found_carriesTheListAsItsResult)
{
    const References list { testReference(u"a"_s), testReference(u"b"_s) };
    ScriptedSiblings task(list);
    task.exec();
    EXPECT_TRUE(succeeds(task.waitForAllFinished(-1)));
    EXPECT_EQ(task.siblings(), list);
    EXPECT_EQ(task.result<References>().value(), list);
    EXPECT_NE(task.searchedOn, QThread::currentThread());
}

TEST_F(GetSiblingsTaskTest, variantResult_readAsASequence_givesTheElements)
{
    ScriptedSiblings task(References { testReference(u"a"_s) });
    task.exec();
    EXPECT_TRUE(succeeds(task.waitForAllFinished(-1)));
    const auto sequence = task.variantResult().value<QSequentialIterable>();
    ASSERT_EQ(sequence.size(), 1);
    EXPECT_EQ(sequence.at(0).value<ResourceReferenceSPtr>(), task.siblings().at(0));
}

TEST_F(GetSiblingsTaskTest, exec_foundNothing_isASuccessWithAnEmptyResult)
{
    ScriptedSiblings task(References {});
    task.exec();
    EXPECT_TRUE(succeeds(task.waitForAllFinished(-1)));
    EXPECT_TRUE(task.variantResult().isValid());
    EXPECT_TRUE(task.siblings().isEmpty());
}

TEST_F(GetSiblingsTaskTest, exec_searchFails_endsWithItsErrorAndWithoutAResult)
{
    ScriptedSiblings task(Error(42, u"no folder"_s));
    task.exec();
    EXPECT_TRUE(failsWith(task.waitForAllFinished(-1), static_cast<ErrorCode>(42), u"no folder"_s));
    EXPECT_FALSE(task.variantResult().isValid());
    EXPECT_TRUE(task.siblings().isEmpty());
}

TEST_F(GetSiblingsTaskTest, siblings_unstarted_isEmptyAndStartsNothing)
{
    const ScriptedSiblings task(References { testReference(u"a"_s) });
    EXPECT_TRUE(task.siblings().isEmpty());
    EXPECT_TRUE(task.isIdle());
}

TEST_F(GetSiblingsTaskTest, siblings_resultOfAnotherType_isEmpty)
{
    ScriptedSiblings task(References {});
    task.setFunction([&task] {
        task.setVariantResult(u"a text"_s);
        return Error();
    });
    task.exec();
    EXPECT_TRUE(succeeds(task.waitForAllFinished(-1)));
    EXPECT_TRUE(task.siblings().isEmpty());
}

TEST_F(GetSiblingsTaskTest, handlersSiblings_overridden_isAnUnstartedTask)
{
    const NeighbourlyHandler handler(testReference(u"a"_s));
    const auto task = handler.siblings();
    ASSERT_TRUE(succeeds(task));
    EXPECT_TRUE(task.value()->isIdle());
    task.value()->exec();
    EXPECT_TRUE(succeeds(task.value()->waitForAllFinished(-1)));
    EXPECT_EQ(*task.value()->siblings().at(0), *testReference(u"neighbour"_s));
}
