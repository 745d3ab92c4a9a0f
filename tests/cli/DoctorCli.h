#pragma once

#include "RemovalCli.h"

#include <QMap>

namespace zel::test {

/// Runs `zelcache doctor` on a cache with two resources that are Ready.
class DoctorCli : public RemovalCli
{
public:
    /// A number that no process has.
    static constexpr qint64 nobody = 2'147'483'000;

    void SetUp() override;

    void sql(const QString &statement, const QList<QVariant> &values = {}) const;
    /// Damages pages of the database that a look at the rows does not read.
    void damagePages() const;
    void setOfFirst(const QString &column, const QVariant &value) const;
    QString firstPath() const { return pathOf(references.first()); }
    QString lastPath() const { return pathOf(references.last()); }

    /// The ids of all findings, with no minimum age; checks the exit code.
    QStringList doctor(const QStringList &arguments, int exitCode) const;
    /// All data, as the disk has it.
    qint64 bytesOnDisk() const;
    void expectUntouched(const QString &reference) const;
    /// Every file with its bytes and every folder. Without the file of shared memory, in which
    /// readers note that they read, and an empty log, which they leave.
    QMap<QString, QByteArray> everything() const;
    const TemporaryCache &place() const { return cache; }

    static qint64 now(); ///< milliseconds since the epoch
    static QString startOfThis(); ///< this process, in ticks since the machine started

    QStringList references;
};

} // namespace zel::test
