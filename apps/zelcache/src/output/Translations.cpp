#include "output/Translations.h"

#include <QCoreApplication>
#include <QLocale>
#include <QTranslator>

#include <memory>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

void install(const QLocale &language, const QString &catalogue)
{
    auto translator = std::make_unique<QTranslator>(qApp);
    if (translator->load(language, catalogue, u"_"_s, u":/translations"_s))
        QCoreApplication::installTranslator(translator.release());
}

/// Whether the user asks for the plain locale. LANGUAGE, to which Qt listens first, does not count
/// then: scripts that ask for C must not have German in a German desktop's terminal.
bool wantsPlainLocale()
{
    for (const char *name : { "LC_ALL", "LC_MESSAGES", "LANG" }) {
        const QString value = qEnvironmentVariable(name);
        if (!value.isEmpty())
            return QLocale(value).language() == QLocale::C;
    }
    return false;
}

} // namespace

void installTranslations()
{
    if (wantsPlainLocale())
        return;
    // The first language only: to somebody who prefers English, the next one is no better for
    // there being a translation into it.
    const QLocale language(QLocale::system().uiLanguages().value(0));
    install(language, u"zel_resource_manager"_s);
    install(language, u"zel_resource_schemes"_s);
    install(language, u"zelcache"_s);
}

} // namespace zel::cli
