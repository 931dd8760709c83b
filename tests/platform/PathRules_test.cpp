// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/PathRules.h"

#include <gtest/gtest.h>

#include <ostream>

namespace quorvane {
namespace {

struct Extension {
    QByteArray path;
    QByteArray extension;
    QByteArray without;
};

void PrintTo(const Extension& row, std::ostream* out) { *out << row.path.toStdString(); }

class PathExtension : public testing::TestWithParam<Extension> { };

TEST_P(PathExtension, IsWhatStandsBehindTheLastDot)
{
    const Extension& row = GetParam();

    EXPECT_EQ(pathExtension(row.path).toByteArray(), row.extension);
    EXPECT_EQ(deletingPathExtension(row.path), row.without);
}

INSTANTIATE_TEST_SUITE_P(Names, PathExtension,
    testing::Values(Extension { "a.jpg", "jpg", "a" }, Extension { ".jpg", "", ".jpg" },
        Extension { ".name.txt", "txt", ".name" }, Extension { "a.", "", "a." },
        Extension { "a..", "", "a.." }, Extension { "a.tar.gz", "gz", "a.tar" },
        Extension { "scratch..tiff", "tiff", "scratch." }, Extension { "....txt", "txt", "..." },
        Extension { "...txt", "", "...txt" }, Extension { "..txt", "", "..txt" },
        Extension { "photo 1.5 x", "", "photo 1.5 x" }, Extension { "Mr. Smith", "", "Mr. Smith" },
        Extension { "two words.jpg", "jpg", "two words" }, Extension { "a.JPG", "JPG", "a" },
        Extension { "a", "", "a" }, Extension { "", "", "" }, Extension { ".", "", "." },
        Extension { "..", "", ".." }, Extension { "\xFF.\xFE", "\xFE", "\xFF" }));

INSTANTIATE_TEST_SUITE_P(Paths, PathExtension,
    testing::Values(Extension { "/tmp/", "", "/tmp" }, Extension { "/", "", "/" },
        Extension { "//", "", "/" }, Extension { "/a.b/c", "", "/a.b/c" },
        Extension { "/a.b/.jpg", "", "/a.b/.jpg" }, Extension { "/a/b.jpg//", "jpg", "/a/b" },
        Extension { "/a/b.jpg", "jpg", "/a/b" }));

INSTANTIATE_TEST_SUITE_P(WritingDirection, PathExtension,
    testing::Values(Extension { "a.\u061Cjpg", "", "a.\u061Cjpg" },
        Extension { "a.j\u200Epg", "", "a.j\u200Epg" }, Extension { "a.\u200Fb", "", "a.\u200Fb" },
        Extension { "a.gpj\u202A", "", "a.gpj\u202A" }, Extension { "a.\u202E", "", "a.\u202E" },
        Extension { "a.x\u2066", "", "a.x\u2066" }, Extension { "a.x\u2069", "", "a.x\u2069" },
        Extension { "a.x\u2065", "x\u2065", "a" }, Extension { "a.x\u200D", "x\u200D", "a" },
        Extension { "rtl-\u202Egpj.exe.jpg", "jpg", "rtl-\u202Egpj.exe" }));

TEST(LastPathComponent, IsWhatStandsBehindTheLastSlash)
{
    EXPECT_EQ(lastPathComponent("/a/b"), QByteArrayView("b"));
    EXPECT_EQ(lastPathComponent("/a/b/"), QByteArrayView("b"));
    EXPECT_EQ(lastPathComponent("/a/b//"), QByteArrayView("b"));
    EXPECT_EQ(lastPathComponent("b"), QByteArrayView("b"));
    EXPECT_EQ(lastPathComponent("/b"), QByteArrayView("b"));
    EXPECT_EQ(lastPathComponent("a//b"), QByteArrayView("b"));
}

TEST(LastPathComponent, OfTheRootIsTheRoot)
{
    EXPECT_EQ(lastPathComponent("/"), QByteArrayView("/"));
    EXPECT_EQ(lastPathComponent("//"), QByteArrayView("/"));
    EXPECT_EQ(lastPathComponent(""), QByteArrayView(""));
}

TEST(JoinPath, PutsOneSlashBetween)
{
    EXPECT_EQ(joinPath("/a", "b/c.jpg"), "/a/b/c.jpg");
    EXPECT_EQ(joinPath("/a/", "b"), "/a/b");
    EXPECT_EQ(joinPath("/a", "/b"), "/a/b");
    EXPECT_EQ(joinPath("/a/", "//b"), "/a/b");
    EXPECT_EQ(joinPath("/", "b"), "/b");
}

TEST(JoinPath, TidiesNothingElse)
{
    EXPECT_EQ(joinPath("/a/./x//y", "../\xFF"), "/a/./x//y/../\xFF");
    EXPECT_EQ(joinPath("/a/", ""), "/a/");
    EXPECT_EQ(joinPath("", "b"), "b");
}

} // namespace
} // namespace quorvane
