#pragma once

#include "errors/Result.h"

#include <QCoreApplication>
#include <QString>

#include <array>
#include <string_view>

namespace zel {

/// The percent-encoding of addresses, in the one spelling that a key form needs: what need not be
/// encoded is not, what is has capital letters.
class PercentEncoding
{
    Q_DECLARE_TR_FUNCTIONS(zel::PercentEncoding)

public:
    /// The characters that are written as they are: letters, digits, "-._~" and those that are
    /// given. A table, since the keys of a large cache have millions of characters.
    class Kept
    {
    public:
        constexpr explicit Kept(std::string_view others)
        {
            for (const std::string_view each : { letters, digits, marks, others }) {
                for (const char character : each)
                    kept.at(static_cast<unsigned char>(character)) = true;
            }
        }

        constexpr bool contains(char16_t character) const
        {
            return character < kept.size() && kept[character];
        }

    private:
        static constexpr std::string_view letters
            = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ";
        static constexpr std::string_view digits = "0123456789";
        static constexpr std::string_view marks = "-._~";

        std::array<bool, 128> kept {};
    };

    /// Normalises a path or a query: everything but the characters of `kept` ends up encoded, and
    /// what was encoded stays so, other than letters, digits and "-._~". Code 2 for a percent sign
    /// without two hexadecimal digits behind it.
    static Result<QString> normalised(QStringView text, const Kept &kept);

    /// The bytes that a text of this encoding stands for. Code 2 as above.
    static Result<QByteArray> decoded(const QString &text);
    /// Encodes every byte but the characters of `kept`.
    static QString encoded(const QByteArray &bytes, const Kept &kept);

    /// For people: decoded where that gives printable text, encoded elsewhere.
    static QString displayed(const QString &text);
};

} // namespace zel
