#include "values/StringifierState.h"

using namespace zel;
using namespace Qt::Literals::StringLiterals;

TEST(StringifierStateTest, writerTo_default_addsNeitherSpacesNorQuotes)
{
    QString text;
    StringifierState().writerTo(&text) << '[' << u"a \"b\""_s << 7 << ']';
    EXPECT_EQ(text, u"[a \"b\"7]"_s);
}

TEST(StringifierStateTest, writerTo_switchesSet_addsBoth)
{
    StringifierState state;
    state.insertsSpaces = true;
    state.quotesStrings = true;
    QString text;
    state.writerTo(&text) << u"a"_s << 7;
    EXPECT_EQ(text.trimmed(), u"\"a\" 7"_s);
}
