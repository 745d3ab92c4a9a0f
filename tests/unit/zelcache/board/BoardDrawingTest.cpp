#include "board/BoardDrawing.h"

#include "Printers.h"

#include <gtest/gtest.h>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

TEST(BoardDrawingTest, change_firstLines_writesEachInItsPlace)
{
    EXPECT_EQ(drawing::change({}, { u"a"_s, u"b"_s }), "\x1b[1;1Ha\x1b[K\x1b[2;1Hb\x1b[K");
}

TEST(BoardDrawingTest, change_sameLines_writesNothing)
{
    EXPECT_EQ(drawing::change({ u"a"_s, QString() }, { u"a"_s, QString() }), "");
    EXPECT_EQ(drawing::change({}, {}), "");
}

TEST(BoardDrawingTest, change_oneLineDiffers_writesItAlone)
{
    EXPECT_EQ(drawing::change({ u"a"_s, u"b"_s, u"c"_s }, { u"a"_s, u"x"_s, u"c"_s }),
              "\x1b[2;1Hx\x1b[K");
}

TEST(BoardDrawingTest, change_fewerLines_erasesTheRest)
{
    EXPECT_EQ(drawing::change({ u"a"_s, u"b"_s, u"c"_s }, { u"a"_s }),
              "\x1b[2;1H\x1b[K\x1b[3;1H\x1b[K");
}

TEST(BoardDrawingTest, change_manyLines_neverScrolls)
{
    QStringList lines;
    for (int i = 0; i < 100; ++i)
        lines.append(u"line"_s);
    EXPECT_FALSE(drawing::change({}, lines).contains('\n'));
}

TEST(BoardDrawingTest, leaving_undoesEntering)
{
    EXPECT_TRUE(drawing::entering().startsWith("\x1b[?1049h\x1b[?25l"));
    EXPECT_EQ(drawing::leaving(), "\x1b[?25h\x1b[?1049l");
}

} // namespace zel::cli
