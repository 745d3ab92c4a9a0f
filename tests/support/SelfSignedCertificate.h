#pragma once

#include <QString>

namespace zel::test {

/// A certificate for 127.0.0.1 and localhost, signed by itself, and its key, in the given folder.
struct SelfSignedCertificate
{
    explicit SelfSignedCertificate(const QString &folder);

    QString certificate;
    QString key;
};

} // namespace zel::test
