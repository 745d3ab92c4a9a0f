#pragma once

#include "errors/Result.h"

#include <QCoreApplication>
#include <QMetaType>
#include <QObject>
#include <QSharedPointer>
#include <QString>
#include <QStringList>
#include <QVersionNumber>

#include <functional>
#include <optional>

namespace zel {

/// The name of a resource, wherever it lies: "<prefix>:<what the scheme makes of the rest>".
///
/// Made through fromString() only, shared by QSharedPointer and never changed afterwards. This
/// class knows no scheme: a program registers those it wants to use. Failures have code 2; their
/// messages show neither control characters nor what may be a password.
/// Threads: every member may be called on any thread.
class ZEL_RESOURCE_MANAGER_EXPORT ResourceReference
{
    Q_GADGET
    Q_DECLARE_TR_FUNCTIONS(zel::ResourceReference)

public:
    /// Numbers are stable. What lies under File is never kept in a cache.
    enum Scheme : int {
        Invalid = 0,
        Http = 1,
        WebDav = 2,
        File = 3,
        Share = 4,
        Manifest = 5, ///< of folders that a list of their files describes
        Host1 = 16, ///< from here on for schemes of the loading program
        Host2 = 17,
        Host3 = 18,
        Host4 = 19,
        Host5 = 20,
        Host6 = 21,
        Host7 = 22,
        Host8 = 23,
    };
    Q_ENUM(Scheme)

    /// Makes a reference of a text that starts with one of the scheme's prefixes; fails with code 2
    /// for any other text. Must accept what referenceText(false) gives, and then give an equal
    /// reference. Called on any thread.
    using Parser = std::function<Result<QSharedPointer<ResourceReference>>(const QString &text)>;

    /// What a program says of a scheme when it registers it.
    struct SchemeDescription
    {
        Scheme scheme = Invalid; ///< the number that the library knows it by
        QStringList prefixes; ///< for example "http" and "https", without the colon
        QString friendlyName; ///< the folder of the scheme's resources in a cache
        QVersionNumber version; ///< raising its major number makes older copies outdated
        Parser parser; ///< makes its references
    };

    virtual ~ResourceReference();

    /// Makes a scheme known, or describes it anew. Fails if the description is of no use: scheme
    /// Invalid, no parser, no prefix or one that is no word or that another scheme has, a name that
    /// no folder can have.
    static Error registerScheme(const SchemeDescription &description);
    /// Nothing happens if the scheme is not known.
    static void unregisterScheme(Scheme scheme);

    /// The reference that the parser of the text's scheme makes of it. Code 2 if no scheme has the
    /// prefix.
    static Result<QSharedPointer<ResourceReference>> fromString(const QString &text);
    /// The scheme that the text's prefix stands for. Of the rest, control characters are refused.
    static Result<Scheme> scheme(const QString &text);
    /// A name for a folder. A scheme that is not registered has one too, so that what was kept
    /// under it is found.
    static QString schemeFriendlyName(Scheme scheme);

    /// Of this reference.
    Scheme scheme() const { return scheme_; }

    /// Equal if scheme and key form are.
    bool operator==(const ResourceReference &other) const;

    /// With false the key form, which identifies the resource and is what fromString() reads back.
    /// With true the display form, for people. Neither holds a secret.
    virtual QString referenceText(bool forDisplay) const = 0;
    /// The resource's path, and its full path, if the reference can tell without help.
    virtual std::optional<QString> referencePath() const;
    /// See referencePath().
    virtual std::optional<QString> referenceFullPath() const;
    /// The version that the scheme is registered with; null if it is not. Asks neither the disk nor
    /// the network.
    virtual QVersionNumber referenceVersion() const;

protected:
    explicit ResourceReference(Scheme scheme); ///< for the classes of schemes
    ResourceReference(const ResourceReference &) = default;
    ResourceReference &operator=(const ResourceReference &) = default;

private:
    Scheme scheme_;
};

/// Under this name the meta-object system knows the pointer, and lists of it.
using ResourceReferenceSPtr = QSharedPointer<ResourceReference>;

} // namespace zel

Q_DECLARE_METATYPE(zel::ResourceReferenceSPtr)
