#include "output/LabeledLines.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

TEST(LabeledLinesTest, shortLabels_valuesStandInOneColumnOfAllReports)
{
    EXPECT_EQ(labeledLines({ { u"Size"_s, u"1 B"_s }, { u"Free on disk"_s, u"2 B"_s } }),
              (QStringList { u"Size:         1 B"_s, u"Free on disk: 2 B"_s }));
}

TEST(LabeledLinesTest, wideLabel_movesTheValuesToTheRight)
{
    EXPECT_EQ(labeledLines({ { u"Size"_s, u"1 B"_s }, { u"Free for new data"_s, u"2 B"_s } }),
              (QStringList { u"Size:              1 B"_s, u"Free for new data: 2 B"_s }));
}

TEST(LabeledLinesTest, nothing_hasNoLines)
{
    EXPECT_EQ(labeledLines({}), QStringList());
}

} // namespace zel::cli
