#pragma once

#include "errors/Result.h"
#include "files/FileHash.h"

#include <QByteArray>
#include <QCoreApplication>
#include <QList>
#include <QString>

namespace zel {

/// The lines that `sha256sum` writes, read as its option `-c` reads them: comments and empty lines
/// are passed over, blanks in front and a line's carriage return do not matter, a name has a mark
/// of the mode in front or none, and is escaped where the line starts with a backslash; the form
/// "SHA256 (name) = ..." is the same, also with the blanks that OpenSSL writes. "./" in front of a
/// name is left out.
///
/// A line that is none of these is refused and not passed over: a folder would lack a file.
class ChecksumLines
{
    Q_DECLARE_TR_FUNCTIONS(zel::ChecksumLines)

public:
    struct Line
    {
        QString path; ///< as it stands there; nobody has looked at it yet
        FileHash hash;
    };

    /// Code 4 if there is any other line, which is named by its number, or no line at all, or more
    /// than a folder may have entries.
    static Result<QList<Line>> parse(const QByteArray &text);
};

} // namespace zel
