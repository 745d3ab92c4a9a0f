#pragma once

#include "../SchemeManagerFixture.h"
#include "../http/HttpTestSupport.h"
#include "list/ListScheme.h"

#include <gtest/gtest.h>

#include <QFileInfo>

namespace zel::test {

/// The scheme with settings that give up at the first fault.
class ListSchemeFixture : public SchemeManagerFixture
{
protected:
    ListSchemeFixture()
    {
        settings.retries = 0;
        EXPECT_EQ(registerListScheme(settings), Error());
    }

    static QString listAt(const QString &url) { return QStringLiteral("list+") + url; }

    /// How the fetch ends, of which nothing must be to be seen in the cache.
    static Error errorOf(const QString &reference)
    {
        const auto folder = handler(reference);
        const Error error = folder->retrieve();
        EXPECT_FALSE(folder->isAvailableLocally());
        EXPECT_FALSE(QFileInfo::exists(folder->expectedPath().value()));
        return error;
    }
    static int failureOf(const QString &reference) { return int(errorOf(reference).errorCode()); }

    QuickSettings settings;
};

} // namespace zel::test
