#pragma once

#include <QMetaType>
#include <QString>

namespace zel {

/// Says in a type what a path leads to.
namespace PathType {
struct Dir;
struct File;
struct Unknown; ///< a file or a folder, known at run time at best
} // namespace PathType

/// A path as it was given, without any normalisation. A value.
template<typename Kind>
class PathImpl
{
public:
    PathImpl() = default;
    /// Keeps the text as it is; does not look whether it leads to what the type says.
    PathImpl(const QString &path)
        : path(path)
    {
    }

    /// The text, for functions of Qt.
    operator QString() const { return path; }
    /// The text as it was given.
    const QString &toString() const { return path; }

    friend bool operator==(const PathImpl &, const PathImpl &) = default;

private:
    QString path;
};

/// The path of a resource, which can be a file or a folder.
template<>
class PathImpl<PathType::Unknown>
{
public:
    PathImpl() = default;
    /// Keeps the text as it is.
    PathImpl(const QString &path)
        : path(path)
        , kind(kindFromText)
    {
    }

    /// The text, for functions of Qt.
    operator QString() const { return path; }
    /// The text as it was given.
    const QString &toString() const { return path; }

    friend bool operator==(const PathImpl &, const PathImpl &) = default;

private:
    static constexpr qint32 kindFromText = 2;

    QString path;

public:
    qint32 kind = 0; ///< 2 for a path built from a text, 0 for one that was never given a text
};

} // namespace zel
