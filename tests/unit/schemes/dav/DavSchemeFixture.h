#pragma once

#include "../SchemeManagerFixture.h"
#include "../http/HttpTestSupport.h"
#include "ApacheServer.h"
#include "CacheDatabase.h"
#include "DavTestSupport.h"
#include "SchemeMetadata.h"
#include "dav/DavScheme.h"

#include <gtest/gtest.h>

#include <QDirIterator>

#include <map>

namespace zel::test {

/// The scheme with settings that give up at the first fault.
class DavSchemeFixture : public SchemeManagerFixture
{
protected:
    /// Folders by their path with a slash at the end, files with their content.
    using Tree = std::map<QString, QByteArray>;

    DavSchemeFixture()
    {
        settings.retries = 0;
        settings.probeRetries = 0;
        EXPECT_EQ(registerDavScheme(settings), Error());
    }

    static Tree treeAt(const QString &folder)
    {
        Tree tree;
        QDirIterator all(folder, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
        while (all.hasNext()) {
            const QString path = all.next();
            const QString name = path.mid(folder.size() + 1);
            if (all.fileInfo().isDir())
                tree[name + QLatin1Char('/')] = QByteArray();
            else
                tree[name] = readFile(path);
        }
        return tree;
    }

    static QString pathOf(const ResourceHandler &handler) { return handler.expectedPath().value(); }

    QString statusOf(const QString &url) const
    {
        return CacheDatabase(cache.databasePath()).status(reference(url)->referenceText(false));
    }

    static QSharedPointer<SchemeMetadata> metadataOf(const QString &url)
    {
        const auto metadata = handler(url)->retrieveMetadata();
        EXPECT_TRUE(metadata.hasValue()) << metadata.error().description().toStdString();
        return metadata.hasValue() ? metadata.value().dynamicCast<SchemeMetadata>() : nullptr;
    }

    /// Nothing of the resource is to be seen in the cache.
    void expectNothingPublished(const QString &url) const
    {
        EXPECT_EQ(statusOf(url), QStringLiteral("Missing"));
        EXPECT_FALSE(QFileInfo::exists(pathOf(*handler(url))));
    }

    QuickSettings settings;
};

} // namespace zel::test
