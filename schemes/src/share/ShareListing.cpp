#include "share/ShareListing.h"

#include "errors/Propagate.h"
#include "share/ShareWalk.h"

#include <QCryptographicHash>

namespace zel {

namespace fs = std::filesystem;

namespace {

/// Takes in what makes out the state of a source.
class StateHash
{
public:
    void add(const ShareListing::Entry &entry)
    {
        addText(entry.suffix);
        addText(entry.linkTarget);
        addNumber(qint64(entry.kind));
        addNumber(entry.size);
        // A link's target says all of it.
        if (entry.kind != ShareListing::Kind::Link)
            addNumber(qint64(entry.modified.time_since_epoch().count()));
    }
    QString result() { return QString::fromLatin1(hash.result().toHex()); }

private:
    void addNumber(qint64 number) { addText(std::to_string(number)); }
    void addText(const std::string &text)
    {
        // With its end: "ab", "c" is not "a", "bc".
        hash.addData(QByteArrayView(text.c_str(), qsizetype(text.size()) + 1));
    }

    QCryptographicHash hash { QCryptographicHash::Sha256 };
};

} // namespace

Result<ShareListing> ShareListing::of(const fs::path &source,
                                      const std::function<bool()> &isCanceled)
{
    Error error;
    ShareListing listing;
    StateHash hash;
    const auto take = [&](const Entry &entry) {
        listing.all.push_back(entry);
        listing.bytes += entry.size;
        hash.add(entry);
    };
    ShareWalk walk(source, take, isCanceled);
    ZEL_TRY(error, walk.run());
    listing.state = hash.result();
    listing.leftOutCount = walk.leftOut();
    return listing;
}

Result<QString> ShareListing::validatorOf(const fs::path &source,
                                          const std::function<bool()> &isCanceled)
{
    Error error;
    StateHash hash;
    ShareWalk walk(
        source, [&](const Entry &entry) { hash.add(entry); }, isCanceled);
    ZEL_TRY(error, walk.run());
    return hash.result();
}

} // namespace zel
