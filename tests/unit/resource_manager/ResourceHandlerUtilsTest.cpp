#include "ResourceHandlerUtils.h"

#include "LogCapture.h"
#include "ResourceHandlerFactory.h"
#include "support/ManagerFixture.h"

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace utils = zel::ResourceHandlerUtils;

namespace {

class ResourceHandlerUtilsTest : public ManagerFixture
{
protected:
    using References = QList<QSharedPointer<ResourceReference>>;
    using Handlers = QList<QSharedPointer<ResourceHandler>>;
};

} // namespace

TEST_F(ResourceHandlerUtilsTest, exists_answer_isTheHandlers)
{
    script(u"gone"_s).exists = false;
    EXPECT_TRUE(utils::exists(testReference(u"a"_s)).value());
    EXPECT_FALSE(utils::exists(testReference(u"gone"_s)).value());
}

TEST_F(ResourceHandlerUtilsTest, exists_failure_isPassedOn)
{
    script(u"a"_s).existsOutcome = Error(42, u"down"_s);
    EXPECT_TRUE(
        failsWith(utils::exists(testReference(u"a"_s)), static_cast<ErrorCode>(42), u"down"_s));
    EXPECT_TRUE(failsWith(utils::exists(nullptr), ErrorCode::BadArgument));
}

TEST_F(ResourceHandlerUtilsTest, checkExists_failure_isFalse)
{
    script(u"a"_s).existsOutcome = Error(42, u"down"_s);
    EXPECT_FALSE(utils::checkExists(testReference(u"a"_s)));
    EXPECT_FALSE(utils::checkExists(nullptr));
    EXPECT_TRUE(utils::checkExists(testReference(u"b"_s)));
}

TEST_F(ResourceHandlerUtilsTest, compare_nulls_equalOnlyEachOther)
{
    const auto some = handler(u"a"_s);
    const ResourceHandler *null = nullptr;
    EXPECT_TRUE(utils::compare(null, null));
    EXPECT_FALSE(utils::compare(null, some.data()));
    EXPECT_FALSE(utils::compare(some.data(), null));
    EXPECT_TRUE(
        utils::compare(QSharedPointer<ResourceHandler>(), QSharedPointer<ResourceHandler>()));
}

TEST_F(ResourceHandlerUtilsTest, compare_twoHandlersOfOneReference_areEqual)
{
    const LocalTestHandler first(testReference(u"a"_s));
    const LocalTestHandler second(testReference(u"a"_s));
    const LocalTestHandler other(testReference(u"b"_s));
    EXPECT_TRUE(utils::compare(&first, &second));
    EXPECT_FALSE(utils::compare(&first, &other));
}

TEST_F(ResourceHandlerUtilsTest, contains_equalElement_isFound)
{
    LocalTestHandler first(testReference(u"a"_s));
    LocalTestHandler second(testReference(u"b"_s));
    const LocalTestHandler same(testReference(u"b"_s));
    EXPECT_TRUE(utils::contains({ &first, &second }, &same));
    EXPECT_FALSE(utils::contains(QList<ResourceHandler *> { &first }, &same));
    EXPECT_FALSE(utils::contains(QList<ResourceHandler *>(), &same));
    EXPECT_TRUE(utils::contains(Handlers { handler(u"c"_s) },
                                QSharedPointer<ResourceHandler>(handler(u"c"_s))));
    EXPECT_FALSE(utils::contains(Handlers(), QSharedPointer<ResourceHandler>()));
}

TEST_F(ResourceHandlerUtilsTest, validateReference_emptyText_isFalseWithoutAParse)
{
    const LogCapture log;
    EXPECT_FALSE(utils::validateReference(QString()));
    EXPECT_TRUE(log.texts(QtWarningMsg).isEmpty()); // a parse would have failed and told so
}

TEST_F(ResourceHandlerUtilsTest, validateReference_malformedText_isFalse)
{
    EXPECT_FALSE(utils::validateReference(u"no reference at all"_s));
    EXPECT_FALSE(utils::validateReference(u"test:"_s));
}

TEST_F(ResourceHandlerUtilsTest, validateReference_text_meansThatTheResourceExists)
{
    script(u"gone"_s).exists = false;
    EXPECT_TRUE(utils::validateReference(u"test:a"_s));
    EXPECT_FALSE(utils::validateReference(u"test:gone"_s));
    EXPECT_EQ(script(u"a"_s).existsRuns, 1);
}

TEST_F(ResourceHandlerUtilsTest, validateReference_reference_meansThatTheResourceExists)
{
    script(u"gone"_s).exists = false;
    EXPECT_FALSE(utils::validateReference(QSharedPointer<ResourceReference>()));
    EXPECT_FALSE(utils::validateReference(testReference(u"gone"_s)));
    EXPECT_TRUE(utils::validateReference(testReference(u"a"_s)));
}

TEST_F(ResourceHandlerUtilsTest, confirmPrivileges_firstFailure_endsTheAsking)
{
    script(u"gone"_s).exists = false;
    EXPECT_TRUE(failsWith(
        utils::confirmPrivileges({ handler(u"a"_s), handler(u"gone"_s), handler(u"later"_s) }),
        ErrorCode::OperationFailed, u"Resource the resource gone does not exist"_s));
    EXPECT_EQ(script(u"a"_s).existsTasks, 1);
    EXPECT_EQ(script(u"later"_s).existsTasks, 0);
}

TEST_F(ResourceHandlerUtilsTest, confirmPrivilegesAndLocalPaths_nullHandler_failWithCode2)
{
    const QList<QSharedPointer<ResourceHandler>> handlers { nullptr };
    const QString text = u"Null handler provided."_s;
    EXPECT_TRUE(
        failsWith(ResourceHandlerUtils::confirmPrivileges(handlers), ErrorCode::BadArgument, text));
    EXPECT_TRUE(
        failsWith(ResourceHandlerUtils::localPaths(handlers), ErrorCode::BadArgument, text));
}

TEST_F(ResourceHandlerUtilsTest, confirmPrivileges_allOrNone_succeeds)
{
    EXPECT_TRUE(succeeds(utils::confirmPrivileges({})));
    EXPECT_TRUE(succeeds(utils::confirmPrivileges({ handler(u"a"_s), handler(u"b"_s) })));
    EXPECT_EQ(script(u"b"_s).existsTasks, 1);
}

TEST_F(ResourceHandlerUtilsTest, path_referenceThatKnowsIt_asksNobody)
{
    EXPECT_EQ(utils::path(testReference(u"known"_s)), u"/path/of/known"_s);
    EXPECT_EQ(utils::fullPath(testReference(u"known"_s)), u"/full/path/of/known"_s);
    EXPECT_EQ(script(u"known"_s).metadataTasks, 0);
}

TEST_F(ResourceHandlerUtilsTest, path_referenceThatDoesNotKnowIt_asksTheMetadata)
{
    script(u"a"_s).metadata = QSharedPointer<TestMetadata>::create(u"a"_s);
    EXPECT_EQ(utils::path(testReference(u"a"_s)), u"/metadata/a"_s);
    EXPECT_EQ(utils::fullPath(testReference(u"a"_s)), u"/metadata/full/a"_s);
}

TEST_F(ResourceHandlerUtilsTest, path_failureOrNull_isEmpty)
{
    script(u"a"_s).metadataOutcome = Error(42, u"down"_s);
    const LogCapture log;
    EXPECT_TRUE(utils::path(testReference(u"a"_s)).isEmpty());
    EXPECT_TRUE(utils::fullPath(testReference(u"a"_s)).isEmpty());
    EXPECT_TRUE(log.contains(QtWarningMsg, u"down"_s));
    script(u"b"_s).metadata = QSharedPointer<ResourceMetadata>();
    EXPECT_TRUE(utils::path(testReference(u"b"_s)).isEmpty());
    EXPECT_TRUE(utils::fullPath(testReference(u"b"_s)).isEmpty());
    EXPECT_TRUE(utils::path(nullptr).isEmpty());
    EXPECT_TRUE(utils::fullPath(nullptr).isEmpty());
}

TEST_F(ResourceHandlerUtilsTest, localPath_existingNeverFetched_namesAPlaceWhereNothingLies)
{
    const auto path = utils::localPath(testReference(u"a"_s));
    ASSERT_TRUE(succeeds(path));
    EXPECT_EQ(path.value(), pathOf(u"a"_s));
    EXPECT_FALSE(QFileInfo::exists(path.value()));
}

TEST_F(ResourceHandlerUtilsTest, localPath_failures_arePassedOn)
{
    script(u"gone"_s).exists = false;
    EXPECT_TRUE(failsWith(utils::localPath(testReference(u"gone"_s)), ErrorCode::OperationFailed));
    EXPECT_TRUE(failsWith(utils::localPath(nullptr), ErrorCode::BadArgument));
}

TEST_F(ResourceHandlerUtilsTest, localPaths_many_keepTheOrder)
{
    const auto paths = utils::localPaths({ handler(u"b"_s), handler(u"a"_s) });
    ASSERT_TRUE(succeeds(paths));
    EXPECT_EQ(paths.value(), (QList<QString> { pathOf(u"b"_s), pathOf(u"a"_s) }));
    EXPECT_TRUE(utils::localPaths({}).value().isEmpty());
}

TEST_F(ResourceHandlerUtilsTest, localPaths_oneFails_givesNothing)
{
    script(u"gone"_s).exists = false;
    EXPECT_TRUE(failsWith(utils::localPaths({ handler(u"a"_s), handler(u"gone"_s) }),
                          ErrorCode::OperationFailed));
}

TEST_F(ResourceHandlerUtilsTest, missingResources_mixed_namesThoseThatAreNotHere)
{
    ASSERT_TRUE(succeeds(handler(u"here"_s)->retrieve()));
    const References asked { testReference(u"x"_s), testReference(u"here"_s),
                             testReference(u"y"_s) };
    const auto missing = utils::missingResources(asked);
    ASSERT_TRUE(succeeds(missing));
    ASSERT_EQ(missing.value().size(), 2);
    EXPECT_EQ(*missing.value().at(0), *asked.at(0));
    EXPECT_EQ(*missing.value().at(1), *asked.at(2));
}

TEST_F(ResourceHandlerUtilsTest, missingResources_none_isEmpty)
{
    const auto missing = utils::missingResources({});
    ASSERT_TRUE(succeeds(missing));
    EXPECT_TRUE(missing.value().isEmpty());
}

TEST_F(ResourceHandlerUtilsTest, missingResources_null_fails)
{
    EXPECT_TRUE(failsWith(utils::missingResources({ testReference(u"a"_s), nullptr }),
                          ErrorCode::BadArgument));
}
