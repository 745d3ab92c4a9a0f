#pragma once

#include "errors/Result.h"

#include <QCoreApplication>
#include <QCryptographicHash>

namespace zel {

/// What a file's content comes down to. A value; equal if algorithm and digest are.
struct ZEL_RESOURCE_MANAGER_EXPORT FileHash
{
    Q_DECLARE_TR_FUNCTIONS(zel::FileHash)

public:
    QCryptographicHash::Algorithm algorithm = QCryptographicHash::Sha256; ///< of the digest
    QByteArray digest; ///< the raw bytes; empty if nothing is known of the content

    /// Whether nothing is known of the content.
    bool isEmpty() const { return digest.isEmpty(); }
    /// The form "sha256:0123...", digits in lower case; empty for an empty hash.
    QString toString() const;
    /// The hash of such a text, whatever the case of its letters. Code 4 for an algorithm other
    /// than md5, sha1, sha256 and sha512, or for a digest that is not one of it.
    static Result<FileHash> fromString(const QString &text);

    /// Reads the whole file. Code 1 if that is not possible; the message names the path.
    static Result<FileHash> ofFile(const QString &path,
                                   QCryptographicHash::Algorithm algorithm
                                   = QCryptographicHash::Sha256);

    /// Two empty ones are equal only if their algorithms are.
    friend bool operator==(const FileHash &left, const FileHash &right)
    {
        return left.algorithm == right.algorithm && left.digest == right.digest;
    }
};

} // namespace zel
