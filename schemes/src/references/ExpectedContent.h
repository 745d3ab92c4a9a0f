#pragma once

#include "errors/Result.h"
#include "files/FileHash.h"

#include <QCoreApplication>
#include <QString>

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

} // namespace zel
