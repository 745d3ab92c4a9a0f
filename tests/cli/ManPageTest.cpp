#include "ZelcacheCli.h"

#include <QMap>
#include <QRegularExpression>
#include <QSet>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Compares what the manual page says with what the program's help says.
class ManPageTest : public ZelcacheCli
{
protected:
    using Options = QSet<QString>;

    QString help(const QStringList &words) const
    {
        const auto run = start(words + QStringList { u"--help"_s });
        EXPECT_EQ(run->exitCode(), 0);
        return QString::fromUtf8(run->output());
    }
    static Options longOptionsIn(const QString &text, const QString &pattern)
    {
        Options found;
        auto matches
            = QRegularExpression(pattern, QRegularExpression::MultilineOption).globalMatch(text);
        while (matches.hasNext())
            found.insert(matches.next().captured(1));
        return found;
    }
    static Options optionsOfHelp(const QString &text)
    {
        return longOptionsIn(text, u"^  (?:-\\w,)?--([a-z-]+)"_s);
    }
    static Options optionsOfPage(const QString &text)
    {
        return longOptionsIn(text, u"^\\t?(?:\\*-\\w\\*, )?\\*--([a-z-]+)\\*"_s);
    }
    static QString chapterOfPage(const QString &name)
    {
        const QString page = QString::fromUtf8(readFile(QStringLiteral(MAN_PAGE_SOURCE)));
        return page.section(u"\n# "_s + name, 1).section(u"\n# "_s, 0, 0);
    }
    /// The first cells of all rows of the table in a chapter of the document.
    static QString firstCells(const QString &chapter)
    {
        const QString document = QString::fromUtf8(readFile(QStringLiteral(ZELCACHE_DOCUMENT)));
        const QString text
            = document.section(u"\n## "_s + chapter + u'\n', 1).section(u"\n## "_s, 0, 0);
        QString cells;
        for (const QString &line : text.split(u'\n')) {
            if (line.startsWith(u'|'))
                cells += line.section(u'|', 1, 1) + u'\n';
        }
        return cells;
    }
    QStringList commandsOfHelp() const
    {
        const QString text = help({}).section(u"Subcommands:"_s, 1).section(u"\n\n"_s, 0, 0);
        const Options names = longOptionsIn(text, u"^  ([a-z]+) "_s);
        return QStringList(names.begin(), names.end());
    }
    /// The text of each command in the page.
    static QMap<QString, QString> commandsOfPage()
    {
        const QString page = QString::fromUtf8(readFile(QStringLiteral(MAN_PAGE_SOURCE)));
        const QString commands = page.section(u"# COMMANDS"_s, 1).section(u"\n# "_s, 0, 0);
        QMap<QString, QString> found;
        QString current;
        for (const QString &line : commands.split(u'\n')) {
            const auto heading = QRegularExpression(u"^\\*([a-z]+)\\*"_s).match(line);
            if (heading.hasMatch())
                current = heading.captured(1);
            found[current] += line + u'\n';
        }
        found.remove(QString());
        return found;
    }
};

} // namespace

TEST_F(ManPageTest, commands_areThoseOfTheProgram)
{
    QStringList ofHelp = commandsOfHelp();
    ofHelp.sort();
    EXPECT_GT(ofHelp.size(), 10);
    EXPECT_EQ(commandsOfPage().keys(), ofHelp);
}

TEST_F(ManPageTest, optionsOfEachCommand_areThoseOfItsHelp)
{
    const QMap<QString, QString> commands = commandsOfPage();
    for (auto command = commands.begin(); command != commands.end(); ++command) {
        SCOPED_TRACE(command.key().toStdString());
        const Options own = optionsOfHelp(help({ command.key() })) - optionsOfHelp(help({}));
        EXPECT_EQ(optionsOfPage(command.value()), own);
    }
}

TEST_F(ManPageTest, commonOptions_areThoseOfTheHelp)
{
    const QString page = QString::fromUtf8(readFile(QStringLiteral(MAN_PAGE_SOURCE)));
    const QString common = page.section(u"# OPTIONS"_s, 1).section(u"\n# "_s, 0, 0);
    EXPECT_EQ(optionsOfPage(common), optionsOfHelp(help({})));
}

TEST_F(ManPageTest, exitCodes_areThoseOfTheHelpAndOfTheDocument)
{
    Options ofHelp;
    for (const QString &command : commandsOfHelp())
        ofHelp += longOptionsIn(help({ command }).section(u"Exit codes:"_s, 1),
                                u"\\b(\\d+(?:\\+n)?)(?: [A-Za-z]|,)"_s);
    const QString code = u"(\\d+(?:\\+n)?)"_s;
    const Options ofDocument = longOptionsIn(firstCells(u"Exit codes"_s), code);
    EXPECT_TRUE(ofDocument.contains(u"128+n"_s));
    EXPECT_EQ(ofDocument, ofHelp);
    EXPECT_EQ(longOptionsIn(chapterOfPage(u"EXIT STATUS"_s), u"\\*"_s + code + u"\\*"_s),
              ofDocument);
}

TEST_F(ManPageTest, environment_isThatOfTheDocument)
{
    const Options ofDocument = longOptionsIn(firstCells(u"Environment"_s), u"`([A-Z_]+)`"_s);
    EXPECT_TRUE(ofDocument.contains(u"ZELCACHE_PATHS"_s));
    QString headings;
    for (const QString &line : chapterOfPage(u"ENVIRONMENT"_s).split(u'\n')) {
        if (line.startsWith(u'*'))
            headings += line;
    }
    EXPECT_EQ(longOptionsIn(headings, u"\\*([A-Z_]+)\\*"_s), ofDocument);
}

TEST_F(ManPageTest, boundOfAList_isToldInThePageAndInTheDocument)
{
    const QString bound = u"64 MiB"_s;
    EXPECT_TRUE(commandsOfPage().value(u"get"_s).contains(bound));
    const QString document = QString::fromUtf8(readFile(QStringLiteral(ZELCACHE_DOCUMENT)));
    EXPECT_TRUE(document.section(u"`get -f` reads"_s, 1).section(u"\n\n"_s, 0, 0).contains(bound));
}

TEST_F(ManPageTest, page_isBuilt)
{
    EXPECT_TRUE(readFile(QStringLiteral(MAN_PAGE)).contains("\n.TH \"zelcache\" \"1\""));
}

} // namespace zel::test
