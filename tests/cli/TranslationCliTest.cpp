#include "ZelcacheCli.h"

#include "Printers.h"

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

/// In which language the program's libraries speak, and that scripts need not care. The locales of
/// these names need not exist on the machine.
class TranslationCliTest : public ZelcacheCli
{
protected:
    std::unique_ptr<ProgramRun> startIn(const QStringList &locale,
                                        const QStringList &arguments) const
    {
        ProgramRun::Options options;
        // Of the test's own environment nothing may count, and an empty variable is none.
        options.environment
            = QStringList { u"LC_ALL="_s, u"LC_MESSAGES="_s, u"LANG="_s, u"LANGUAGE="_s } + locale;
        return start(arguments, options);
    }

    QByteArray complaintIn(const QStringList &locale) const
    {
        const auto run = startIn(locale, { u"get"_s, u"nowhere:/a"_s });
        EXPECT_EQ(run->exitCode(), 2) << qPrintable(locale.join(u' '));
        EXPECT_EQ(run->output(), "");
        return run->errors();
    }

    void expectGerman(const QStringList &locale) const
    {
        const QByteArray complaint = complaintIn(locale);
        EXPECT_TRUE(complaint.contains("Schema „nowhere“ sind nicht bekannt"))
            << qPrintable(locale.join(u' ')) << ": " << complaint.toStdString();
    }

    void expectEnglish(const QStringList &locale) const
    {
        const QByteArray complaint = complaintIn(locale);
        EXPECT_TRUE(complaint.contains("scheme \"nowhere\" are not known"))
            << qPrintable(locale.join(u' ')) << ": " << complaint.toStdString();
    }

    /// The one failure of a command for one reference.
    QJsonObject failureIn(const QString &locale, const QStringList &arguments) const
    {
        const auto run = startIn({ u"LC_ALL="_s + locale }, arguments);
        const int exitCode = run->exitCode();
        QJsonObject failure = jsonOf(run->output())
                                  .value(u"results"_s)
                                  .toArray()
                                  .at(0)
                                  .toObject()
                                  .value(u"error"_s)
                                  .toObject();
        failure.insert(u"exitCode"_s, exitCode);
        return failure;
    }
};

TEST_F(TranslationCliTest, messages_germanLocale_areGerman)
{
    expectGerman({ u"LC_ALL=de_DE.UTF-8"_s });
    expectGerman({ u"LC_MESSAGES=de_AT.UTF-8"_s, u"LANG=en_US.UTF-8"_s });
    expectGerman({ u"LANG=de_CH.UTF-8"_s });
    expectGerman({ u"LANG=en_US.UTF-8"_s, u"LANGUAGE=de:en"_s });
}

TEST_F(TranslationCliTest, messages_otherLocale_areEnglish)
{
    expectEnglish({});
    expectEnglish({ u"LC_ALL=C.UTF-8"_s, u"LANG=de_DE.UTF-8"_s });
    expectEnglish({ u"LC_ALL=C.UTF-8"_s, u"LANGUAGE=de"_s });
    expectEnglish({ u"LC_MESSAGES=C"_s, u"LANG=de_DE.UTF-8"_s });
    expectEnglish({ u"LANG=en_US.UTF-8"_s, u"LANGUAGE=en_US:de"_s });
    expectEnglish({ u"LC_ALL=fr_FR.UTF-8"_s });
}

TEST_F(TranslationCliTest, json_germanLocale_hasTheSameCodesAndNames)
{
    const QString missing = u"share:"_s + cache.outside(u"missing.raw"_s);
    for (const QString &reference : { u"nowhere:/a"_s, missing }) {
        const QStringList arguments { u"get"_s, u"--json"_s, reference };
        const QJsonObject english = failureIn(u"C.UTF-8"_s, arguments);
        const QJsonObject german = failureIn(u"de_DE.UTF-8"_s, arguments);
        EXPECT_EQ(german.keys(), english.keys());
        EXPECT_GT(german.value(u"code"_s).toInt(), 0);
        EXPECT_EQ(german.value(u"code"_s).toInt(), english.value(u"code"_s).toInt());
        EXPECT_EQ(german.value(u"exitCode"_s).toInt(), english.value(u"exitCode"_s).toInt());
        EXPECT_NE(german.value(u"message"_s).toString(), english.value(u"message"_s).toString());
    }
}

TEST_F(TranslationCliTest, answers_germanLocale_areThoseOfTheOthers)
{
    const QString reference = sharedFile(u"a.raw"_s, "content");
    const auto german = startIn({ u"LC_ALL=de_DE.UTF-8"_s }, { u"get"_s, reference });
    EXPECT_EQ(german->exitCode(), 0) << german->errors().toStdString();
    EXPECT_EQ(german->errors(), "");
    for (const QStringList &arguments :
         { QStringList { u"list"_s }, QStringList { u"list"_s, u"--json"_s },
           QStringList { u"path"_s, reference }, QStringList { u"policy"_s, reference } }) {
        const auto english = startIn({ u"LC_ALL=C.UTF-8"_s }, arguments);
        const auto again = startIn({ u"LC_ALL=de_DE.UTF-8"_s }, arguments);
        EXPECT_EQ(again->exitCode(), english->exitCode()) << qPrintable(arguments.join(u' '));
        EXPECT_EQ(again->output(), english->output()) << qPrintable(arguments.join(u' '));
    }
}

} // namespace zel::test
