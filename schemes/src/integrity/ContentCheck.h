#pragma once

#include "integrity/PassingHash.h"
#include "references/ExpectedContent.h"

#include <QCoreApplication>

#include <memory>

namespace zel {

/// Looks at the bytes of a file as they pass, and says in the end whether they are the expected
/// ones. Costs nothing if nothing is expected.
class ContentCheck
{
    Q_DECLARE_TR_FUNCTIONS(zel::ContentCheck)

public:
    explicit ContentCheck(const ExpectedContent &expected);

    /// Whether the bytes have to pass by at all; otherwise those of an earlier part of the transfer
    /// need not be read again.
    bool needsBytes() const { return hash != nullptr; }
    void addBytes(const char *data, qint64 count);
    void reset();
    /// Code 6 if these are not the expected bytes; `size` is that of the whole file.
    Error verify(qint64 size) const;

private:
    ExpectedContent expected;
    std::unique_ptr<PassingHash> hash;
};

} // namespace zel
