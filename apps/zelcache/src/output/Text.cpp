#include "output/Text.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

namespace {

bool isUnsafe(char32_t character)
{
    switch (QChar::category(character)) {
    case QChar::Other_Control:
    case QChar::Other_Format: // direction overrides and characters of no width
    case QChar::Other_Surrogate:
    case QChar::Separator_Line:
    case QChar::Separator_Paragraph:
        return true;
    default:
        return false;
    }
}

QString hexadecimal(char32_t character, int digits)
{
    return u"%1"_s.arg(uint(character), digits, 16, QChar(u'0'));
}

QString visibleForm(char32_t character)
{
    switch (character) {
    case U'\n':
        return u"\\n"_s;
    case U'\r':
        return u"\\r"_s;
    case U'\t':
        return u"\\t"_s;
    default:
        break;
    }
    if (character < 0x100)
        return u"\\x"_s + hexadecimal(character, 2);
    if (character < 0x10000)
        return u"\\u"_s + hexadecimal(character, 4);
    return u"\\U"_s + hexadecimal(character, 8);
}

QString jsonForm(char32_t character)
{
    QString form;
    const QString units = QString::fromUcs4(&character, 1);
    for (const QChar unit : units)
        form += u"\\u"_s + hexadecimal(unit.unicode(), 4);
    return form;
}

bool hasUnsafe(const QString &text)
{
    const auto isPlain = [](QChar unit) {
        return unit >= u' ' && unit <= u'~';
    };
    if (std::all_of(text.begin(), text.end(), isPlain))
        return false;
    const QList<uint> characters = text.toUcs4();
    return std::any_of(characters.begin(), characters.end(), isUnsafe);
}

template<typename Form>
QString replaced(const QString &text, Form form)
{
    // As good as always: the answer of a large cache is many megabytes, taken apart for nothing.
    if (!hasUnsafe(text))
        return text;
    QString safe;
    safe.reserve(text.size());
    for (const char32_t character : text.toUcs4()) {
        if (isUnsafe(character))
            safe += form(character);
        else
            safe += QString::fromUcs4(&character, 1);
    }
    return safe;
}

/// First and last of the blocks whose characters take two columns.
constexpr std::array<std::pair<char32_t, char32_t>, 13> wideBlocks { {
    { 0x1100, 0x115f },
    { 0x2e80, 0x303e },
    { 0x3041, 0x33ff },
    { 0x3400, 0x4dbf },
    { 0x4e00, 0x9fff },
    { 0xa000, 0xa4cf },
    { 0xac00, 0xd7a3 },
    { 0xf900, 0xfaff },
    { 0xfe30, 0xfe6f },
    { 0xff00, 0xff60 },
    { 0xffe0, 0xffe6 },
    { 0x1f300, 0x1faff },
    { 0x20000, 0x3fffd },
} };

int columnsOf(char32_t character)
{
    const QChar::Category category = QChar::category(character);
    if (category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing)
        return 0;
    const bool wide
        = std::any_of(wideBlocks.begin(), wideBlocks.end(), [character](const auto &block) {
              return character >= block.first && character <= block.second;
          });
    return wide ? 2 : 1;
}

/// As many whole characters from the start as fit.
QString fittingStart(const QList<uint> &characters, int columns)
{
    QString start;
    for (const char32_t character : characters) {
        columns -= columnsOf(character);
        if (columns < 0)
            break;
        start += QString::fromUcs4(&character, 1);
    }
    return start;
}

QString fittingEnd(const QList<uint> &characters, int columns)
{
    qsizetype first = characters.size();
    while (first > 0 && columns >= columnsOf(char32_t(characters.at(first - 1))))
        columns -= columnsOf(char32_t(characters.at(--first)));
    QString end;
    for (const char32_t character : characters.mid(first))
        end += QString::fromUcs4(&character, 1);
    return end;
}

} // namespace

QString escaped(const QString &text)
{
    return replaced(text, visibleForm);
}

QString escapedInJson(const QString &json)
{
    return replaced(json, jsonForm);
}

int columnsOf(const QString &text)
{
    int columns = 0;
    for (const char32_t character : text.toUcs4())
        columns += columnsOf(character);
    return columns;
}

QString elided(const QString &text, int columns)
{
    if (columnsOf(text) <= columns)
        return text;
    const QList<uint> characters = text.toUcs4();
    constexpr int gap = 2;
    if (columns < 3 * gap)
        return fittingStart(characters, std::max(columns, 0));
    const int ofEnd = (columns - gap + 1) / 2;
    const QString start = fittingStart(characters, columns - gap - ofEnd);
    return start + u".."_s + fittingEnd(characters, ofEnd);
}

QString withoutSecrets(const QString &argument)
{
    // What all of the following begins or ends with; most arguments have none of it, and to compile
    // five expressions takes a noticeable part of a program's start.
    const auto isMark = [](QChar character) {
        return u"@;?#"_s.contains(character);
    };
    if (std::none_of(argument.begin(), argument.end(), isMark))
        return argument;
    const auto everything = QRegularExpression::DotMatchesEverythingOption;
    // A password may hold what ends it for a reader of addresses, such as "/" or "#". Better too
    // much goes than a part of it stays.
    // An address whose ":" or "/" was mistyped is one still.
    const QString start = u"(?:[a-z][a-z0-9+.-]*://|//|(?:list\\+)?(?:https?|davs?)\\b[:/]*+)"_s;
    const QRegularExpression password(u"^(%1).*:.*@"_s.arg(start),
                                      everything | QRegularExpression::CaseInsensitiveOption);
    const QRegularExpression bare(u"^(?![a-z][a-z0-9+.-]*:/)[^/]*:.*@"_s,
                                  everything | QRegularExpression::CaseInsensitiveOption);
    const QRegularExpression user(u"(^|[:/])//[^/?#]*@"_s);
    const QRegularExpression parameters(u"^(%1[^;?#]*;).*$"_s.arg(start),
                                        everything | QRegularExpression::CaseInsensitiveOption);
    const QRegularExpression rest(u"([?#]).*$"_s, everything);
    QString shown = argument;
    shown.replace(password, u"\\1"_s);
    shown.replace(bare, QString());
    shown.replace(user, u"\\1//"_s);
    shown.replace(parameters, u"\\1..."_s);
    shown.replace(rest, u"\\1..."_s);
    return shown;
}

} // namespace zel::cli
