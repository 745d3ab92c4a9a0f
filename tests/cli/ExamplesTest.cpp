#include "ProgramRun.h"
#include "TemporaryCache.h"

using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

/// Runs an example as a user with an empty home folder does.
class ExamplesTest : public testing::Test
{
protected:
    ~ExamplesTest() override
    {
        removeSystemSemaphore(TemporaryCache::semaphoreKey(data() + u"/ResourceCache"_s));
    }
    QString data() const { return home.filePath(u"data"_s); }
    std::unique_ptr<ProgramRun> run(const QStringList &arguments) const
    {
        ProgramRun::Options options;
        options.environment = { u"HOME="_s + home.path(), u"XDG_DATA_HOME="_s + data(),
                                u"XDG_CONFIG_HOME="_s + home.filePath(u"config"_s) };
        return std::make_unique<ProgramRun>(QStringLiteral(SMALLEST_HOST), arguments, options);
    }

    QTemporaryDir home;
};

} // namespace

TEST_F(ExamplesTest, smallestHost_shareReference_printsThePathOfACopy)
{
    const QString source = home.filePath(u"run.mzML"_s);
    writeFile(source, "spectra");
    const auto host = run({ u"share:"_s + source });
    ASSERT_EQ(host->exitCode(), 0) << host->errors().toStdString();
    const QString path = QString::fromUtf8(host->output()).trimmed();
    EXPECT_TRUE(path.startsWith(data() + u"/ResourceCache/Cache/share/"_s)) << qPrintable(path);
    EXPECT_EQ(readFile(path), "spectra");
}

TEST_F(ExamplesTest, smallestHost_nothingThere_saysSo)
{
    const auto host = run({ u"share:"_s + home.filePath(u"missing.mzML"_s) });
    EXPECT_EQ(host->exitCode(), 1);
    EXPECT_TRUE(host->output().isEmpty());
    EXPECT_TRUE(host->errors().contains("missing.mzML"));
}

TEST_F(ExamplesTest, smallestHost_unknownScheme_isToldApart)
{
    const auto host = run({ u"nonsense:x"_s });
    EXPECT_EQ(host->exitCode(), 2);
    EXPECT_TRUE(host->errors().contains("nonsense"));
}
