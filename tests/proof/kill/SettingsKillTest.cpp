#include "ActorProcess.h"
#include "Proof.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QDir>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

QStringList entries(const QString &folder)
{
    return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System
                                  | QDir::NoDotAndDotDot);
}

} // namespace

TEST(SettingsKillTest, save_atEachFileStep_theFileIsTheOldOrTheNewOne)
{
    const TemporaryCache cache;
    const QString folder = cache.outside(u"configuration"_s);
    const ActorProcess::Environment environment { { u"XDG_CONFIG_HOME"_s, folder } };
    const auto program = [&] {
        return std::make_unique<ActorProcess>(QStringLiteral(ZEL_KILL_ACTOR),
                                              QStringList { cache.baseDir() }, environment);
    };
    ASSERT_EQ(program()->ask(u"saveSettings 1000"_s), u"ok"_s);
    int kills = 0;
    for (int step = 0; !HasFailure(); ++step, ++kills) {
        const auto victim = program();
        victim->send(u"die %1;saveSettings 2000"_s.arg(step));
        const bool wasKilled = fateOf(victim.get()) == Fate::Killed;

        const auto next = program();
        const QString found = next->ask(u"loadSettings"_s);
        EXPECT_TRUE(found == u"ok 1000 1000"_s || found == u"ok 2000 2000"_s) << qPrintable(found);
        EXPECT_EQ(next->ask(u"saveSettings 1000"_s), u"ok"_s);
        EXPECT_EQ(next->ask(u"loadSettings"_s), u"ok 1000 1000"_s);
        EXPECT_EQ(entries(folder), QStringList(u"resource_manager_settings.ini"_s)) << step;
        if (!wasKilled)
            break;
    }
    EXPECT_GT(kills, 2) << "hardly anything was killed";
    recordFigure(u"kills"_s, kills);
    recordFigure(u"violations"_s, HasFailure() ? 1 : 0);
}
