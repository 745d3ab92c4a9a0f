#pragma once

namespace zel {

/// What kind of failure an Error is. The numbers are stable: programs store and print them.
/// Two more are given without a name here: 6, not the bytes that were promised, by schemes, and 7,
/// no room on the volume (FreeSpace::lackingCode), by what writes files; the database gives 1. Code
/// that loads this library may use further numbers of its own; every number but 0 is a failure.
enum class ErrorCode : int {
    Success = 0,
    OperationFailed = 1, ///< the operation was right to ask for and did not work out
    BadArgument = 2, ///< the caller gave something unusable or unsupported
    BadData = 4, ///< data that cannot be processed as it stands
    UnsupportedContainer = 5, ///< a container of a kind that is not handled
    Canceled = 20, ///< somebody asked to stop
    FeatureLacking = 21, ///< the object does not offer this
};

} // namespace zel
