#pragma once

#include <QFileInfo>

#ifdef Q_OS_LINUX
#include <sys/fsuid.h>
#endif

namespace zel::test {

/// While it lives, this thread may touch files as anybody may, also if root runs the tests.
class AsAnybody
{
public:
    AsAnybody()
#ifdef Q_OS_LINUX
        : before(setfsuid(nobody))
#endif
    {
    }
    ~AsAnybody()
    {
#ifdef Q_OS_LINUX
        setfsuid(static_cast<uid_t>(before));
#endif
    }
    AsAnybody(const AsAnybody &) = delete;
    AsAnybody &operator=(const AsAnybody &) = delete;

    /// Whether the folders above let anybody through; without that there is nothing to test.
    bool canReach(const QString &path) const
    {
        return QFileInfo::exists(path);
    }

private:
    static constexpr unsigned nobody = 65534;
    int before = 0;
};

} // namespace zel::test
