#include "integrity/ManifestText.h"

#include <cstring>

namespace zel {

namespace {

using File = ManifestText::File;

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
    std::optional<QByteArray> text()
    {
        if (!skip("\""))
            return std::nullopt;
        const char *begin = at;
        while (at != end && isPlain(*at))
            ++at;
        const QByteArray found(begin, at - begin);
        return skip("\"") ? std::optional(found) : std::nullopt;
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
            sums.append(*sum);
        return sum.has_value();
    });
}

/// Null for a name that is none of those with a text.
QByteArray *textMember(File &file, const QByteArray &name)
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
    QByteArray *const member = textMember(file, *name);
    const auto value = member ? scanner.text() : std::nullopt;
    if (value)
        *member = *value;
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

} // namespace zel
