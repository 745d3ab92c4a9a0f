#pragma once

#include "errors/Error.h"

#include <QCoreApplication>
#include <QList>
#include <QString>
#include <QVariant>

#include <optional>

namespace zel {
class DatabaseHandler;
}

namespace zel::msreader {

/// Where a piece of mass-spectrometry data lies: at a local path or behind a database handler, and
/// which sample inside it is meant. A value; what a database handler points to is borrowed.
class DataSourceLocation
{
    Q_DECLARE_TR_FUNCTIONS(zel::msreader::DataSourceLocation)

public:
    static constexpr int localPathKind = 1;
    static constexpr int databaseHandlerKind = 2;

    /// One sample inside the source: how people and how the source itself call it.
    struct Sample
    {
        QString sampleName;
        QString nativeSampleId;

        friend bool operator==(const Sample &, const Sample &) = default;
    };

    explicit DataSourceLocation(const QString &path);
    DataSourceLocation(const DataSourceLocation &other) = default;
    DataSourceLocation &operator=(const DataSourceLocation &other) = default;
    virtual ~DataSourceLocation() = default;

    /// The handler is borrowed; the path stays empty.
    static DataSourceLocation fromDatabaseHandler(DatabaseHandler *handler);

    int kind() const;
    QString path() const;
    DatabaseHandler *dbHandler() const; ///< null for a local path
    /// A further text, shown in the text form.
    std::optional<QString> displayName() const;
    void setDisplayName(const std::optional<QString> &name);
    std::optional<Sample> sample() const;
    void setSample(const std::optional<Sample> &newSample);
    /// Carried for the caller, neither shown nor part of the hash.
    QVariant payload() const;
    void setPayload(const QVariant &newPayload);

    /// Makes the path absolute.
    void normalizePath();

    /// Code 2 for an empty path and for one that is longer than FilePathUtils::winMaxPathLength
    /// without the prefix that allows it.
    static Error checkValidVendorFilePath(const QString &path);

    /// For people, as in "[local_path: /data/x.raw(label) : sampleName: A, nativeSampleId: 7]".
    virtual QString toString() const;
    static QString toString(const QList<DataSourceLocation> &locations);

    /// Of sample, display name and path.
    uint hash() const;

protected:
    /// For derived classes, which may bring kinds of their own.
    DataSourceLocation(int kind, const QString &path, DatabaseHandler *handler);

private:
    void writeInside(QDebug &writer) const;

    int kind_;
    QString path_;
    DatabaseHandler *dbHandler_;
    std::optional<QString> displayName_;
    std::optional<Sample> sample_;
    QVariant payload_;
};

} // namespace zel::msreader
