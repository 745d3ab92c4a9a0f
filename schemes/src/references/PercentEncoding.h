#pragma once

#include "errors/Result.h"

#include <QCoreApplication>
#include <QString>

namespace zel {

/// The percent-encoding of addresses, in the one spelling that a key form needs: what need not be
/// encoded is not, what is has capital letters.
class PercentEncoding
{
    Q_DECLARE_TR_FUNCTIONS(zel::PercentEncoding)

public:
    /// Normalises a path or a query: everything but letters, digits, "-._~" and the characters
    /// of `kept` ends up encoded, what was encoded stays encoded unless it need not be. Code 2 for
    /// a percent sign without two hexadecimal digits behind it.
    static Result<QString> normalised(const QString &text, QLatin1StringView kept);

    /// The bytes that a text of this encoding stands for. Code 2 as above.
    static Result<QByteArray> decoded(const QString &text);
    /// Encodes every byte but letters, digits, "-._~" and the characters of `kept`.
    static QString encoded(const QByteArray &bytes, QLatin1StringView kept);

    /// For people: decoded where that gives printable text, encoded elsewhere.
    static QString displayed(const QString &text);
};

} // namespace zel
