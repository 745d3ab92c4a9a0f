#include "dav/DavCollection.h"

#include <gtest/gtest.h>

namespace zel {
namespace {

using namespace Qt::Literals::StringLiterals;

DavCollection collection(const QByteArray &url)
{
    return DavCollection::at(HttpUrl::parse(url).value()).value();
}

QString nameIn(const QByteArray &url, const QString &href)
{
    const Result<QString> name = collection(url).memberName(href);
    EXPECT_TRUE(name.hasValue()) << name.error().description().toStdString();
    return name.hasValue() ? name.value() : u"-"_s;
}

QByteArray urlOf(const Result<HttpUrl> &url)
{
    return url.hasValue() ? url.value().text() : QByteArray();
}

} // namespace

TEST(DavCollectionTest, memberName_allSpellings_areOneName)
{
    for (const char *const url : { "http://h:8080/data/run.d/", "http://h:8080/data/run.d",
                                   "http://h:8080//data/run%2Ed/" }) {
        for (const QString &href :
             { u"/data/run.d/a%20b"_s, u"/data/run.d/a%20b/"_s, u"http://h:8080/data/run.d/a b"_s,
               u"HTTPS://H/data/run%2ed/a%20b"_s, u"//h/data/run.d/a%20b"_s,
               u"/data//run.d/./a%20b"_s, u"a%20b"_s, u"./a%20b/"_s }) {
            EXPECT_EQ(nameIn(url, href), u"a b"_s) << href.toStdString();
        }
    }
}

TEST(DavCollectionTest, memberName_oddCharacters_areDecodedOnce)
{
    EXPECT_EQ(nameIn("http://h/d", u"/d/%23%25%2B+%C3%BC%3F%26%3B"_s), u"#%++ü?&;"_s);
    EXPECT_EQ(nameIn("http://h/d", u"/d/100%2525"_s), u"100%25"_s);
    EXPECT_EQ(nameIn("http://h/d", u"/d/ü"_s), u"ü"_s);
    EXPECT_EQ(nameIn("http://h/d", u"/d/..."_s), u"..."_s);
    EXPECT_EQ(nameIn("http://h/d", u"/d/a:b"_s), u"a:b"_s);
}

TEST(DavCollectionTest, memberName_itself_isEmpty)
{
    for (const QString &href : { u"/d/e"_s, u"/d/e/"_s, u"http://h/d/e"_s, u"./"_s, u"/d/%65"_s })
        EXPECT_EQ(nameIn("http://h/d/e", href), QString()) << href.toStdString();
    EXPECT_EQ(nameIn("http://h/", u"/"_s), QString());
    EXPECT_EQ(nameIn("http://h", u"/a"_s), u"a"_s);
    EXPECT_EQ(nameIn("http://[::1]:80/", u"http://[::1]/a"_s), u"a"_s);
}

TEST(DavCollectionTest, memberName_elsewhere_isRefused)
{
    for (const QString &href : { u"/d/a"_s,
                                 u"/d"_s,
                                 u"/"_s,
                                 u"/d/e/a/b"_s,
                                 u"/d/ee"_s,
                                 u"/d/e2/a"_s,
                                 u"http://other/d/e/a"_s,
                                 u"http://h.other/d/e/a"_s,
                                 u"http://h@other/d/e/a"_s,
                                 u"//other/d/e/a"_s,
                                 u"ftp://h/d/e/a"_s,
                                 u"file:///d/e/a"_s,
                                 u"http:/d/e/a"_s,
                                 u"javascript:a"_s,
                                 u"/d/e/../a"_s,
                                 u"/d/e/.."_s,
                                 u"/d/e/%2e%2E"_s,
                                 u"../e/a"_s,
                                 u".."_s,
                                 u"/d/e/a%2Fb"_s,
                                 u"/d/e/..%2fa"_s,
                                 u"/d/e/%2F"_s,
                                 u"/d/e/a%00"_s,
                                 u"/d/e/a%0A"_s,
                                 u"/d/e/%1B[2J"_s,
                                 u"/d/e/a%FF"_s,
                                 u"/d/e/%ED%A0%80"_s,
                                 u"/d/e/%"_s,
                                 u"/d/e/%4"_s,
                                 u"/d/e/%zz"_s,
                                 u"/d/e/a?b"_s,
                                 u"/d/e/a#b"_s,
                                 u"http://"_s,
                                 u"http:///d/e/a"_s }) {
        const Result<QString> name = collection("http://h/d/e/").memberName(href);
        ASSERT_FALSE(name.hasValue()) << href.toStdString() << " is " << name.value().toStdString();
        EXPECT_EQ(name.error().errorCode(), ErrorCode::BadData);
    }
}

TEST(DavCollectionTest, memberName_refusal_hidesSecretsAndControlCharacters)
{
    const Result<QString> name
        = collection("http://h/d;token=geheim/").memberName(u"/x\u001B[2J\u202E;token=geheim/y"_s);
    ASSERT_FALSE(name.hasValue());
    EXPECT_FALSE(name.error().errorMessage().contains(u"geheim"_s));
    EXPECT_FALSE(name.error().errorMessage().contains(u'\u001B'));
    EXPECT_TRUE(name.error().errorMessage().startsWith(u"the server lists \"/x"_s));
}

TEST(DavCollectionTest, member_anyName_liesBelowTheCollection)
{
    const DavCollection folder = collection("https://h:8443/my%20data");
    EXPECT_EQ(urlOf(folder.folder()), "https://h:8443/my%20data/");
    EXPECT_EQ(urlOf(folder.member(u"a b#ü%+?"_s, false)),
              "https://h:8443/my%20data/a%20b%23%C3%BC%25+%3F");
    EXPECT_EQ(urlOf(folder.member(u"sub"_s, true)), "https://h:8443/my%20data/sub/");
    EXPECT_EQ(urlOf(folder.member(u"..."_s, true)), "https://h:8443/my%20data/.../");
}

TEST(DavCollectionTest, parent_endsAtTheRoot)
{
    const DavCollection folder = collection("http://h/a/b/");
    EXPECT_EQ(urlOf(folder.parent().folder()), "http://h/a/");
    EXPECT_EQ(urlOf(folder.parent().parent().parent().folder()), "http://h/");
}

} // namespace zel
