#include "SelfSignedCertificate.h"

#include <gtest/gtest.h>

#include <QProcess>

namespace zel::test {

using namespace Qt::Literals::StringLiterals;

SelfSignedCertificate::SelfSignedCertificate(const QString &folder)
    : certificate(folder + u"/certificate.pem"_s)
    , key(folder + u"/key.pem"_s)
{
    QProcess process;
    process.start(u"openssl"_s,
                  { u"req"_s, u"-x509"_s, u"-newkey"_s, u"ec"_s, u"-pkeyopt"_s,
                    u"ec_paramgen_curve:prime256v1"_s, u"-nodes"_s, u"-days"_s, u"2"_s, u"-subj"_s,
                    u"/CN=localhost"_s, u"-addext"_s,
                    u"subjectAltName=IP:127.0.0.1,DNS:localhost"_s, u"-keyout"_s, key, u"-out"_s,
                    certificate });
    EXPECT_TRUE(process.waitForFinished());
    EXPECT_EQ(process.exitCode(), 0) << process.readAllStandardError().toStdString();
}

} // namespace zel::test
