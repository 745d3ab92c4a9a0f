#include "output/Json.h"

#include "Printers.h"

#include <gtest/gtest.h>

#include <QJsonDocument>

namespace zel::cli {

using namespace Qt::Literals::StringLiterals;

TEST(JsonTest, answer_anyCommand_saysSchemaAndCommand)
{
    EXPECT_EQ(json::text(json::answer(u"get"_s)), u"{\"command\":\"get\",\"schema\":1}"_s);
}

TEST(JsonTest, entry_ofAPath_hasReferenceAndPath)
{
    EXPECT_EQ(json::text(json::entry(u"http://a/b"_s, u"/c/b"_s)),
              u"{\"path\":\"/c/b\",\"reference\":\"http://a/b\"}"_s);
}

TEST(JsonTest, entry_ofAFailure_hasCodeAndMessageAndNoPath)
{
    EXPECT_EQ(json::text(json::entry(u"http://a/b"_s, Error(6, u"wrong checksum"_s))),
              u"{\"error\":{\"code\":6,\"message\":\"wrong checksum\"},"
              "\"reference\":\"http://a/b\"}"_s);
}

TEST(JsonTest, text_controlCharacters_areEscapedAndReadBackUnchanged)
{
    const QString name = u"a\x1b\u009b\u202e\n\U000E0041.raw"_s;
    const QString line = json::text(json::entry(name, name));
    EXPECT_FALSE(line.contains(u'\n'));
    EXPECT_FALSE(line.contains(u'\x1b'));
    EXPECT_FALSE(line.contains(QChar(0x9b)));
    EXPECT_FALSE(line.contains(QChar(0x202e)));
    EXPECT_EQ(QJsonDocument::fromJson(line.toUtf8()).object().value(u"path"_s).toString(), name);
}

} // namespace zel::cli
