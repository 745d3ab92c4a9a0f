#pragma once

#include <atomic>

namespace zel {

/// The descriptor of a directory that is locked time and again, kept from one lock to the next:
/// opening and closing the directory takes twice as long as the semaphore before it. Everybody who
/// locks has a descriptor to himself for so long, as a lock belongs to a descriptor.
///
/// Kept only while somebody holds the place: an open directory cannot be unmounted. Plain data on
/// any thread, without a lock of its own.
class KeptDescriptor
{
public:
    KeptDescriptor() = default;
    ~KeptDescriptor();
    KeptDescriptor(const KeptDescriptor &) = delete;
    KeptDescriptor &operator=(const KeptDescriptor &) = delete;

    struct Taken
    {
        int descriptor = -1; ///< -1: none is kept, the taker opens one
        unsigned generation = 0;
    };

    /// From here to letGo() descriptors are kept. Counted.
    void hold();
    void letGo();
    /// Whatever is open now is not kept: another directory may stand under the name.
    void renew();

    /// For the taker alone, until it gives it back.
    Taken take();
    void giveBack(const Taken &taken);

private:
    void closeSpare();

    std::atomic<int> holders = 0;
    std::atomic<int> spare = -1;
    std::atomic<unsigned> generation = 0;
};

} // namespace zel
