#include "integrity/ManifestText.h"

#include <algorithm>
#include <cstring>

namespace zel {

namespace {

using File = ManifestText::File;
using Member = ManifestText::Member;
using Members = ManifestText::Members;

/// More than a head has; names are compared one by one.
constexpr qsizetype mostMembers = 32;

/// Goes through a text from left to right. What a member does not find there ends the going: it
/// says so and the place where it stands means nothing any more.
class Scanner
{
public:
    explicit Scanner(QByteArrayView text)
        : at(text.begin())
        , end(text.end())
    {
    }

    const char *place() const { return at; }

    bool skip(QByteArrayView expected)
    {
        const bool isThere = end - at >= expected.size()
            && std::memcmp(at, expected.data(), std::size_t(expected.size())) == 0;
        if (isThere)
            at += expected.size();
        return isThere;
    }

    /// A text of plain letters, without anything that would have to be decoded.
    std::optional<QByteArrayView> text()
    {
        if (!skip("\""))
            return std::nullopt;
        const QByteArrayView found = run([](char letter) { return isPlain(letter); });
        return skip("\"") ? std::optional(found) : std::nullopt;
    }

    /// At least one digit.
    std::optional<QByteArrayView> digits()
    {
        const QByteArrayView found = run([](char letter) { return isDigit(letter); });
        return found.isEmpty() ? std::nullopt : std::optional(found);
    }

    /// Everything between an opening and a closing sign, with commas in between.
    template<typename One>
    bool listOf(QByteArrayView opening, QByteArrayView closing, const One &one)
    {
        if (!skip(opening))
            return false;
        if (skip(closing))
            return true;
        do {
            if (!one())
                return false;
        } while (skip(","));
        return skip(closing);
    }

private:
    template<typename IsOne>
    QByteArrayView run(const IsOne &isOne)
    {
        const char *const begin = at;
        at = std::find_if_not(at, end, isOne);
        return { begin, at };
    }

    static bool isDigit(char letter) { return letter >= '0' && letter <= '9'; }
    static bool isPlain(char letter)
    {
        return letter >= ' ' && letter <= '~' && letter != '"' && letter != '\\';
    }

    const char *at;
    const char *end;
};

bool scanSums(Scanner &scanner, QList<QByteArray> &sums)
{
    return scanner.listOf("[", "]", [&] {
        const auto sum = scanner.text();
        if (sum)
            sums.append(sum->toByteArray());
        return sum.has_value();
    });
}

/// Null for a name that is none of those with a text.
QByteArrayView *textMember(File &file, QByteArrayView name)
{
    if (name == "path")
        return &file.path;
    if (name == "size")
        return &file.size;
    if (name == "modified")
        return &file.modified;
    if (name == "link")
        return &file.link.emplace();
    if (name == "verified")
        return &file.verified;
    if (name == "changed")
        return &file.changed;
    return name == "checkedBlocks" ? &file.checkedBlocks : nullptr;
}

bool scanMember(Scanner &scanner, File &file)
{
    const auto name = scanner.text();
    if (!name || !scanner.skip(":"))
        return false;
    if (*name == "xxh3")
        return scanSums(scanner, file.sums);
    if (*name == "summedLater")
        return file.isSummedLater = scanner.skip("true");
    if (*name == "checked")
        return file.isChecked = scanner.skip("true");
    QByteArrayView *const member = textMember(file, *name);
    const auto value = member ? scanner.text() : std::nullopt;
    if (value)
        *member = *value;
    return value.has_value();
}

bool isNew(QByteArrayView name, const Members &members)
{
    return std::none_of(members.begin(), members.end(),
                        [name](const Member &member) { return member.name == name; });
}

bool scanHeadMember(Scanner &scanner, Members &members)
{
    const auto name = scanner.text();
    if (!name || !scanner.skip(":") || members.size() == mostMembers || !isNew(*name, members))
        return false;
    if (*name == "files")
        return scanner.skip("[]");
    const auto text = scanner.text();
    const auto value = text ? text : scanner.digits();
    if (value)
        members.append({ *name, *value, !text });
    return value.has_value();
}

} // namespace

std::optional<ManifestText> ManifestText::takenApart(const QByteArray &json)
{
    // In a text the quotes would stand behind a backslash, so this is the member itself; and that
    // of the whole, as nothing has been opened before it.
    const QByteArrayView listBegin = "\"files\":[";
    const qsizetype member = json.indexOf(listBegin);
    const QByteArrayView before = QByteArrayView(json).first(qMax(member, qsizetype(0)));
    if (member < 0 || before.lastIndexOf('{') != 0 || before.contains('['))
        return std::nullopt;
    const qsizetype list = member + listBegin.size() - 1;
    ManifestText text;
    Scanner scanner(QByteArrayView(json).sliced(list));
    const bool isScanned = scanner.listOf("[", "]", [&] {
        File &file = text.files.emplace_back();
        return scanner.listOf("{", "}", [&] { return scanMember(scanner, file); });
    });
    const qsizetype after = scanner.place() - json.constData();
    if (!isScanned || json.indexOf(listBegin, after) >= 0)
        return std::nullopt;
    text.head = json.first(list) + "[]" + json.sliced(after);
    return text;
}

std::optional<Members> ManifestText::membersOf(const QByteArray &head)
{
    const QByteArrayView text = QByteArrayView(head).trimmed();
    Members members;
    Scanner scanner(text);
    const bool isScanned
        = scanner.listOf("{", "}", [&] { return scanHeadMember(scanner, members); });
    return isScanned && scanner.place() == text.end() ? std::optional(members) : std::nullopt;
}

} // namespace zel
