#pragma once

#include <cstdint>
#include <vector>

namespace zel::test {

/// A part of a file that the system was asked to bring to the disk without waiting for it.
struct SyncStart
{
    int64_t offset = 0;
    int64_t count = 0;
};

/// Records from now on what this program asks for in this way. One thread at a time.
void startRecordingSyncStarts();
std::vector<SyncStart> stopRecordingSyncStarts();

} // namespace zel::test
