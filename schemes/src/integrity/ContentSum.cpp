#include "integrity/ContentSum.h"

#include <algorithm>

#include <xxhash.h>

namespace zel {

struct ContentSum::State
{
    XXH3_state_t *xxh = XXH3_createState();
    State() = default;
    State(const State &) = delete;
    State &operator=(const State &) = delete;
    ~State() { XXH3_freeState(xxh); }
};

ContentSum::ContentSum()
    : state(std::make_unique<State>())
{
    Q_CHECK_PTR(state->xxh);
    reset();
}

ContentSum::~ContentSum() = default;

void ContentSum::reset()
{
    XXH3_128bits_reset(state->xxh);
}

void ContentSum::add(const char *data, qint64 count)
{
    XXH3_128bits_update(state->xxh, data, size_t(count));
}

QByteArray ContentSum::value() const
{
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits_digest(state->xxh));
    return QByteArray(reinterpret_cast<const char *>(canonical.digest), sizeof canonical.digest)
        .toHex();
}

BlockSums::BlockSums(qint64 blockBytes)
    : blockBytes(blockBytes)
{
}

void BlockSums::startAt(qint64 first)
{
    offset = first;
    isWhole = first % blockBytes == 0;
    current.reset();
    const qsizetype before = qsizetype(first / blockBytes);
    finished.resize(before);
}

void BlockSums::add(const char *data, qint64 count)
{
    while (count > 0) {
        const qint64 share = std::min(count, blockBytes - offset % blockBytes);
        if (isWhole)
            current.add(data, share);
        data += share;
        count -= share;
        offset += share;
        if (offset % blockBytes == 0)
            endBlock();
    }
}

void BlockSums::endBlock()
{
    finished.append(isWhole ? current.value() : QByteArray());
    current.reset();
    isWhole = true;
}

QList<QByteArray> BlockSums::sums() const
{
    QList<QByteArray> all = finished;
    if (offset % blockBytes != 0)
        all.append(isWhole ? current.value() : QByteArray());
    return all;
}

qint64 BlockSums::blockCount(qint64 size, qint64 blockBytes)
{
    return size / blockBytes + (size % blockBytes != 0 ? 1 : 0);
}

} // namespace zel
