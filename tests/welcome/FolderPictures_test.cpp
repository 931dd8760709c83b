// SPDX-License-Identifier: GPL-3.0-or-later
// Which pictures speak for a folder.
#include "platform/PathRules.h"
#include "support/ByteFolder.h"
#include "welcome/FolderPictures.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorvane {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct FolderPictures : testing::Test {
    /// Relative to the folder. Empty, too, where it is gone.
    std::vector<QByteArray> found() const
    {
        std::vector<QByteArray> names;
        const auto urls = firstPicturesOf(files.path());
        if (!urls)
            return names;
        for (const FileURL& url : *urls)
            names.push_back(url.path().mid(files.path().size() + 1));
        return names;
    }

    tests::ByteFolder files;
};

TEST_F(FolderPictures, ComeByNameWithNumbersByTheirValue)
{
    for (const char* name : { "b10.jpg", "B2.png", "a.gif", "b1.webp" })
        files.file(name);

    EXPECT_THAT(found(), ElementsAre("a.gif", "b1.webp", "B2.png", "b10.jpg"));
}

TEST_F(FolderPictures, AreStillPicturesThatAreNotHidden)
{
    files.file("a.txt");
    files.file("b.mp4");
    files.file(".c.jpg");
    files.file("d.jpg/inside.txt");
    files.pipe("e.jpg");
    files.link("nowhere.jpg", "f.jpg");
    files.file("g.jpg");

    EXPECT_THAT(found(), ElementsAre("g.jpg"));
}

TEST_F(FolderPictures, MayBeLinks)
{
    files.file("elsewhere/there.jpg");
    files.link(files.path("elsewhere/there.jpg"), "here.jpg");

    EXPECT_THAT(found(), ElementsAre("here.jpg"));
}

TEST_F(FolderPictures, KeepNamesThatAreNoText)
{
    files.file("Bj\xF6rn\n.jpg");

    EXPECT_THAT(found(), ElementsAre("Bj\xF6rn\n.jpg"));
}

TEST_F(FolderPictures, AreTwelveAtMost)
{
    for (int i = 1; i <= 14; ++i)
        files.file(QByteArray::number(i) + ".jpg");

    const auto names = found();

    ASSERT_EQ(names.size(), 12U);
    EXPECT_EQ(names.back(), "12.jpg");
}

TEST_F(FolderPictures, AreThoseOfTheFolderItself)
{
    files.file("a/0.jpg");
    files.file("z.jpg");

    EXPECT_THAT(found(), ElementsAre("z.jpg"));
}

TEST_F(FolderPictures, AreThoseOneLevelBelowWhereTheFolderHasNone)
{
    files.file("text.txt");
    files.file("b/1.jpg");
    files.file("a10/3.jpg");
    files.file("a2/4.jpg");
    files.file("a2/2.jpg");
    files.file(".hidden/0.jpg");

    EXPECT_THAT(found(), ElementsAre("a2/2.jpg", "a2/4.jpg", "a10/3.jpg", "b/1.jpg"));
}

TEST_F(FolderPictures, AreTwelveAtMostAlsoBelow)
{
    for (int i = 1; i <= 8; ++i) {
        files.file("a/" + QByteArray::number(i) + ".jpg");
        files.file("b/" + QByteArray::number(i) + ".jpg");
    }

    const auto names = found();

    ASSERT_EQ(names.size(), 12U);
    EXPECT_EQ(names.back(), "b/4.jpg");
}

TEST_F(FolderPictures, NeverLieDeeper)
{
    files.file("a/b/1.jpg");

    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(FolderPictures, AreNotLookedForBeyondTwoThousandEntries)
{
    // Two sub-folders, what is in the first, and the picture: 2000.
    for (int i = 0; i < 1997; ++i)
        files.file("a/" + QByteArray::number(i) + ".txt");
    files.file("b/1.jpg");
    ASSERT_THAT(found(), ElementsAre("b/1.jpg"));

    files.file("a/one more.txt");

    EXPECT_THAT(found(), IsEmpty());
}

TEST_F(FolderPictures, MayBeNone)
{
    const auto none = firstPicturesOf(files.path());

    ASSERT_TRUE(none.has_value());
    EXPECT_THAT(*none, IsEmpty());
}

TEST_F(FolderPictures, AreNothingOfAFolderThatIsGone)
{
    EXPECT_FALSE(firstPicturesOf(files.path("gone")));
    EXPECT_FALSE(firstPicturesOf(files.file("file.jpg")));
    EXPECT_FALSE(firstPicturesOf(files.link("nowhere", "broken")));
}

TEST_F(FolderPictures, AreFoundThroughALinkToTheFolder)
{
    files.file("album/1.jpg");
    const QByteArray link = files.link(files.path("album"), "link");

    const auto urls = firstPicturesOf(link);

    ASSERT_TRUE(urls.has_value());
    EXPECT_THAT(*urls, ElementsAre(FileURL(joinPath(link, "1.jpg"))));
}

} // namespace

} // namespace quorvane
