#include "ReadingCli.h"

#include "Printers.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// Commands that only look, on 100,000 resources and one that was fetched.
class LargeCacheCliTest : public ReadingCli
{
protected:
    void SetUp() override
    {
        fill({ 500 });
        addHundredThousand(u"https://data.example.org/"_s);
    }

    struct Look
    {
        QByteArray answer;
        QStringList lines; ///< of the answer
        QStringList reads; ///< how many resources were read, time after time
        QStringList columns; ///< how many columns of each were read, whenever all were
    };
    /// Fails the test if the command waits for anybody or changes the database.
    Look lookAt(const QStringList &arguments, int exitCode = 0) const
    {
        const auto run = runWhileHeld(arguments + QStringList { u"-vv"_s }, exitCode);
        const QStringList said = linesOf(run->errors());
        return { run->output(), linesOf(run->output()), behind(u"Resources read: "_s, said),
                 behind(u"Columns of each resource: "_s, said) };
    }

    static QStringList behind(const QString &label, const QStringList &lines)
    {
        QStringList found;
        for (const QString &line : lines) {
            if (const qsizetype place = line.indexOf(label); place >= 0)
                found.append(line.mid(place + label.size()));
        }
        return found;
    }

    const QString one = u"https://data.example.org/sample-99999.raw"_s;
    const QStringList onceAll { u"100001"_s };
    const QStringList onceOne { u"1"_s };
};

TEST_F(LargeCacheCliTest, list_readsOnceAndWritesALineForEach)
{
    for (const QString &order : { u"size"_s, u"age"_s, u"name"_s }) {
        const Look look = lookAt({ u"list"_s, u"--sort"_s, order });
        EXPECT_EQ(look.reads, onceAll);
        EXPECT_EQ(look.columns, QStringList { u"4"_s });
        EXPECT_EQ(look.lines.size(), 100'001);
    }
    const Look references = lookAt({ u"list"_s, u"--references"_s });
    EXPECT_EQ(references.reads, onceAll);
    EXPECT_EQ(references.columns, QStringList { u"4"_s });
    EXPECT_EQ(references.lines.value(100'000), u"https://data.example.org/sample-100000.raw"_s);
}

TEST_F(LargeCacheCliTest, list_json_isOneObjectOfAll)
{
    const Look look = lookAt({ u"list"_s, u"--json"_s });
    EXPECT_EQ(look.reads, onceAll);
    EXPECT_EQ(look.columns, QStringList { u"6"_s }); // and paths and versions
    const QJsonArray resources = jsonOf(look.answer).value(u"resources"_s).toArray();
    ASSERT_EQ(resources.size(), 100'001);
    EXPECT_EQ(resources.last()[u"size"_s].toInteger(), 100'000);
}

TEST_F(LargeCacheCliTest, outdated_rehearsed_readsOnce)
{
    const Look none = lookAt({ u"outdated"_s, u"--dry-run"_s });
    EXPECT_EQ(none.reads, (QStringList { u"0"_s, u"100001"_s }));
    EXPECT_EQ(none.columns, QStringList { u"6"_s }); // and versions and paths
    EXPECT_EQ(none.lines, QStringList { u"0 resources would go, 0 B"_s });
    CacheDatabase(cache.databasePath()).run(u"UPDATE CachedResources SET version = '0.9'"_s);
    EXPECT_EQ(lookAt({ u"outdated"_s, u"--dry-run"_s }).lines.size(), 100'002);
}

TEST_F(LargeCacheCliTest, purge_rehearsed_readsOnce)
{
    const QStringList command { u"purge"_s, u"--dry-run"_s, u"--to"_s, u"0"_s };
    const Look look = lookAt(command);
    EXPECT_EQ(look.reads, onceAll);
    EXPECT_EQ(look.columns, QStringList { u"5"_s }); // and paths
    EXPECT_EQ(look.lines.size(), 100'002);
    const Look json = lookAt(command + QStringList { u"--json"_s });
    EXPECT_EQ(json.reads, onceAll);
    const QJsonObject answer = jsonOf(json.answer);
    EXPECT_EQ(answer.value(u"removed"_s).toArray().size(), 100'001);
    EXPECT_EQ(answer.value(u"pinned"_s), QJsonArray());
}

TEST_F(LargeCacheCliTest, why_readsOnce)
{
    const Look look = lookAt({ u"why"_s });
    EXPECT_EQ(look.reads, onceAll);
    EXPECT_EQ(look.columns, QStringList { u"4"_s });
    EXPECT_EQ(lookAt({ u"why"_s, one }).reads, onceAll);
}

TEST_F(LargeCacheCliTest, aboutOneResource_onlyThatIsRead)
{
    EXPECT_EQ(lookAt({ u"who"_s, one }).reads, onceOne);
    EXPECT_EQ(lookAt({ u"policy"_s, one }).reads, onceOne);
}

TEST_F(LargeCacheCliTest, status_readsNone)
{
    EXPECT_EQ(lookAt({ u"status"_s }).reads, QStringList());
}

} // namespace zel::test
