#include "LogCapture.h"
#include "support/ManagerFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ResourceManagerPromptTest : public ManagerFixture
{
protected:
    using References = ResourceManager::References;
    using Handlers = ResourceManager::Handlers;

    static const auto manual = ResourceHandler::Manual;
    static const auto queued = ResourceHandler::Queued;
};

} // namespace

TEST_F(ResourceManagerPromptTest, prompt_managersMode_asksTheDefaultInterface)
{
    ResourceManager::setRetrieveMode(ResourceHandler::Prompt);
    const FakePrompting *prompting = makeDefaultPrompting();
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(handler(u"a"_s))));
    EXPECT_EQ(prompting->questions, QList<QStringList> { { key(u"a"_s) } });
}

TEST_F(ResourceManagerPromptTest, prompt_givenInterface_goesBeforeTheDefault)
{
    const FakePrompting *byDefault = makeDefaultPrompting();
    FakePrompting given;
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(prompted(u"a"_s), &given)));
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(Handlers { prompted(u"b"_s) }, &given)));
    EXPECT_TRUE(byDefault->questions.isEmpty());
    EXPECT_EQ(given.questions.size(), 2);
}

TEST_F(ResourceManagerPromptTest, prompt_handlersOverride_isAskedUnderAManagerThatDoesNot)
{
    FakePrompting prompting;
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(prompted(u"a"_s), &prompting)));
    EXPECT_EQ(prompting.questions, QList<QStringList> { { key(u"a"_s) } });
}

TEST_F(ResourceManagerPromptTest, prompt_handlersNoPrompt_isNotAskedUnderAManagerThatDoes)
{
    ResourceManager::setRetrieveMode(ResourceHandler::Prompt);
    const auto remote = handler(u"a"_s);
    remote->overrideRetrieveMode(ResourceHandler::NoPrompt);
    FakePrompting prompting;
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(remote, &prompting)));
    EXPECT_TRUE(prompting.questions.isEmpty());
}

TEST_F(ResourceManagerPromptTest, prompt_afterCleaningTheOverride_theManagersModeCounts)
{
    FakePrompting prompting;
    const auto remote = prompted(u"a"_s);
    remote->cleanOverridenRetrieveMode();
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(remote, &prompting)));
    EXPECT_TRUE(prompting.questions.isEmpty());
}

TEST_F(ResourceManagerPromptTest, prompt_refusedForOne_isCanceledAndLogged)
{
    FakePrompting prompting;
    prompting.answer = false;
    const auto remote = prompted(u"a"_s);
    const LogCapture log;
    EXPECT_TRUE(failsWith(ResourceManager::retrieve(remote, &prompting), ErrorCode::Canceled,
                          u"Retrieve of resources has been canceled."_s));
    EXPECT_TRUE(log.contains(QtDebugMsg, u"Canceled retrieve of QList(\"test:a\")"_s));
    EXPECT_EQ(script(u"a"_s).fetches, 0);
    EXPECT_EQ(database().count(u"AcquiringTasks"_s), 0);
}

TEST_F(ResourceManagerPromptTest, prompt_nobodyToAnswer_isRefused)
{
    EXPECT_TRUE(failsWith(ResourceManager::retrieve(prompted(u"a"_s)), ErrorCode::Canceled,
                          u"Retrieve of resources has been canceled."_s));
    EXPECT_EQ(script(u"a"_s).fetches, 0);
}

TEST_F(ResourceManagerPromptTest, promptList_mixedModes_asksForMissingPromptOnesOnly)
{
    ASSERT_TRUE(succeeds(ResourceManager::retrieve(handler(u"here"_s))));
    FakePrompting prompting;
    const Handlers handlers { prompted(u"a"_s), handler(u"b"_s), prompted(u"here"_s),
                              prompted(u"c"_s) };
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(handlers, &prompting)));
    EXPECT_EQ(prompting.questions, (QList<QStringList> { { key(u"a"_s), key(u"c"_s) } }));
}

TEST_F(ResourceManagerPromptTest, promptList_refused_runsNothingAtAll)
{
    FakePrompting prompting;
    prompting.answer = false;
    EXPECT_TRUE(failsWith(
        ResourceManager::retrieve(Handlers { handler(u"a"_s), prompted(u"b"_s) }, &prompting),
        ErrorCode::Canceled, u"Retrieve of resources has been canceled."_s));
    EXPECT_EQ(script(u"a"_s).fetches, 0);
    EXPECT_EQ(script(u"b"_s).fetches, 0);
}

TEST_F(ResourceManagerPromptTest, promptList_partialChoice_dropsTheUnacceptedPromptOnes)
{
    FakePrompting prompting;
    prompting.accepted = { testReference(u"c"_s) };
    const Handlers handlers { prompted(u"a"_s), handler(u"b"_s), prompted(u"c"_s) };
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(handlers, &prompting)));
    EXPECT_FALSE(handlers.at(0)->isAvailableLocally());
    EXPECT_TRUE(handlers.at(1)->isAvailableLocally());
    EXPECT_TRUE(handlers.at(2)->isAvailableLocally());
}

TEST_F(ResourceManagerPromptTest, promptList_nothingAccepted_isANullGroup)
{
    FakePrompting prompting;
    prompting.accepted = References();
    const auto group = ResourceManager::retrieveAsync(
        Handlers { prompted(u"a"_s), prompted(u"b"_s) }, queued, &prompting);
    ASSERT_TRUE(succeeds(group));
    EXPECT_EQ(group.value(), nullptr);
}

TEST_F(ResourceManagerPromptTest, promptList_asManyAcceptedAsMissing_dropsNobodyWhateverTheyAre)
{
    FakePrompting prompting;
    prompting.accepted = { testReference(u"x"_s), testReference(u"y"_s) };
    const auto group = ResourceManager::retrieveAsync(
        Handlers { prompted(u"a"_s), prompted(u"b"_s) }, manual, &prompting);
    ASSERT_TRUE(succeeds(group));
    EXPECT_EQ(group.value()->subtasks().size(), 2);
}

TEST_F(ResourceManagerPromptTest, promptList_defaultReplacedWhileItAsks_livesUntilItsAnswerIsRead)
{
    /// As one whose dialog logs the user out.
    class Replaced : public FakePrompting
    {
    public:
        explicit Replaced(QStringList *steps)
            : steps(steps)
        {
        }
        ~Replaced() override { steps->append(u"gone"_s); }
        bool confirmRetrieve(const References &references) override
        {
            ResourceManager::setDefaultResourcePromptingInterface(nullptr);
            steps->append(u"asked"_s);
            return FakePrompting::confirmRetrieve(references);
        }
        References confirmedReferences() override
        {
            steps->append(u"read"_s);
            return FakePrompting::confirmedReferences();
        }

    private:
        QStringList *steps;
    };
    QStringList steps;
    ResourceManager::setDefaultResourcePromptingInterface(std::make_unique<Replaced>(&steps));
    EXPECT_TRUE(succeeds(ResourceManager::retrieve(Handlers { prompted(u"a"_s) })));
    EXPECT_EQ(steps, (QStringList { u"asked"_s, u"read"_s, u"gone"_s }));
}

TEST_F(ResourceManagerPromptTest, promptList_partialChoiceOfTwiceAsMany_makesTwiceAsManyKeyForms)
{
    const auto keyFormsFor = [this](const QString &name, int count) {
        Handlers handlers;
        References all;
        for (int i = 0; i < count; ++i) {
            handlers.append(prompted(name + QString::number(i)));
            all.append(testReference(name + QString::number(i)));
        }
        FakePrompting prompting;
        prompting.accepted = all.mid(1);
        const int before = TestReference::keyFormsMade();
        const auto group = ResourceManager::retrieveAsync(handlers, manual, &prompting);
        EXPECT_EQ(group.value()->subtasks().size(), count - 1);
        return TestReference::keyFormsMade() - before;
    };
    const int forFew = keyFormsFor(u"few"_s, 30);
    EXPECT_LE(keyFormsFor(u"many"_s, 60), 2 * forFew + 2);
}
