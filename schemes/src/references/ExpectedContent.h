#pragma once

#include "errors/Result.h"
#include "files/FileHash.h"
#include "integrity/PassingHash.h"

#include <QCoreApplication>
#include <QString>

#include <memory>
#include <optional>

namespace zel {

/// What a reference says about the bytes of its file: "sha256=<hex>" or "md5=<hex>", and
/// "size=<bytes>", joined by "&". A value.
struct ExpectedContent
{
    Q_DECLARE_TR_FUNCTIONS(zel::ExpectedContent)

public:
    FileHash hash; ///< empty if nothing is said of it
    std::optional<qint64> size;

    bool isEmpty() const { return hash.isEmpty() && !size; }
    /// The one spelling of it; empty if nothing is expected.
    QString toString() const;
    /// Code 2 for anything that is no such text.
    static Result<ExpectedContent> fromString(const QString &text);

    friend bool operator==(const ExpectedContent &left, const ExpectedContent &right)
    {
        return left.hash == right.hash && left.size == right.size;
    }
};

/// Looks at the bytes of a file as they pass, and says in the end whether they are the expected
/// ones. Costs nothing if nothing is expected.
class ContentCheck
{
    Q_DECLARE_TR_FUNCTIONS(zel::ContentCheck)

public:
    explicit ContentCheck(const ExpectedContent &expected);

    /// Whether the bytes have to pass by at all; otherwise those of an earlier part of the transfer
    /// need not be read again.
    bool needsBytes() const { return hash != nullptr; }
    void addBytes(const char *data, qint64 count);
    void reset();
    /// Code 6 if these are not the expected bytes; `size` is that of the whole file.
    Error verify(qint64 size) const;

private:
    ExpectedContent expected;
    std::unique_ptr<PassingHash> hash;
};

} // namespace zel
