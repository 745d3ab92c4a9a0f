#include "Catalogue.h"
#include "ProgramRun.h"

#include <gtest/gtest.h>

#include <QFileInfo>
#include <QHash>
#include <QTemporaryDir>

namespace zel::test {
namespace {

using namespace Qt::Literals::StringLiterals;

QHash<QString, Message> byKey(const QList<Message> &messages)
{
    QHash<QString, Message> found;
    for (const Message &message : messages)
        found.insert(message.key(), message);
    return found;
}

/// The catalogues against the sources as they stand.
TEST(CatalogueUpdateTest, everyTextOfTheSources_isInTheCatalogues)
{
    const QTemporaryDir copies;
    ProgramRun update(QStringLiteral(ZEL_SOURCE_TREE "/scripts/update-translations"),
                      { u"--copy"_s, copies.path() });
    ASSERT_EQ(update.exitCode(), 0) << update.errors().toStdString();
    for (const QString &path : cataloguePaths()) {
        const QString name = QFileInfo(path).fileName();
        const auto known = byKey(readCatalogue(path));
        const auto wanted = byKey(readCatalogue(copies.filePath(name)));
        ASSERT_FALSE(wanted.isEmpty()) << qPrintable(name);
        for (const Message &message : wanted) {
            EXPECT_TRUE(known.contains(message.key()))
                << qPrintable(name) << " lacks \"" << qPrintable(message.source) << "\" of "
                << qPrintable(message.places.join(u", "_s).remove(u"../"_s))
                << "; run scripts/update-translations and translate it";
        }
        for (const Message &message : known) {
            EXPECT_TRUE(wanted.contains(message.key()))
                << qPrintable(name) << " still has \"" << qPrintable(message.key())
                << "\", which no source says; run scripts/update-translations";
        }
    }
}

} // namespace
} // namespace zel::test
