#pragma once

#include "StepLog.h"

#include <QString>

namespace zel::test {

/// Follows whether the data of a resource may be missing although its row says Ready: from the
/// first step of a removal on, until what was fetched anew is on the disk. Whoever finds it missing
/// fetches it; but at no other time there is anything that could have taken it away.
class RemovedData
{
public:
    /// `path` is where the resource lies.
    explicit RemovedData(const QString &path);

    void see(const LoggedStep &step);
    bool mayBeMissing() const { return isRemoved; }

private:
    bool isTakenAwayBy(const LoggedStep &step) const;
    bool isMadeDurableBy(const LoggedStep &step) const;

    const QString path;
    const QString folder;
    bool isRemoved = false;
    bool isPlacedAnew = false;
};

} // namespace zel::test
