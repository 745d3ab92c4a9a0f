#include "SyncStarts.h"

#include "Wrapper.h"

#include <utility>

#include <fcntl.h>

namespace {

bool isRecording = false;
std::vector<zel::test::SyncStart> starts;

} // namespace

namespace zel::test {

void startRecordingSyncStarts()
{
    starts.clear();
    isRecording = true;
}

std::vector<SyncStart> stopRecordingSyncStarts()
{
    isRecording = false;
    return std::exchange(starts, {});
}

} // namespace zel::test

using zel::test::original;

extern "C" {

ZEL_VISIBLE int sync_file_range(int descriptor, off64_t offset, off64_t count, unsigned int flags)
{
    static const auto next
        = original<int (*)(int, off64_t, off64_t, unsigned int)>("sync_file_range");
    // With other flags it would wait.
    if (isRecording && flags == SYNC_FILE_RANGE_WRITE)
        starts.push_back({ offset, count });
    return next(descriptor, offset, count, flags);
}

} // extern "C"
