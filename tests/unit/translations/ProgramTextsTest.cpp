#include "Printers.h"

#include <gtest/gtest.h>

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QSet>

namespace zel::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// Texts that are no translation's.
bool isOfEveryLanguage(const QString &text)
{
    static const QSet<QString> texts {
        // Mistakes in the usage, told before there is a language.
        u"%1: \\\"%2\\\" is not a size; write bytes, or 500MiB, 1.5TiB"_s,
        u"%1: \\\"%2\\\" is not a time; write seconds, or 10m, 1.5h, 1h30m"_s,
        u"%1: \\\"%2\\\" is none of Never, OnClose, OnDemand"_s,
        u"--interval: \\\"%1\\\" is no number of seconds from 0.1 to 3600"_s,
        u"--min-age: \\\"%1\\\" is not a number of seconds"_s,
        u"--interval needs --watch"_s,
        u"--json and --null exclude each other"_s,
        u"--plan and --force exclude each other"_s,
        u"--plan and --verify exclude each other"_s,
        u"--quiet and --verbose exclude each other"_s,
        u"SOURCE must not be empty"_s,
        u"get needs a reference or a list of them"_s,
        u"hold needs a command behind --"_s,
        u"a command is needed, such as get or status"_s,
        u"%1 needs an action: %2"_s,
        u"there is no %1 \\\"%2\\\""_s,
        u"; the nearest one is \\\"%1\\\""_s,
        u"%1 needs a value: %2"_s,
        u"zelcache: %1\\nRun \\\"zelcache%2 --help\\\" for the usage.\\n"_s,
        u"A subcommand is required"_s, // the parser's own, never shown
        // The log.
        u"zelcache: log: "_s,
        // What scripts compare.
        u" (by name)"_s,
        u"process %1"_s,
    };
    return texts.contains(text);
}

/// The UTF-16 literals of a source in which two words follow each other, as they do in sentences.
/// A text that is translated is none: it begins as one of char.
QStringList sentencesIn(const QString &path)
{
    static const QRegularExpression literal(u"\\bu\"((?:[^\"\\\\]|\\\\.)*)\""_s);
    static const QRegularExpression sentence(u"[A-Za-z]{2,}[,:;.]? [A-Za-z%]"_s);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    const QString source = QString::fromUtf8(file.readAll());
    QStringList found;
    for (const auto &match : literal.globalMatch(source)) {
        if (match.captured(1).contains(sentence))
            found << match.captured(1);
    }
    return found;
}

TEST(ProgramTextsTest, sourcesOfTheProgram_sentences_areGivenToTranslation)
{
    int count = 0;
    QDirIterator sources(QStringLiteral(ZEL_SOURCE_TREE "/apps/zelcache/src"),
                         { u"*.cpp"_s, u"*.h"_s }, QDir::Files, QDirIterator::Subdirectories);
    while (sources.hasNext()) {
        const QString path = sources.next();
        ++count;
        for (const QString &sentence : sentencesIn(path)) {
            EXPECT_TRUE(isOfEveryLanguage(sentence))
                << qPrintable(path) << " says \"" << qPrintable(sentence)
                << "\" in English only; see docs/translations.md";
        }
    }
    EXPECT_GT(count, 100);
}

} // namespace
} // namespace zel::test
