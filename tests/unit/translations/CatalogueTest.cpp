#include "Catalogue.h"
#include "Printers.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QMap>
#include <QRegularExpression>
#include <QTranslator>

#include <functional>

namespace zel::test {
namespace {

using namespace Qt::Literals::StringLiterals;

/// What is put in later: %1 to %99, with or without the L of the locale, and %n.
QStringList placeholdersOf(const QString &text)
{
    static const QRegularExpression placeholder(u"%(L?[0-9]{1,2}|n)"_s);
    QStringList found;
    for (const auto &match : placeholder.globalMatch(text))
        found << match.captured();
    found.sort();
    return found;
}

QString leadingBlanks(const QString &text)
{
    qsizetype end = 0;
    while (end < text.size() && text.at(end).isSpace())
        ++end;
    return text.left(end);
}

QString trailingBlanks(const QString &text)
{
    qsizetype start = text.size();
    while (start > 0 && text.at(start - 1).isSpace())
        --start;
    return text.mid(start);
}

class CatalogueTest : public testing::TestWithParam<QString>
{
protected:
    CatalogueTest()
        : messages(readCatalogue(GetParam()))
    {
    }

    /// For every translation of every message.
    void forEach(
        const std::function<void(const QString &source, const QString &translation)> &check) const
    {
        ASSERT_FALSE(messages.isEmpty());
        for (const Message &message : messages) {
            SCOPED_TRACE(qPrintable(message.key()));
            for (const QString &translation : message.translations)
                check(message.source, translation);
        }
    }

    const QList<Message> messages;
};

TEST_P(CatalogueTest, messages_all_areTranslatedAndFinished)
{
    for (const Message &message : messages) {
        EXPECT_EQ(message.type, u""_s) << qPrintable(message.key());
        EXPECT_FALSE(message.translations.isEmpty()) << qPrintable(message.key());
    }
    forEach([](const QString &source, const QString &translation) {
        EXPECT_FALSE(translation.trimmed().isEmpty());
        // A single word may be the same in both languages.
        EXPECT_TRUE(translation != source || !source.contains(u' '));
    });
}

TEST_P(CatalogueTest, messages_all_stateWhatIsPutIn)
{
    forEach([](const QString &source, const QString &translation) {
        EXPECT_EQ(placeholdersOf(translation), placeholdersOf(source));
    });
}

TEST_P(CatalogueTest, messages_all_keepBlanksAtTheEndsAndLines)
{
    forEach([](const QString &source, const QString &translation) {
        EXPECT_EQ(leadingBlanks(translation), leadingBlanks(source));
        EXPECT_EQ(trailingBlanks(translation), trailingBlanks(source));
        EXPECT_EQ(translation.count(u'\n'), source.count(u'\n'));
    });
}

TEST_P(CatalogueTest, messages_all_standOnce)
{
    QStringList keys;
    for (const Message &message : messages)
        keys << message.key();
    EXPECT_EQ(keys.removeDuplicates(), 0);
}

TEST_P(CatalogueTest, compiled_everyMessage_isFoundByItsContextAndText)
{
    QTranslator translator;
    ASSERT_TRUE(translator.load(QStringLiteral(ZEL_COMPILED_TRANSLATIONS "/")
                                + QFileInfo(GetParam()).completeBaseName() + u".qm"_s));
    for (const Message &message : messages) {
        // A counted text has a form for one and another for several; the translator puts in no
        // number.
        const bool isCounted = message.translations.size() > 1;
        for (const int count : isCounted ? QList<int> { 1, 2 } : QList<int> { -1 }) {
            EXPECT_EQ(translator.translate(message.context.toUtf8(), message.source.toUtf8(),
                                           nullptr, count),
                      message.translations.at(count == 2 ? 1 : 0))
                << qPrintable(message.key());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(, CatalogueTest, testing::ValuesIn(cataloguePaths()),
                         [](const testing::TestParamInfo<QString> &test) {
                             return QFileInfo(test.param).completeBaseName().toStdString();
                         });

TEST(CatalogueLanguagesTest, everyLanguage_hasTheLibrariesAndTheProgram)
{
    QMap<QString, QStringList> languages;
    for (const QString &path : cataloguePaths()) {
        const QString name = QFileInfo(path).completeBaseName();
        const QString language = name.section(u'_', -1);
        languages[name.chopped(language.size() + 1)] << language;
    }
    const QStringList parts { u"zel_resource_manager"_s, u"zel_resource_schemes"_s, u"zelcache"_s };
    EXPECT_EQ(languages.keys(), parts);
    for (const QString &part : parts) {
        EXPECT_TRUE(languages.value(part).contains(u"de"_s)) << qPrintable(part);
        EXPECT_EQ(languages.value(part), languages.value(parts.constFirst())) << qPrintable(part);
    }
}

} // namespace
} // namespace zel::test
