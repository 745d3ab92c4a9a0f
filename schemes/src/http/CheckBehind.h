#pragma once

#include "integrity/ContentCheck.h"

#include <memory>

namespace zel {

class WorkBehind;

/// A content check on a thread of its own: a checksum takes longer than to receive the bytes. One
/// thread calls all members.
class CheckBehind
{
public:
    explicit CheckBehind(const ExpectedContent &expected);
    /// Waits for the piece that is just being added up, for no other.
    ~CheckBehind();

    /// See ContentCheck.
    bool needsBytes() const { return check.needsBytes(); }
    void addBytes(const QByteArray &piece);
    void reset();
    /// Waits until all bytes are added up.
    Error verify(qint64 size);

private:
    ContentCheck check; ///< of the other thread while there is one
    std::unique_ptr<WorkBehind> adder; ///< from the first piece on
};

} // namespace zel
