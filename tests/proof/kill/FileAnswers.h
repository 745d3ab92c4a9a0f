#pragma once

#include <QList>
#include <QtGlobal>

namespace zel::test {

/// What a server has sent of one file to one program, by its log. A line of that is written when
/// the server has done with a request: an answer that the program has broken off may stand behind
/// the one to its next question, and with all the bytes that were to be sent.
class FileAnswers
{
public:
    explicit FileAnswers(qint64 fileSize = 0)
        : size(fileSize)
    {
    }

    qint64 fileSize() const { return size; }
    /// An answer with this status and so many bytes, in any order.
    void add(int status, qint64 bytes);
    /// What the program has taken of it all. To one who has the file, or a part of it, one answer
    /// with the whole file is only begun, and broken off.
    qint64 bytesTaken(bool hadAll) const;

private:
    qint64 size = 0;
    QList<qint64> wholes;
    QList<qint64> rests;
};

} // namespace zel::test
