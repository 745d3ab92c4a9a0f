#include "RemovalCli.h"

#include "CacheProcess.h"
#include "Printers.h"

#include <QFile>
#include <QRegularExpression>

#include <csignal>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// What stands in no bracket of a BracketTranslator.
QString outsideOfBrackets(const QString &text)
{
    static const QRegularExpression bracket(u"[A-Za-z:]+<|[<>]"_s);
    QString rest;
    qsizetype end = 0;
    int depth = 0;
    for (const auto &match : bracket.globalMatch(text)) {
        if (depth == 0)
            rest += text.mid(end, match.capturedStart() - end);
        const bool opens = match.captured() != u">"_s;
        if (depth == 0 && !opens)
            rest += match.captured();
        depth = std::max(depth + (opens ? 1 : -1), 0);
        end = match.capturedEnd();
    }
    return depth == 0 ? rest + text.mid(end) : rest;
}

/// The words of it that are the same in no two languages.
QStringList wordsOf(QString text, const QStringList &names)
{
    // Paths and references; the units of sizes; the names of programs.
    static const QRegularExpression sameEverywhere(
        u"\\S*/\\S*|\\S+\\.raw\\b|\\b[KMGT]?i?B\\b|\\bzelcache: |\\bcache_actor\\b"_s);
    static const QRegularExpression word(u"\\p{L}{2,}"_s);
    text.remove(sameEverywhere);
    QStringList words;
    for (const auto &match : word.globalMatch(text)) {
        if (!names.contains(match.captured()))
            words << match.captured();
    }
    return words;
}

/// So many members of it as are there for people, however deep.
QJsonValue withoutTexts(const QJsonValue &value)
{
    static const QStringList texts { u"message"_s, u"warnings"_s, u"explanation"_s, u"remedy"_s,
                                     u"notes"_s,   u"reason"_s,   u"text"_s };
    // What changes from one run to the next.
    static const QStringList moments { u"free"_s, u"lastPing"_s, u"time"_s, u"verified"_s };
    if (value.isArray()) {
        QJsonArray array;
        for (const auto &element : value.toArray())
            array.append(withoutTexts(element));
        return array;
    }
    if (!value.isObject())
        return value;
    QJsonObject object;
    const QJsonObject whole = value.toObject();
    for (auto member = whole.begin(); member != whole.end(); ++member) {
        if (!texts.contains(member.key()) && !moments.contains(member.key()))
            object.insert(member.key(), withoutTexts(member.value()));
    }
    return object;
}

} // namespace

/// Whether all that the program says can be said in another language. The program runs with a
/// translation that puts each text in brackets: what stands outside was not given to it.
class TextsCliTest : public RemovalCli
{
protected:
    std::unique_ptr<ProgramRun> startBracketed(const QStringList &arguments) const
    {
        ProgramRun::Options options;
        options.environment = environment();
        return std::make_unique<ProgramRun>(QStringLiteral(BRACKETED_ZELCACHE), inCache(arguments),
                                            options);
    }

    /// `names` are words of the answer that are the same in every language. Gives all that was
    /// said.
    QString expectAllInBrackets(const QStringList &arguments, int exitCode,
                                const QStringList &names = {}) const
    {
        const auto run = startBracketed(arguments);
        EXPECT_EQ(run->exitCode(), exitCode) << qPrintable(arguments.join(u' '));
        const QString said = QString::fromUtf8(run->output() + run->errors());
        expectAllInBrackets(said, arguments, names);
        return said;
    }

    static void expectAllInBrackets(const QString &said, const QStringList &arguments,
                                    const QStringList &names)
    {
        EXPECT_TRUE(said.contains(u"zel::"_s))
            << qPrintable(arguments.join(u' ')) << ": " << qPrintable(said);
        EXPECT_EQ(wordsOf(outsideOfBrackets(said), names), QStringList())
            << qPrintable(arguments.join(u' ')) << ": " << qPrintable(said);
    }

    /// The same program, once in each language.
    std::unique_ptr<ProgramRun> startIn(const QString &locale, const QStringList &arguments) const
    {
        ProgramRun::Options options;
        options.environment = { u"LANGUAGE="_s, u"LC_ALL="_s + locale };
        return start(arguments, options);
    }

    void expectSameJson(const QStringList &arguments) const
    {
        const QStringList all = arguments + QStringList { u"--json"_s };
        const auto english = startIn(u"C.UTF-8"_s, all);
        const auto german = startIn(u"de_DE.UTF-8"_s, all);
        EXPECT_EQ(german->exitCode(), english->exitCode()) << qPrintable(all.join(u' '));
        const QJsonObject answer = jsonOf(english->output());
        EXPECT_FALSE(answer.isEmpty());
        EXPECT_EQ(withoutTexts(jsonOf(german->output())), withoutTexts(answer))
            << qPrintable(all.join(u' '));
    }
};

TEST_F(TextsCliTest, stateOfTheCache_isAllTexts)
{
    const QString reference = fill({ 500, 1000 }).at(0);
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + reference), u"ok"_s);
    ASSERT_EQ(user.ask(u"add test:a OnDemand"_s), u"ok"_s);
    ASSERT_EQ(user.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    const QStringList names { u"Ready"_s, u"Missing"_s,   u"OnDemand"_s,
                              u"File"_s,  u"Acquiring"_s, u"test"_s };
    expectAllInBrackets({ u"status"_s }, 0, names);
    expectAllInBrackets({ u"why"_s }, 0, names);
    expectAllInBrackets({ u"info"_s, reference }, 0, names);
    for (const QString &each : { reference, u"test:a"_s }) {
        expectAllInBrackets({ u"why"_s, each }, 0, names);
        expectAllInBrackets({ u"who"_s, each }, 0, names);
    }
}

TEST_F(TextsCliTest, removal_isAllTexts)
{
    const QStringList references = fill({ 500, 1000 });
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + references.at(0)), u"ok"_s);
    expectAllInBrackets({ u"purge"_s, u"--to"_s, u"0"_s, u"--dry-run"_s }, 3);
    expectAllInBrackets({ u"outdated"_s, u"--dry-run"_s }, 0);
    expectAllInBrackets({ u"remove"_s, references.at(0), u"share:/nothing"_s }, 3);
    expectAllInBrackets({ u"recount"_s, references.at(1) }, 0);
    expectAllInBrackets({ u"recount"_s, u"-v"_s }, 0);
    expectAllInBrackets({ u"policy"_s, u"share:/nothing"_s }, 3);
}

TEST_F(TextsCliTest, settingsAndFormats_areAllTexts)
{
    const QStringList names { u"CacheLocationPath"_s, u"OptimalCacheSize"_s,
                              u"MaximumCacheSize"_s };
    expectAllInBrackets({ u"config"_s, u"show"_s }, 0, names);
    expectAllInBrackets({ u"config"_s, u"path"_s, u"-v"_s }, 0);
    expectAllInBrackets({ u"config"_s, u"get"_s, u"Colour"_s }, 2);
    expectAllInBrackets({ u"config"_s, u"set"_s, u"MaximumCacheSize"_s, u"much"_s }, 2, names);
    expectAllInBrackets({ u"formats"_s, cache.outside(u"nothing"_s) }, 3, { u"unknown"_s });
}

TEST_F(TextsCliTest, plan_isAllTexts)
{
    fill({ 500 });
    const QString known = sharedFile(u"known.raw"_s, "known");
    const QString missing = u"share:"_s + cache.outside(u"missing.raw"_s);
    expectAllInBrackets({ u"get"_s, u"--plan"_s, known }, 0);
    expectAllInBrackets({ u"get"_s, u"--plan"_s, known, missing }, 3);
    const QString endless = sharedFile(u"endless.raw"_s, "");
    ASSERT_TRUE(QFile::resize(cache.outside(u"endless.raw"_s), qint64(4) << 40));
    expectAllInBrackets({ u"get"_s, u"--plan"_s, endless }, 7);
    expectAllInBrackets({ u"get"_s, endless }, 7);
    expectSameJson({ u"get"_s, u"--plan"_s, known, missing });
}

TEST_F(TextsCliTest, failures_areAllTexts)
{
    const QString reference = fill({ 500 }).at(0);
    const QString missing = u"share:"_s + cache.outside(u"missing.raw"_s);
    expectAllInBrackets({ u"get"_s, missing }, 1);
    expectAllInBrackets({ u"get"_s, u"-f"_s, cache.outside(u"nothing"_s) }, 1);
    expectAllInBrackets({ u"get"_s, u"--prompt"_s, missing }, 20);
    expectAllInBrackets({ u"path"_s, u"-v"_s, missing }, 3);
    expectAllInBrackets({ u"add"_s, missing, cache.outside(u"nothing"_s) }, 1);
    expectAllInBrackets({ u"add"_s, reference, cache.outside(u"run0.raw"_s) }, 1);
    expectAllInBrackets({ u"list"_s, u"--sort"_s, u"color"_s }, 2);
    expectAllInBrackets({ u"hold"_s, reference, u"--"_s, u"/nothing"_s }, 127);
}

TEST_F(TextsCliTest, verification_isAllTexts)
{
    const QStringList references = fill({ 500, 1000, 1500 });
    expectAllInBrackets({ u"verify"_s, u"-v"_s }, 0);
    writeFile(pathOf(references.at(0)), QByteArray(500, 'b'));
    writeFile(pathOf(references.at(1)), "short");
    ASSERT_TRUE(QFile::remove(pathOf(references.at(2))));
    expectAllInBrackets({ u"verify"_s }, 6);
    expectAllInBrackets({ u"verify"_s, u"share:/nothing"_s }, 3);
    expectSameJson({ u"verify"_s });
}

TEST_F(TextsCliTest, doctor_isAllTexts)
{
    const QStringList references = fill({ 500, 1000 });
    expectAllInBrackets({ u"doctor"_s }, 0);
    ASSERT_TRUE(QFile::remove(pathOf(references.at(0))));
    writeFile(pathOf(references.at(1)), "short");
    CacheDatabase(cache.databasePath())
        .run(u"UPDATE CacheMetadata SET currentSize = 1, lastScanTimestamp = 99999999999"_s);
    const QStringList ids { u"row"_s, u"without"_s, u"data"_s, u"size"_s,  u"differs"_s,
                            u"sum"_s, u"scan"_s,    u"in"_s,   u"future"_s };
    expectSameJson({ u"doctor"_s });
    expectAllInBrackets({ u"doctor"_s, u"--dry-run"_s }, 4, ids);
    expectAllInBrackets({ u"doctor"_s, u"--repair"_s }, 4, ids);
}

TEST_F(TextsCliTest, board_isAllTexts)
{
    fill({ 500 });
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"add test:a OnDemand"_s), u"ok"_s);
    ASSERT_EQ(user.ask(u"tryStartRetrieve test:a"_s), u"true"_s);
    const auto run = startBracketed({ u"status"_s, u"--watch"_s, u"--interval"_s, u"0.1"_s });
    // The second block begins with an empty line, behind the whole of the first one.
    QByteArray seen;
    waitUntil([&run, &seen] {
        seen = run->output();
        return seen.count("\n\n") >= 4;
    });
    run->sendSignal(SIGTERM);
    EXPECT_EQ(run->exitCode(), 143);
    expectAllInBrackets(QString::fromUtf8(seen.left(seen.lastIndexOf("\n\n"))), { u"status"_s },
                        { u"test"_s });
}

TEST_F(TextsCliTest, json_germanLocale_hasTheSameValues)
{
    const QStringList references = fill({ 500, 1000 });
    CacheProcess user(cache.baseDir());
    ASSERT_EQ(user.ask(u"useResource "_s + references.at(0)), u"ok"_s);
    for (const QStringList &arguments :
         { QStringList { u"status"_s }, QStringList { u"list"_s }, QStringList { u"why"_s },
           QStringList { u"why"_s, references.at(0) }, QStringList { u"who"_s, references.at(0) },
           QStringList { u"purge"_s, u"--to"_s, u"0"_s, u"--dry-run"_s },
           QStringList { u"remove"_s, references.at(0) }, QStringList { u"formats"_s },
           QStringList { u"config"_s, u"show"_s } })
        expectSameJson(arguments);
}

} // namespace zel::test
