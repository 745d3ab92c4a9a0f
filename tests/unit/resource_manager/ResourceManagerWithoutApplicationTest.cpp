#include "support/ManagerFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

// A program that has no application object, as a tool that only wants a look may be.
int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}

namespace {

class ResourceManagerWithoutApplicationTest : public ManagerFixture
{
protected:
    /// Whether the outcome failed with a text that names what is missing.
    template<typename Outcome>
    static testing::AssertionResult lacksTheApplication(const Outcome &outcome)
    {
        if (!failsWith(outcome, ErrorCode::OperationFailed))
            return failsWith(outcome, ErrorCode::OperationFailed);
        return messageOf(outcome).contains(u"QCoreApplication"_s)
            ? testing::AssertionSuccess()
            : testing::AssertionFailure() << qPrintable(messageOf(outcome));
    }

private:
    static QString messageOf(const Error &error) { return error.errorMessage(); }
    template<typename T>
    static QString messageOf(const Result<T> &result)
    {
        return result.error().errorMessage();
    }
};

} // namespace

TEST_F(ResourceManagerWithoutApplicationTest, blockingForms_always_failInsteadOfHanging)
{
    const auto remote = handler(u"a"_s);
    const ResourceManager::Handlers list { remote };
    EXPECT_TRUE(lacksTheApplication(ResourceManager::exists(remote)));
    EXPECT_TRUE(lacksTheApplication(ResourceManager::exists(list)));
    EXPECT_TRUE(lacksTheApplication(remote->grab()));
    EXPECT_TRUE(lacksTheApplication(ResourceManager::retrieve(remote)));
    EXPECT_TRUE(lacksTheApplication(ResourceManager::retrieve(list)));
    EXPECT_TRUE(lacksTheApplication(ResourceManager::retrieveMetadata(remote)));
    EXPECT_EQ(script(u"a"_s).existsTasks, 0);
    EXPECT_EQ(script(u"a"_s).fetchTasks, 0);
}

TEST_F(ResourceManagerWithoutApplicationTest, otherForms_always_work)
{
    const auto remote = handler(u"a"_s);
    EXPECT_TRUE(succeeds(remote->expectedPath()));
    EXPECT_FALSE(remote->isAvailableLocally());
    const auto task = ResourceManager::retrieveAsync(remote, ResourceHandler::Manual);
    ASSERT_TRUE(succeeds(task));
    EXPECT_TRUE(task.value()->isIdle());
}
