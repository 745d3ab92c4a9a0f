#pragma once

#include "../http/HttpTestSupport.h"
#include "DavTestSupport.h"
#include "dav/DavClient.h"

#include <gtest/gtest.h>

namespace zel::test {

/// A client that does not try again.
class DavClientFixture : public ::testing::Test
{
protected:
    DavClientFixture()
        : client(settings, QStringLiteral("the folder"), {})
    {
        settings.retries = 0;
        settings.probeRetries = 0;
    }

    static HttpUrl url(const QString &text) { return HttpUrl::parse(text.toUtf8()).value(); }

    DavProbe describe(const QString &address)
    {
        const Result<DavProbe> probe = client.describe(url(address));
        EXPECT_TRUE(probe.hasValue()) << probe.error().description().toStdString();
        return probe.hasValue() ? probe.value() : DavProbe();
    }
    Error describeFailure(const QString &address)
    {
        const Result<DavProbe> probe = client.describe(url(address));
        return probe.hasValue() ? Error() : probe.error();
    }
    Result<std::vector<DavResource>> list(const QString &address)
    {
        return client.list(DavCollection::at(url(address)).value());
    }
    QStringList namesIn(const QString &address)
    {
        const auto members = list(address);
        EXPECT_TRUE(members.hasValue()) << members.error().description().toStdString();
        QStringList names;
        if (!members.hasValue())
            return names;
        for (const DavResource &member : members.value())
            names << member.name + (member.isFolder ? QStringLiteral("/") : QString());
        names.sort();
        return names;
    }
    Error listFailure(const QString &address)
    {
        const auto members = list(address);
        return members.hasValue() ? Error() : members.error();
    }
    /// What comes of a list with this answer to everything.
    Error listFailureOf(const QByteArray &answer)
    {
        ScriptedServer server([&](const auto &, auto &connection) { connection.send(answer); });
        return listFailure(server.url(QStringLiteral("d/")));
    }

    QuickSettings settings;
    DavClient client;
};

/// How the failures begin.
inline const QString begin = QStringLiteral("Unable to fetch the folder: ");

} // namespace zel::test
