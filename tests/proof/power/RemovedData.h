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
    explicit RemovedData(QString path);

    void see(const LoggedStep &step);
    bool mayBeMissing() const { return m_isRemoved; }

private:
    bool isTakenAwayBy(const LoggedStep &step) const;
    bool isMadeDurableBy(const LoggedStep &step) const;

    const QString m_path;
    const QString m_folder;
    bool m_isRemoved = false;
    bool m_isPlacedAnew = false;
};

} // namespace zel::test
