#pragma once

#include "http/HttpSession.h"

#include <QCoreApplication>

namespace zel {

/// The failures of transfers: "Unable to fetch <resource>: <what happened>", in one line. They name
/// the resource by its display form, never by its address, which may hold secrets.
class HttpFailure
{
    Q_DECLARE_TR_FUNCTIONS(zel::HttpFailure)

public:
    static Error make(int code, const QString &displayName, const QString &what);
    static Error canceled(const QString &displayName);
    /// Of an outcome that is no good answer: the reason, or the status and the server's own words,
    /// without the secrets of `url`, which was asked for, and of the address that answered.
    static Error of(const HttpOutcome &outcome, const HttpUrl &url, const QString &displayName);
    /// What a server said as a short line: without markup, control characters and secrets.
    static QString oneLine(const QByteArray &said, QList<QByteArray> secrets);
};

} // namespace zel
