#pragma once

#include "references/ExpectedContent.h"
#include "references/ResourceReference.h"

namespace zel {

/// A file or folder of this machine's tree: "<prefix>:/path", for the schemes file and share.
///
/// The path is absolute and names the thing directly, without "..". Both the encoded and the plain
/// spelling are read ("%20", " "); the key form is the encoded one. "<prefix>:///path" and
/// "<prefix>://localhost/path" are the same. Only shares have an expected content.
class PathReference : public ResourceReference
{
    Q_DECLARE_TR_FUNCTIONS(zel::PathReference)

public:
    /// Code 2; the messages show the path, with control characters escaped.
    static Result<QSharedPointer<ResourceReference>> parse(Scheme scheme, const QString &text);

    QString referenceText(bool forDisplay) const override;
    std::optional<QString> referencePath() const override;
    std::optional<QString> referenceFullPath() const override;

    /// The absolute path, cleaned.
    const QString &path() const { return path_; }
    /// The last component of the path.
    QString fileName() const;
    const ExpectedContent &expectedContent() const { return expected; }

private:
    PathReference(Scheme scheme, const QString &path, const ExpectedContent &expected);
    static Result<QString> withoutHost(const QString &text);
    static Result<QString> decodedPath(const QString &encoded);
    static Error checkPath(const QString &path);

    const QString path_;
    const ExpectedContent expected;
};

} // namespace zel
