#pragma once

#include "ZelcacheCli.h"

#include <functional>

namespace zel::test {

/// Runs verify on a cache with data that was fetched, and damages it, its manifests and its rows.
class VerifyCli : public ZelcacheCli
{
protected:
    /// Fetches it; gives its path in the cache.
    QString fetch(const QString &reference) const;
    QString fetchFile(const QString &name, const QByteArray &content) const;
    /// A folder with these files, as a share has it.
    QString sharedFolder(const QString &name, const QStringList &files) const;
    QString referenceOf(const QString &name) const;

    /// Changes a file without its time changing.
    static void changeSecretly(const QString &path, const std::function<void()> &change);

    QJsonObject verify(const QStringList &arguments, int exitCode) const;
    QJsonObject verifyOne(const QString &reference, int exitCode) const;
    static int countOf(const QJsonObject &answer, const QString &verdict);

    QStringList manifests() const;
    QString manifestOf(const QString &reference) const;
    static QJsonObject manifestAt(const QString &path);

    /// Makes a fetched file, and its manifest, so long that reading it takes a while; it takes no
    /// room on the disk. Its sums are not known.
    void makeHuge(const QString &path, const QString &manifestPath) const;
    static qint64 checkedBlocks(const QString &manifestPath);

    /// Rows that are Ready, without data.
    void addRows(int count) const;

    static constexpr qint64 blockBytes = 64ll * 1024 * 1024;
    static constexpr qint64 hugeBlocks = 4096;
};

} // namespace zel::test
