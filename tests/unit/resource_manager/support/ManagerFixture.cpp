#include "support/ManagerFixture.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

// Made before the manager, so that it goes after it.
TemporaryCache &processDirectory()
{
    static TemporaryCache directory;
    return directory;
}

} // namespace

testing::AssertionResult failsWith(const Error &error, ErrorCode code, const QString &message)
{
    if (error.errorCode() == code && (message.isEmpty() || error.errorMessage() == message))
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << qPrintable(error.description());
}

testing::AssertionResult succeeds(const Error &error)
{
    if (!error.hasError())
        return testing::AssertionSuccess();
    return testing::AssertionFailure() << qPrintable(error.description());
}

bool FakePrompting::confirmRetrieve(const References &references)
{
    lastAsked = references;
    QStringList keys;
    for (const QSharedPointer<ResourceReference> &reference : references)
        keys.append(reference->referenceText(false));
    questions.append(keys);
    return answer;
}

FakePrompting::References FakePrompting::confirmedReferences()
{
    return accepted.value_or(lastAsked);
}

ManagerFixture::ManagerFixture()
    : directory(processDirectory())
{
    registerTestSchemes();
    registerTestHandlers();
    ResourceManager::overrideDefaultSettings(settingsFor(directory.baseDir()));
}

ResourceManagerSettings ManagerFixture::settingsFor(const QString &baseDir)
{
    ResourceManagerSettings settings;
    settings.cachePath.setBaseDirPath(baseDir);
    return settings;
}

QSharedPointer<RemoteTestHandler> ManagerFixture::handler(const QString &name) const
{
    const auto found = ResourceManager::getHandler(testReference(name));
    EXPECT_TRUE(succeeds(found));
    return found.hasValue() ? found.value().staticCast<RemoteTestHandler>() : nullptr;
}

QSharedPointer<RemoteTestHandler> ManagerFixture::prompted(const QString &name) const
{
    const auto remote = handler(name);
    remote->overrideRetrieveMode(ResourceHandler::Prompt);
    return remote;
}

FakePrompting *ManagerFixture::makeDefaultPrompting()
{
    auto prompting = std::make_unique<FakePrompting>();
    auto *borrowed = prompting.get();
    ResourceManager::setDefaultResourcePromptingInterface(std::move(prompting));
    return borrowed;
}

QSharedPointer<LocalTestHandler> ManagerFixture::nearHandler(const QString &name) const
{
    const auto found = ResourceManager::getHandler(testReference(name, u"near"_s));
    EXPECT_TRUE(succeeds(found));
    return found.hasValue() ? found.value().staticCast<LocalTestHandler>() : nullptr;
}

QString ManagerFixture::pathOf(const QString &name) const
{
    return u"%1/test/%2/%2.dat"_s.arg(directory.dataDir(), name);
}

} // namespace zel::test
