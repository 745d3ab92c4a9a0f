#include "CacheOperations.h"

#include "references/ResourceReference.h"

#include <QFileInfo>

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

class TestReference : public ResourceReference
{
public:
    explicit TestReference(const QString &text)
        : ResourceReference(Host1)
        , m_text(text)
    {
    }
    QString referenceText(bool) const override { return m_text; }

private:
    QString m_text;
};

/// Whatever statement or step on files fails, the cache keeps what it promises.
class CacheFaultTest : public testing::TestWithParam<FaultPlace>
{
protected:
    void SetUp() override
    {
        // In memory: nothing here is about what survives a power cut, and syncs take most of the
        // time.
        if (QFileInfo(u"/dev/shm"_s).isWritable())
            qputenv("TMPDIR", "/dev/shm");
        const Error error = ResourceReference::registerScheme(
            { ResourceReference::Host1,
              { u"test"_s },
              u"test"_s,
              QVersionNumber(2, 5),
              [](const QString &text) -> Result<QSharedPointer<ResourceReference>> {
                  return QSharedPointer<ResourceReference>(new TestReference(text));
              } });
        ASSERT_FALSE(error.hasError());
    }
    void TearDown() override { ResourceReference::unregisterScheme(ResourceReference::Host1); }

    FaultLoop m_loop { GetParam() };
};

} // namespace

TEST_P(CacheFaultTest, openingAndClosing)
{
    m_loop.prove(openingOperations());
}

TEST_P(CacheFaultTest, rows)
{
    m_loop.prove(rowOperations());
}

TEST_P(CacheFaultTest, useAndRemoval)
{
    m_loop.prove(removalOperations());
}

TEST_P(CacheFaultTest, fetches)
{
    m_loop.prove(fetchOperations());
}

TEST_P(CacheFaultTest, databaseAccess)
{
    m_loop.prove(daoOperations());
}

TEST_P(CacheFaultTest, readers)
{
    m_loop.prove(readerOperations());
}

INSTANTIATE_TEST_SUITE_P(Of, CacheFaultTest,
                         testing::Values(FaultPlace::Statements, FaultPlace::FileSteps),
                         [](const auto &place) {
                             return place.param == FaultPlace::Statements ? "statements"
                                                                          : "fileSteps";
                         });
