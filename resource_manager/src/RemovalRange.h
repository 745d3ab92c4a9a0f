#pragma once

#include <QDir>
#include <QList>
#include <QString>

namespace zel {

/// Finds the folders that go when a resource goes: the one around it, and above that those that
/// hold nothing else, but never the data directory nor a folder directly in it.
///
/// Hence a resource has a folder of its own: whatever lies beside it in the folder goes as well.
/// Nothing guards where a walk starts. A path directly in the data directory stands for that whole
/// directory; one outside of it climbs until a folder has a second entry.
class RemovalRange
{
public:
    explicit RemovalRange(const QString &dataDirectory);

    /// Each in the next one: the folder around the resource first. `path`: the cleaned path of an
    /// existing resource.
    QList<QDir> foldersOf(const QString &path) const;

private:
    bool endsAt(const QDir &parent) const;
    bool isSpelledDataDirectory(const QString &path) const;
    /// Through links, however the two are spelled.
    bool leadsToDataDirectory(const QString &path) const;

    // A row's path need not be spelled as the directory is today.
    QString cleaned;
    QString absolute;
};

} // namespace zel
