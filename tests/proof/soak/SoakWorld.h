#pragma once

#include "../../unit/schemes/SchemeManagerFixture.h"
#include "CacheInvariants.h"
#include "NginxServer.h"
#include "ProcessUse.h"
#include "support/TestHandlers.h"

#include <functional>
#include <memory>

namespace zel::test {

/// The manager of this process as a long-lived program has it: with the schemes of the library, a
/// scheme whose fetches behave as they are told, a web server and a second cache to move to. Each
/// kind of round retrieves something and releases it.
class SoakWorld : public SchemeManagerFixture
{
public:
    struct Kind
    {
        QString name;
        int weight; ///< how often among the others, when all are mixed
        int cost; ///< how many rounds of the cheapest kind take as long
        std::function<void()> round;
        bool namesAnew = false; ///< a resource that nobody has named before
    };

    SoakWorld();
    ~SoakWorld() override;

protected:
    /// After so many rounds a kind has named all resources of which something stays.
    static constexpr int names = 4;

    QList<Kind> kinds();
    QList<Kind> scriptedKinds();
    QList<Kind> schemeKinds();
    QList<Kind> managerKinds();
    /// Runs so many rounds, each as an event of a loop, as in a program with windows.
    static void run(int rounds, const std::function<void()> &round);
    /// What is left when nobody uses anything and the cache is empty.
    ProcessUse useAtRest();
    /// What does not hold then.
    QStringList violationsAtRest() const;

private:
    int next() { return ++rounds; }
    /// The reference of one of `count` resources, in turn.
    QString oneOf(const QString &pattern, int count) { return pattern.arg(next() % count); }
    ResourceCachePath mainPath() const;
    void fetchOnce(const QString &text);
    void refuse(const QString &text);
    void cancel(const QString &text, const std::function<bool()> &mayCancel);
    void abandon();
    void fetchTogether();
    void followAnother();
    void closeAndOpen();
    void moveAndReturn();
    void ask();
    void followSignedAddress();
    void lookAtRows();
    void maintain();

    const QString otherBaseDir; ///< of the cache to move to
    int rounds = 0;
    std::unique_ptr<NginxServer> server;
};

} // namespace zel::test
