#pragma once

#include "MsDataFormat.h"
#include "TemporaryCache.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QSet>
#include <QTemporaryDir>

#include <algorithm>
#include <ostream>

namespace zel::msreader {

/// Formats by their names in the failure messages of GoogleTest.
inline void PrintTo(VendorDataFormat format, std::ostream *out)
{
    *out << vendorDataFormatToString(format).toStdString();
}

} // namespace zel::msreader

namespace zel::test {

using Formats = QList<msreader::VendorDataFormat>;

/// In the order of their numbers, to compare and to print.
inline Formats sorted(const QSet<msreader::VendorDataFormat> &formats)
{
    Formats list = formats.values();
    std::sort(list.begin(), list.end());
    return list;
}

/// A folder of its own, to be filled with the empty files and folders by which data is recognised.
class MarkerTree
{
public:
    QString path(const QString &name) const { return dir.filePath(name); }

    /// Makes the entry with its parents and returns its path: a folder if the name ends in "/", a
    /// file otherwise.
    QString make(const QString &name) const
    {
        const QString whole = path(name);
        if (name.endsWith(u'/')) {
            EXPECT_TRUE(QDir().mkpath(whole)) << qPrintable(whole);
            return whole.chopped(1);
        }
        writeFile(whole, {});
        return whole;
    }

    /// Makes a folder with these entries in it and returns its path.
    QString makeFolder(const QString &name, const QStringList &entries = {}) const
    {
        const QString folder = make(name + u'/');
        for (const QString &entry : entries)
            make(name + u'/' + entry);
        return folder;
    }

    /// Makes a link; `target` is absolute or relative to the link's folder.
    QString link(const QString &target, const QString &name) const
    {
        EXPECT_TRUE(QFile::link(target, path(name))) << qPrintable(name);
        return path(name);
    }

private:
    QTemporaryDir dir;
};

} // namespace zel::test
