#include "references/ResourceReferenceUtils.h"

#include "references/ReferenceIdentity.h"

#include <algorithm>

namespace zel::ResourceReferenceUtils {

using namespace Qt::Literals::StringLiterals;

namespace {

constexpr qsizetype maxPrintedCharacters = 200;

bool isControl(char32_t character)
{
    const QChar::Category category = QChar::category(character);
    return category == QChar::Other_Control || category == QChar::Other_Surrogate;
}

/// Besides control characters those that are not seen themselves but change what is seen.
bool isPrintable(char32_t character)
{
    const QChar::Category category = QChar::category(character);
    return !isControl(character) && category != QChar::Other_Format
        && category != QChar::Separator_Line && category != QChar::Separator_Paragraph;
}

/// Unlike QString::toUcs4() this one keeps halves of characters, so that they are noticed.
QList<char32_t> charactersOf(const QString &text)
{
    QList<char32_t> characters;
    characters.reserve(text.size());
    for (qsizetype i = 0; i < text.size(); ++i) {
        const bool isPair = text.at(i).isHighSurrogate() && i + 1 < text.size()
            && text.at(i + 1).isLowSurrogate();
        if (isPair)
            characters << QChar::surrogateToUcs4(text.at(i), text.at(i + 1));
        else
            characters << text.at(i).unicode();
        i += isPair ? 1 : 0;
    }
    return characters;
}

} // namespace

bool compare(const QSharedPointer<ResourceReference> &left,
             const QSharedPointer<ResourceReference> &right)
{
    return identityOf(left) == identityOf(right);
}

QString printable(const QString &text)
{
    QString shown;
    const QList<char32_t> characters = charactersOf(text.left(maxPrintedCharacters));
    for (const char32_t character : characters) {
        if (isPrintable(character))
            shown += QString::fromUcs4(&character, 1);
        else
            shown += u"\\u{%1}"_s.arg(uint(character), 0, 16);
    }
    return text.size() > maxPrintedCharacters ? shown + u'…' : shown;
}

bool hasControlCharacters(const QString &text)
{
    // As good as every reference, and a cache may have many: nothing is taken apart for it.
    if (std::all_of(text.begin(), text.end(),
                    [](QChar unit) { return unit >= u' ' && unit <= u'~'; }))
        return false;
    const QList<char32_t> characters = charactersOf(text);
    return std::any_of(characters.begin(), characters.end(), isControl);
}

} // namespace zel::ResourceReferenceUtils
