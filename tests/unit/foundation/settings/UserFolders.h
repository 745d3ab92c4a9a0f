#pragma once

#include <QTemporaryDir>

namespace zel::test {

/// While it lives, the user's data, configuration and cache folders are temporary ones.
class UserFolders
{
public:
    UserFolders()
    {
        for (const char *name : names) {
            former.append(qgetenv(name));
            qputenv(name, QFile::encodeName(folder.filePath(QString::fromLatin1(name))));
        }
    }
    ~UserFolders()
    {
        for (qsizetype i = 0; i < former.size(); ++i) {
            if (former.at(i).isEmpty())
                qunsetenv(names[i]);
            else
                qputenv(names[i], former.at(i));
        }
    }
    UserFolders(const UserFolders &) = delete;
    UserFolders &operator=(const UserFolders &) = delete;

private:
    static constexpr const char *names[] = { "XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME" };

    QTemporaryDir folder;
    QByteArrayList former;
};

} // namespace zel::test
