#include "FolderLook.h"

#include "TemporaryCache.h"

#include <QDirIterator>
#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <filesystem>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

namespace {

/// Those that lead nowhere, and what is no file, are "system" to Qt.
constexpr QDir::Filters everything
    = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;

/// As it stands in the link.
QByteArray targetOf(const QString &link)
{
    std::error_code failure;
    const std::filesystem::path path = QFile::encodeName(link).toStdString();
    return QByteArray::fromStdString(std::filesystem::read_symlink(path, failure).native());
}

/// A link is one before it is whatever it leads to.
QByteArray contentOf(const QFileInfo &entry)
{
    if (entry.isSymLink())
        return "-> " + targetOf(entry.filePath());
    return entry.isFile() ? readFile(entry.filePath()) : QByteArray();
}

bool isIn(const QString &path, const QString &folder)
{
    return path == folder || path.startsWith(folder + u'/');
}

} // namespace

QMap<QString, QByteArray> contentsBelow(const QString &folder, const QStringList &leftOut)
{
    QMap<QString, QByteArray> all;
    QDirIterator entries(folder, everything, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        const bool isLeftOut = std::any_of(leftOut.begin(), leftOut.end(),
                                           [&](const QString &out) { return isIn(path, out); });
        if (!isLeftOut)
            all.insert(path, contentOf(entries.fileInfo()));
    }
    return all;
}

QStringList faultsBelow(const QString &folder, const QByteArray &secret)
{
    QStringList faults;
    QDirIterator entries(folder, everything, QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        const QFileInfo entry = entries.fileInfo();
        if (entry.isSymLink())
            faults.append(u"a link was made: "_s + path);
        else if (!entry.isFile() && !entry.isDir())
            faults.append(u"this is neither file nor folder: "_s + path);
        if (path.toUtf8().contains(secret) || contentOf(entry).contains(secret))
            faults.append(u"a secret is stored: "_s + path);
    }
    return faults;
}

} // namespace zel::test
