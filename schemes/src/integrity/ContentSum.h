#pragma once

#include "SchemesExport.h"

#include <QByteArray>
#include <QList>

#include <memory>

namespace zel {

/// The XXH3-128 sum of bytes as they pass by. It finds damage, not deceit, and keeps up with any
/// disk. One thread at a time.
class ZEL_RESOURCE_SCHEMES_EXPORT ContentSum
{
public:
    ContentSum();
    ~ContentSum();
    ContentSum(const ContentSum &) = delete;
    ContentSum &operator=(const ContentSum &) = delete;

    void reset(); ///< forgets all bytes
    void add(const char *data, qint64 count); ///< the next bytes
    /// Of the bytes since the last reset, in 32 lower-case hexadecimal digits.
    QByteArray value() const;

private:
    struct State;
    std::unique_ptr<State> state;
};

/// The sums of a file's blocks as its bytes pass by, each block being as long as the others but for
/// the last one. A fetch that goes on in the middle of a file knows the blocks that it saw from
/// their first byte to their last, and no others. One thread at a time.
class ZEL_RESOURCE_SCHEMES_EXPORT BlockSums
{
public:
    explicit BlockSums(qint64 blockBytes); ///< the length of a block in bytes, at least 1

    /// The next byte is the one at `offset`; what was seen of a block that this cuts is forgotten.
    /// With 0 all is forgotten.
    void startAt(qint64 offset);
    void add(const char *data, qint64 count); ///< the next bytes
    /// A sum for each block of a file that ends here; empty for one that was not seen in full.
    QList<QByteArray> sums() const;

    /// How many blocks a file of so many bytes has.
    static qint64 blockCount(qint64 size, qint64 blockBytes);

private:
    void endBlock();

    qint64 blockBytes;
    qint64 offset = 0; ///< of the next byte
    bool isWhole = true; ///< the block at hand was seen from its first byte on
    ContentSum current;
    QList<QByteArray> finished;
};

} // namespace zel
