// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/DecoderProgram.h"
#include "platform/MovieAvailability.h"
#include "platform/MoviePlayer.h"
#include "support/ByteFolder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

namespace quorvane {
namespace {

struct MovieAvailability : testing::Test {
    /// A player that writes that it was asked, and answers so.
    QByteArray program(int answer) const
    {
        folder.file("player",
            "#!/bin/sh\necho \"$1\" >> " + folder.path("asked") + "\nexit "
                + QByteArray::number(answer) + '\n');
        chmod(folder.path("player").constData(), 0700);
        return folder.path("player");
    }

    QByteArray library() const
    {
        folder.file("library", "");
        return folder.path("library");
    }

    bool wasAsked() const { return access(folder.path("asked").constData(), F_OK) == 0; }

    tests::ByteFolder folder;
};

TEST_F(MovieAvailability, NeedsTheProgramAndItsLibraryOnly)
{
    EXPECT_EQ(reasonAgainstMovies(program(1), library()), std::nullopt);

    EXPECT_FALSE(wasAsked());
}

TEST_F(MovieAvailability, AsksTheProgramWhenTheLibraryIsElsewhere)
{
    EXPECT_EQ(reasonAgainstMovies(program(0), folder.path("nowhere")), std::nullopt);

    EXPECT_TRUE(wasAsked());
}

TEST_F(MovieAvailability, IsNotThereWhenTheProgramSaysSo)
{
    const auto reason = reasonAgainstMovies(program(1), folder.path("nowhere"));

    ASSERT_TRUE(reason);
    EXPECT_TRUE(reason->contains(QStringLiteral("library"))) << reason->toStdString();
}

TEST_F(MovieAvailability, IsNotThereWithoutTheProgram)
{
    const auto reason = reasonAgainstMovies(folder.path("none"), library());

    ASSERT_TRUE(reason);
    EXPECT_TRUE(reason->contains(QStringLiteral("/none: No such file"))) << reason->toStdString();
}

TEST_F(MovieAvailability, IsNotThereWithAProgramThatCannotBeRun)
{
    folder.file("player", "");
    chmod(folder.path("player").constData(), 0700);

    EXPECT_TRUE(reasonAgainstMovies(folder.path("player"), folder.path("nowhere")));
}

TEST_F(MovieAvailability, IsThereWithTheRealProgram)
{
    EXPECT_EQ(reasonAgainstMovies(playerProgram(), folder.path("nowhere")), std::nullopt);
    EXPECT_TRUE(MoviePlayer::isAvailable());
}

} // namespace
} // namespace quorvane
