#include "CacheDatabase.h"
#include "ExampleHome.h"
#include "WaitUntil.h"

#include <QFileInfo>

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class ViewerProgramTest : public ExampleHome
{
protected:
    ViewerProgramTest() { qputenv("QT_QPA_PLATFORM", "offscreen"); }

    /// How many rows of the database fit, once there is one.
    int count(const QString &reference) const
    {
        if (!QFileInfo::exists(databasePath()))
            return 0;
        CacheDatabase database(databasePath());
        const auto tables = database.column(u"SELECT name FROM sqlite_master"_s);
        if (!tables.contains(u"CachedResources"_s))
            return 0;
        return database
            .value(u"SELECT COUNT(*) FROM CachedResources WHERE reference = ?"_s, { reference })
            .toInt();
    }
};

} // namespace

TEST_F(ViewerProgramTest, run_references_listsThemAndUsesTheCache)
{
    const QString first = u"share:"_s + path(u"first.mzML"_s);
    const QString second = u"share:"_s + path(u"second.mzML"_s);
    const auto viewer = run(QStringLiteral(VIEWER), { first, second });
    EXPECT_TRUE(waitUntil([&] { return count(first) == 1 && count(second) == 1; }))
        << viewer->errors().toStdString();
}
