#include "hold/ProgramLine.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

TEST(ProgramLineTest, withPaths_mark_isRepeatedForEachPath)
{
    const QStringList paths { u"/a b"_s, u"/c"_s };
    EXPECT_EQ(withPaths({ u"tool"_s, u"-x"_s, u"{}"_s, u"--in={}"_s, u"y"_s }, paths),
              (QStringList { u"tool"_s, u"-x"_s, u"/a b"_s, u"/c"_s, u"--in=/a b"_s, u"--in=/c"_s,
                             u"y"_s }));
}

TEST(ProgramLineTest, withPaths_severalMarksInOne_getTheSamePath)
{
    EXPECT_EQ(withPaths({ u"tool"_s, u"{}:{}"_s }, { u"/a"_s, u"/b"_s }),
              (QStringList { u"tool"_s, u"/a:/a"_s, u"/b:/b"_s }));
}

TEST(ProgramLineTest, withPaths_pathWithAMark_staysWhole)
{
    EXPECT_EQ(withPaths({ u"tool"_s, u"{}"_s }, { u"/a{}"_s }),
              (QStringList { u"tool"_s, u"/a{}"_s }));
}

TEST(ProgramLineTest, withPaths_noMarkOrInTheName_changesNothing)
{
    EXPECT_EQ(withPaths({ u"{}"_s, u"x"_s, u""_s }, { u"/a"_s }),
              (QStringList { u"{}"_s, u"x"_s, u""_s }));
    EXPECT_TRUE(withPaths({}, { u"/a"_s }).isEmpty());
}

TEST(ProgramLineTest, pathsVariable_paths_areLines)
{
    EXPECT_EQ(pathsVariable({ u"/a b"_s, u"/c"_s }), u"/a b\n/c"_s);
}

} // namespace zel::cli
