#include <QFile>
#include <QRegularExpression>
#include <QString>
#include <QStringList>

#include <algorithm>

using namespace Qt::Literals::StringLiterals;

namespace {

/// Code shown in a document, and the file that it says it comes from.
struct Snippet
{
    QString file; ///< empty if it does not say
    QStringList lines;
    int place = 0; ///< the line of the document
};

QStringList linesOf(const QString &path)
{
    QFile file(QStringLiteral(SOURCE_FOLDER "/") + path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << qPrintable(path);
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    for (QString &line : lines)
        line = line.trimmed();
    return lines;
}

/// All code of the languages that a compiler or CMake reads. In front of it stands
/// "<!-- FILE -->", which nobody sees.
QList<Snippet> snippetsOf(const QString &document)
{
    static const QRegularExpression origin(u"^<!-- (\\S+) -->$"_s);
    QList<Snippet> snippets;
    const QStringList lines = linesOf(document);
    QString file;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        if (const auto match = origin.match(lines.at(i)); match.hasMatch()) {
            file = match.captured(1);
        } else if (lines.at(i) == u"```cpp"_s || lines.at(i) == u"```cmake"_s) {
            const qsizetype end = lines.indexOf(u"```"_s, i + 1);
            snippets.append({ file, lines.mid(i + 1, end - i - 1), int(i + 1) });
            i = end;
            file.clear();
        } else if (!lines.at(i).isEmpty()) {
            file.clear();
        }
    }
    return snippets;
}

/// Whether the lines stand in the file, one behind the other.
bool standIn(const QStringList &source, const QStringList &lines)
{
    const auto found = std::search(source.begin(), source.end(), lines.begin(), lines.end());
    return lines.isEmpty() || found != source.end();
}

/// The parts of a snippet: where it leaves something out, it says "...".
QList<QStringList> partsOf(const Snippet &snippet)
{
    QList<QStringList> parts(1);
    for (const QString &line : snippet.lines) {
        if (line == u"// ..."_s || line == u"# ..."_s)
            parts.append(QStringList());
        else
            parts.last().append(line);
    }
    return parts;
}

class GuideTest : public testing::TestWithParam<const char *>
{
protected:
    QString document() const { return QString::fromLatin1(GetParam()); }
};

} // namespace

TEST_P(GuideTest, snippets_always_standInTheProgramsThatAreBuilt)
{
    const QList<Snippet> snippets = snippetsOf(document());
    EXPECT_FALSE(snippets.isEmpty());
    for (const Snippet &snippet : snippets) {
        ASSERT_TRUE(snippet.file.startsWith(u"examples/"_s))
            << GetParam() << ':' << snippet.place << " does not say where it comes from.";
        const QStringList source = linesOf(snippet.file);
        for (const QStringList &part : partsOf(snippet)) {
            EXPECT_TRUE(standIn(source, part))
                << GetParam() << ':' << snippet.place << " is not what stands in "
                << qPrintable(snippet.file) << ":\n"
                << qPrintable(part.join(u'\n'));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Documents, GuideTest, testing::Values("README.md", "docs/host-guide.md"),
                         [](const auto &test) {
                             return std::string(test.index == 0 ? "Readme" : "HostGuide");
                         });
