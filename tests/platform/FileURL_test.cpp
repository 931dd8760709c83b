// SPDX-License-Identifier: GPL-3.0-or-later
// Files told apart by the bytes of their paths.
#include "platform/FileURL.h"

#include <QSet>

#include <gtest/gtest.h>

#include <string>
#include <unordered_set>

namespace quorvane {

namespace {

/// A path of every byte that a name may hold.
QByteArray everyByte()
{
    QByteArray path("/");
    for (int byte = 1; byte < 256; ++byte)
        path += static_cast<char>(byte);
    return path;
}

TEST(FileURL, NamesNothingByDefault)
{
    const FileURL url;

    EXPECT_TRUE(url.isEmpty());
    EXPECT_TRUE(url.path().isEmpty());
    EXPECT_TRUE(url.encoded().isEmpty());
    EXPECT_TRUE(url.toUrl().isEmpty());
    EXPECT_TRUE(url.parameterString().isNull());
}

TEST(FileURL, KeepsThePathByteForByte)
{
    for (const QByteArray& path : { everyByte(), QByteArray("/a//b/./c/../d/"), QByteArray("/") }) {
        const FileURL url(path);

        EXPECT_EQ(url.path(), path);
        EXPECT_FALSE(url.isEmpty());
        EXPECT_TRUE(url.parameterString().isNull());
    }
}

TEST(FileURL, TakesNoTwoSpellingsForTheSameFile)
{
    const FileURL url("/a/b");

    EXPECT_EQ(url, FileURL("/a/b"));
    for (const char* other : { "/a/./b", "/a//b", "/a/b/", "/A/b", "/a/c/../b", "/a/b\xCC\x81" })
        EXPECT_FALSE(url == FileURL(other)) << other;
}

TEST(FileURL, DistinguishesComposedFromDecomposedLetters)
{
    EXPECT_FALSE(FileURL("/caf\xC3\xA9") == FileURL("/cafe\xCC\x81"));
}

TEST(FileURL, DistinguishesParameters)
{
    EXPECT_EQ(FileURL("/a", "x"), FileURL("/a", "x"));
    EXPECT_FALSE(FileURL("/a", "x") == FileURL("/a", "y"));
    EXPECT_FALSE(FileURL("/a", "x") == FileURL("/a"));
}

TEST(FileURL, DistinguishesAnEmptyParameterFromNone)
{
    EXPECT_FALSE(FileURL("/a", "") == FileURL("/a"));
    EXPECT_FALSE(FileURL("/a") == FileURL("/a", ""));
}

TEST(FileURL, EscapesAllButUnreservedCharactersAndSlashes)
{
    EXPECT_EQ(FileURL("/a b/\xFF\n%;?#+&.jpg").encoded(),
        QByteArray("file:///a%20b/%FF%0A%25%3B%3F%23%2B%26.jpg"));
    EXPECT_EQ(FileURL("/aZ09-._~").encoded(), QByteArray("file:///aZ09-._~"));
}

TEST(FileURL, PutsTheParameterBehindASemicolon)
{
    EXPECT_EQ(FileURL("/a.jpg", "page 2;/").encoded(), QByteArray("file:///a.jpg;page%202%3B%2F"));
    EXPECT_EQ(FileURL("/a.jpg", "").encoded(), QByteArray("file:///a.jpg;"));
}

TEST(FileURL, ReadsBackWhatItEncoded)
{
    for (const FileURL& url : { FileURL(everyByte()), FileURL("/a;b"), FileURL("/a;b", "c;d/e"),
             FileURL("/a", ""), FileURL("/dir;x/a"), FileURL("/") })
        EXPECT_EQ(FileURL::fromEncoded(url.encoded()), url) << url.encoded().constData();
}

TEST(FileURL, ReadsAnAddress)
{
    const FileURL url = FileURL::fromEncoded("file:///a%20b/c.jpg;x%79");

    EXPECT_EQ(url.path(), QByteArray("/a b/c.jpg"));
    EXPECT_EQ(url.parameterString(), QByteArray("xy"));
}

TEST(FileURL, SeparatesTheParameterInTheLastSegmentOnly)
{
    const FileURL inFolder = FileURL::fromEncoded("file:///a;b/c");
    const FileURL inBoth = FileURL::fromEncoded("file:///a;b/c;d;e");

    EXPECT_EQ(inFolder.path(), QByteArray("/a;b/c"));
    EXPECT_TRUE(inFolder.parameterString().isNull());
    EXPECT_EQ(inBoth.path(), QByteArray("/a;b/c"));
    EXPECT_EQ(inBoth.parameterString(), QByteArray("d;e"));
}

TEST(FileURL, KeepsAnEmptyParameter)
{
    const FileURL url = FileURL::fromEncoded("file:///a;");

    EXPECT_EQ(url.path(), QByteArray("/a"));
    EXPECT_FALSE(url.parameterString().isNull());
    EXPECT_TRUE(url.parameterString().isEmpty());
}

TEST(FileURL, KnowsThisMachineByName)
{
    EXPECT_EQ(FileURL::fromEncoded("file://localhost/a"), FileURL("/a"));
}

TEST(FileURL, IsEmptyForWhatIsNoFileOfThisMachine)
{
    for (const char* address : { "", "/a", "a", "http://example.org/a", "file://example.org/a",
             "file:a", "file://", "file://localhost", "file:/a", "xfile:///a" })
        EXPECT_TRUE(FileURL::fromEncoded(address).isEmpty()) << address;
}

TEST(FileURL, ShowsPeopleReplacementCharacters)
{
    EXPECT_EQ(FileURL("/caf\xC3\xA9").displayPath(), QStringLiteral("/caf\u00E9"));
    EXPECT_EQ(FileURL("/a\xFF"
                      "b")
                  .displayPath(),
        QStringLiteral("/a\uFFFDb"));
}

TEST(FileURL, LosesNothingInQt)
{
    for (const FileURL& url : { FileURL(everyByte()), FileURL("/%41;%2F"), FileURL("/[x]{y}") }) {
        const QUrl address = url.toUrl();

        EXPECT_TRUE(address.isValid());
        EXPECT_TRUE(address.isLocalFile());
        EXPECT_EQ(FileURL::fromEncoded(address.toEncoded()), url) << url.encoded().constData();
    }
}

TEST(FileURL, WorksAsAKey)
{
    const QSet<FileURL> ofQt { FileURL("/a"), FileURL("/a"), FileURL("/a", ""), FileURL("/b") };
    const std::unordered_set<FileURL> ofTheLanguage { FileURL("/a"), FileURL("/a"),
        FileURL("/a", "x"), FileURL("/b") };

    EXPECT_EQ(ofQt.size(), 3);
    EXPECT_EQ(ofTheLanguage.size(), 3U);
    EXPECT_TRUE(ofTheLanguage.contains(FileURL("/a", "x")));
    EXPECT_FALSE(ofTheLanguage.contains(FileURL("/a", "y")));
}

TEST(FileURL, SpreadsItsHashes)
{
    EXPECT_EQ(qHash(FileURL("/a", "x"), 7), qHash(FileURL("/a", "x"), 7));
    EXPECT_NE(qHash(FileURL("/a"), 7), qHash(FileURL("/b"), 7));
    EXPECT_NE(qHash(FileURL("/a", "x"), 7), qHash(FileURL("/a", "y"), 7));
}

} // namespace

} // namespace quorvane
