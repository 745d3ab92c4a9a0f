#pragma once

namespace zel {

/// A copy of what the caller has handed in, for a function that lets events be delivered: a slot
/// may change or clear the caller's meanwhile. By name, as a copy that is never changed looks
/// needless.
template<typename Value>
Value ownCopy(const Value &callers)
{
    return callers;
}

} // namespace zel
