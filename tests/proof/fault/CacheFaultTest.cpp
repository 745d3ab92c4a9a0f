#include "CacheOperations.h"

#include "support/TestReference.h"

#include <QFileInfo>

#include <gtest/gtest.h>

using namespace zel;
using namespace zel::test;
using namespace Qt::Literals::StringLiterals;

namespace {

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
        registerTestSchemes(QVersionNumber(2, 5));
    }

    FaultLoop loop { GetParam() };
};

} // namespace

TEST_P(CacheFaultTest, openingAndClosing)
{
    loop.prove(openingOperations());
}

TEST_P(CacheFaultTest, rows)
{
    loop.prove(rowOperations());
}

TEST_P(CacheFaultTest, useAndRemoval)
{
    loop.prove(removalOperations());
}

TEST_P(CacheFaultTest, fetches)
{
    loop.prove(fetchOperations());
}

TEST_P(CacheFaultTest, handlers)
{
    loop.prove(handlerOperations());
}

TEST_P(CacheFaultTest, databaseAccess)
{
    loop.prove(daoOperations());
}

TEST_P(CacheFaultTest, readers)
{
    loop.prove(readerOperations());
}

INSTANTIATE_TEST_SUITE_P(Of, CacheFaultTest,
                         testing::Values(FaultPlace::Statements, FaultPlace::FileSteps),
                         [](const auto &place) {
                             return place.param == FaultPlace::Statements ? "statements"
                                                                          : "fileSteps";
                         });
