// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/TypeIdentifier.h"
#include "platform/TypeTable.h"

#include <QFile>
#include <QSet>
#include <QTemporaryDir>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace quorvane {
namespace {

using Decoders = TypeIdentifier::DecodersForTesting;

/// The beginning of a JPEG file, as far as its signature goes.
const QByteArray kJpegHead(
    "\xFF\xD8\xFF\xE0\x00\x10JFIF\x00\x01\x01\x00\x00\x01\x00\x01\x00\x00", 20);

std::string nameType(const QByteArray& name)
{
    return TypeIdentifier::typeIdentifierForName(name).toStdString();
}

QString id(const char* text) { return QString::fromLatin1(text); }

struct NameType {
    const char* name;
    const char* identifier;
};

void PrintTo(const NameType& row, std::ostream* out) { *out << row.name; }

class TypeOfName : public testing::TestWithParam<NameType> { };

TEST_P(TypeOfName, FollowsTheLastExtension)
{
    EXPECT_EQ(nameType(GetParam().name), GetParam().identifier);
}

INSTANTIATE_TEST_SUITE_P(Pictures, TypeOfName,
    testing::Values(NameType { "a.jpg", "public.jpeg" }, NameType { "a.jpeg", "public.jpeg" },
        NameType { "a.JPE", "public.jpeg" }, NameType { "a.jfif", "public.jpeg" },
        NameType { "a.Gif", "com.compuserve.gif" }, NameType { "a.PNG", "public.png" },
        NameType { "a.AXR", "com.sony.axr-raw-image" }, NameType { "a.tif", "public.tiff" },
        NameType { "a.heic", "public.heic" }, NameType { "a.hif", "public.heif" },
        NameType { "a.svgz", "public.svg-image" }, NameType { "a.CR2", "com.canon.cr2-raw-image" },
        NameType { "a.nef", "com.nikon.raw-image" }, NameType { "a.dng", "com.adobe.raw-image" },
        NameType { "a.pdf.jpg", "public.jpeg" }, NameType { "/x.png/a\xFF.jpg", "public.jpeg" },
        NameType { "ends..jpg", "public.jpeg" }));

INSTANTIATE_TEST_SUITE_P(MoviesAndSound, TypeOfName,
    testing::Values(NameType { "a.MOV", "com.apple.quicktime-movie" },
        NameType { "a.mp4", "public.mpeg-4" }, NameType { "a.m4v", "com.apple.m4v-video" },
        NameType { "a.ts", "public.mpeg-2-transport-stream" },
        NameType { "a.MTS", "public.avchd-mpeg-2-transport-stream" },
        NameType { "a.mkv", "org.matroska.mkv" }, NameType { "a.webm", "org.webmproject.webm" },
        NameType { "a.ogv", "org.xiph.ogg-video" }, NameType { "a.flv", "com.adobe.flash.video" },
        NameType { "a.wmv", "com.microsoft.windows-media-wmv" }, NameType { "a.mp3", "public.mp3" },
        NameType { "a.opus", "org.xiph.ogg-audio" }));

INSTANTIATE_TEST_SUITE_P(KnownToTheMimeDatabaseOnly, TypeOfName,
    testing::Values(NameType { "a.moov", "com.apple.quicktime-movie" },
        NameType { "a.divx", "public.avi" }, NameType { "a.DIVX", "public.avi" },
        NameType { "a.icb", "com.truevision.tga-image" },
        NameType { "a.f4a", "public.mpeg-4-audio" },
        // May be a diagram as well.
        NameType { "a.vst", "" },
        // Inherits TIFF in the database, but is a camera's own format that the table lacks.
        NameType { "a.x3f", "" }));

INSTANTIATE_TEST_SUITE_P(SomethingElse, TypeOfName,
    testing::Values(NameType { "report.pdf", "com.adobe.pdf" },
        NameType { "sample.PDF", "com.adobe.pdf" },
        NameType { "a.eps", "com.adobe.encapsulated-postscript" },
        NameType { "readme.txt", "public.plain-text" }, NameType { "page.html", "public.html" },
        NameType { "list.m3u8", "public.m3u-playlist" },
        NameType { "titles.ass", "public.plain-text" }, NameType { "INDEX.BDM", "public.data" },
        NameType { "GX010001.THM", "public.data" }, NameType { "a.zip", "" },
        NameType { "a.c", "" }, NameType { "Makefile", "" }, NameType { "noextension", "" },
        NameType { "a.nobodyknows", "" }, NameType { "a.jpg.", "" }, NameType { "Mr. Smith", "" },
        NameType { "", "" }, NameType { "a.jpgjpgjpgjpgjpgjpgjpgjpgjpgjpg", "" },
        NameType { "a.\xFF\xFE", "" }));

TEST(TypeIdentifier, IsAskedFromManyThreads)
{
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            for (int n = 0; n < 50; ++n) {
                const QByteArray name = "a." + QByteArray::number(i) + QByteArray::number(n);
                EXPECT_EQ(nameType(name), "");
                EXPECT_EQ(nameType("a.divx"), "public.avi");
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(TypeIdentifier, AnswersForMoreExtensionsThanItRemembers)
{
    for (int n = 0; n < 1100; ++n)
        ASSERT_EQ(nameType("a." + QByteArray::number(n)), "");
    EXPECT_EQ(nameType("a.divx"), "public.avi");
}

/// A folder of its own for each test.
struct TypeOfFile : testing::Test {
    QTemporaryDir folder;

    QByteArray pathOf(const char* name) const { return folder.path().toUtf8() + '/' + name; }

    QByteArray write(const char* name, const QByteArray& bytes) const
    {
        QFile file(QString::fromUtf8(pathOf(name)));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        EXPECT_EQ(file.write(bytes), bytes.size());
        return pathOf(name);
    }

    QByteArray link(const char* target, const char* name) const
    {
        EXPECT_EQ(symlink(target, pathOf(name).constData()), 0);
        return pathOf(name);
    }
};

std::string fileType(const QByteArray& path)
{
    return TypeIdentifier::typeIdentifierForFile(path).toStdString();
}

TEST_F(TypeOfFile, FollowsTheNameWhateverTheContents)
{
    const QByteArray text = write("jpeg-named.txt", kJpegHead);
    const QByteArray picture = write("text-named.jpg", "text");
    const QByteArray page = write("jpeg-named.html", kJpegHead);
    const QByteArray archive = write("jpeg-named.zip", kJpegHead);
    const QByteArray readMe = write("README", kJpegHead);

    EXPECT_EQ(fileType(text), "public.plain-text");
    EXPECT_EQ(fileType(picture), "public.jpeg");
    EXPECT_EQ(fileType(page), "public.html");
    EXPECT_EQ(fileType(archive), "");
    EXPECT_EQ(fileType(readMe), "");
}

TEST_F(TypeOfFile, FollowsTheContentsWhereTheNameSaysNothing)
{
    EXPECT_EQ(fileType(write("noextension", kJpegHead)), "public.jpeg");
    EXPECT_EQ(fileType(write("jpg", kJpegHead)), "public.jpeg");
    EXPECT_EQ(fileType(write("Mr. Smith", kJpegHead)), "public.jpeg");
    EXPECT_EQ(fileType(write("photo.nobodyknows", kJpegHead)), "public.jpeg");
    EXPECT_EQ(fileType(write("a.jpgjpgjpgjpgjpgjpgjpgjpgjpgjpg", kJpegHead)), "public.jpeg");
    EXPECT_EQ(fileType(write("paper", "%PDF-1.4\n")), "com.adobe.pdf");
    EXPECT_EQ(fileType(write("large", kJpegHead + QByteArray(100000, '\x01'))), "public.jpeg");
    EXPECT_EQ(fileType(write("nothing", "")), "");
    // Fits a Targa header as well as any.
    EXPECT_EQ(fileType(write("ones", QByteArray(64, '\x01'))), "");
    EXPECT_EQ(fileType(write("noise", QByteArray("\x01\x02\xF3\x04", 4))), "");
}

TEST_F(TypeOfFile, OfAFolderIsFolder)
{
    ASSERT_EQ(mkdir(pathOf("folder.jpg").constData(), 0700), 0);

    EXPECT_EQ(fileType(pathOf("folder.jpg")), "public.folder");
    EXPECT_EQ(fileType(pathOf("folder.jpg/")), "public.folder");
}

TEST_F(TypeOfFile, OfALinkIsThatOfItsTarget)
{
    write("real.jpg", "");
    write("real.txt", "");
    write("noextension", kJpegHead);

    EXPECT_EQ(fileType(link("real.jpg", "to-picture")), "public.jpeg");
    EXPECT_EQ(fileType(link("real.txt", "to-text.jpg")), "public.plain-text");
    EXPECT_EQ(fileType(link("noextension", "to-noextension.txt")), "public.jpeg");
    EXPECT_EQ(fileType(link("to-text.jpg", "to-link.png")), "public.plain-text");
    EXPECT_EQ(fileType(link(".", "to-folder.jpg")), "public.folder");
}

TEST_F(TypeOfFile, OfWhatLeadsNowhereIsNothing)
{
    EXPECT_EQ(fileType(link("nowhere.jpg", "dangling.jpg")), "");
    EXPECT_EQ(fileType(link("loop.jpg", "loop.jpg")), "");
    EXPECT_EQ(fileType(pathOf("missing.jpg")), "");
    EXPECT_EQ(fileType(QByteArray()), "");
}

TEST_F(TypeOfFile, OfAPipeOrADeviceIsNothingAndComesAtOnce)
{
    ASSERT_EQ(mkfifo(pathOf("pipe.jpg").constData(), 0600), 0);
    ASSERT_EQ(mkfifo(pathOf("pipe").constData(), 0600), 0);

    EXPECT_EQ(fileType(pathOf("pipe.jpg")), "");
    EXPECT_EQ(fileType(pathOf("pipe")), "");
    EXPECT_EQ(fileType(link("pipe.jpg", "link.jpg")), "");
    EXPECT_EQ(fileType("/dev/null"), "");
    // A file that turned into a pipe since the folder was listed.
    EXPECT_EQ(TypeIdentifier::typeIdentifierForRegularFile(pathOf("pipe")), QString());
}

TEST_F(TypeOfFile, OfARegularFileNeedsNoFileIfTheNameSaysEnough)
{
    EXPECT_EQ(
        TypeIdentifier::typeIdentifierForRegularFile(pathOf("missing.JPG")), id("public.jpeg"));
    EXPECT_EQ(TypeIdentifier::typeIdentifierForRegularFile(pathOf("missing")), QString());
}

TEST(TypeIdentifier, ComesFromAMimeTypeOrItsAlias)
{
    EXPECT_EQ(TypeIdentifier::typeIdentifierForMimeType(id("image/jpeg")), id("public.jpeg"));
    EXPECT_EQ(
        TypeIdentifier::typeIdentifierForMimeType(id("image/x-ico")), id("com.microsoft.ico"));
    EXPECT_EQ(TypeIdentifier::typeIdentifierForMimeType(id("image/x-sigma-x3f")), QString());
    EXPECT_EQ(TypeIdentifier::typeIdentifierForMimeType(QString()), QString());
}

TEST(DisplayableTypes, AreTheRowsThatHaveADecoder)
{
    const Decoders decoders({ id("jpeg"), id("gif") });

    EXPECT_EQ(
        TypeIdentifier::imageTypes(), QStringList({ id("public.jpeg"), id("com.compuserve.gif") }));
    EXPECT_TRUE(TypeIdentifier::audiovisualTypes().isEmpty());
    EXPECT_TRUE(TypeIdentifier::isDisplayable(id("public.jpeg")));
    EXPECT_FALSE(TypeIdentifier::isDisplayable(id("public.png")));
    EXPECT_FALSE(TypeIdentifier::isDisplayable(id("public.mpeg-4")));
    EXPECT_FALSE(TypeIdentifier::isDisplayable(id("public.JPEG")));
    EXPECT_FALSE(TypeIdentifier::isDisplayable(QString()));
}

TEST(DisplayableTypes, IncludeMoviesAndSoundWhereAPlayerIs)
{
    const Decoders decoders({}, Decoders::Audiovisual::All);

    EXPECT_TRUE(TypeIdentifier::imageTypes().isEmpty());
    const QStringList types = TypeIdentifier::audiovisualTypes();
    EXPECT_TRUE(types.contains(id("com.apple.quicktime-movie")));
    EXPECT_TRUE(types.contains(id("public.mp3")));
    EXPECT_FALSE(types.contains(id("com.compuserve.gif")));
    EXPECT_FALSE(types.contains(id("public.m3u-playlist")));
    EXPECT_TRUE(TypeIdentifier::isDisplayable(id("org.matroska.mkv")));
}

TEST(DisplayableTypes, ComeOnScreenAsPicturesOrAsMovies)
{
    const Decoders decoders({ id("jpeg"), id("gif") }, Decoders::Audiovisual::All);

    EXPECT_EQ(TypeIdentifier::slideKindOf(id("public.jpeg")), SlideKind::Picture);
    EXPECT_EQ(TypeIdentifier::slideKindOf(id("com.compuserve.gif")), SlideKind::Picture);
    EXPECT_EQ(TypeIdentifier::slideKindOf(id("public.mpeg-4")), SlideKind::Movie);
    EXPECT_EQ(TypeIdentifier::slideKindOf(id("public.mp3")), SlideKind::Movie);
    EXPECT_EQ(TypeIdentifier::slideKindOf(id("public.png")), std::nullopt);
    EXPECT_EQ(TypeIdentifier::slideKindOf(QString()), std::nullopt);
}

TEST(DisplayableTypes, NeverIncludePages)
{
    const Decoders decoders(
        { id("pdf"), id("eps"), id("ps"), id("txt") }, Decoders::Audiovisual::All);

    for (const char* page : { "com.adobe.pdf", "com.adobe.encapsulated-postscript",
             "com.adobe.postscript", "public.plain-text" })
        EXPECT_FALSE(TypeIdentifier::isDisplayable(id(page))) << page;
    EXPECT_TRUE(TypeIdentifier::imageTypes().isEmpty());
}

/// Pictures that no library of the decoder reads.
const QSet<QString> kUnreadPictures { id("public.avci"), id("public.avcs"), id("public.pvr"),
    id("org.khronos.ktx"), id("org.khronos.ktx2"), id("org.khronos.astc"), id("com.apple.atx"),
    id("com.apple.pict"), id("com.dxo.raw-image") };

TEST(DisplayableTypes, AreThePicturesOfTheTableThatTheDecoderReads)
{
    QStringList expected;
    for (const TypeRow& row : typeRows()) {
        if (row.kind == TypeKind::Image && !kUnreadPictures.contains(row.identifier))
            expected.append(row.identifier);
    }

    EXPECT_EQ(TypeIdentifier::imageTypes(), expected);
    for (const QString& type : expected)
        EXPECT_TRUE(TypeIdentifier::isDisplayable(type)) << type.toStdString();
    for (const char* common : { "public.jpeg", "public.png", "public.heic", "public.avif",
             "public.svg-image", "com.adobe.raw-image" })
        EXPECT_TRUE(expected.contains(id(common))) << common;
}

TEST(DisplayableTypes, AreNoPicturesThatNothingReads)
{
    for (const QString& type : kUnreadPictures) {
        EXPECT_NE(typeRowForIdentifier(type), nullptr) << type.toStdString();
        EXPECT_FALSE(TypeIdentifier::isDisplayable(type)) << type.toStdString();
    }
}

TEST(DisplayableTypes, AreTheMoviesAndTheSoundOfTheTable)
{
    QStringList expected;
    for (const TypeRow& row : typeRows()) {
        if (row.kind == TypeKind::Movie || row.kind == TypeKind::Audio)
            expected.append(row.identifier);
    }

    EXPECT_EQ(TypeIdentifier::audiovisualTypes(), expected);
    EXPECT_TRUE(TypeIdentifier::isDisplayable(id("public.mpeg-4")));
    EXPECT_TRUE(TypeIdentifier::isDisplayable(id("public.mp3")));
}

TEST(DisplayableTypes, ComeBackWhenATestEnds)
{
    const QStringList before = TypeIdentifier::imageTypes();
    {
        const Decoders outer({ id("jpg") });
        {
            const Decoders inner({ id("png") });
            EXPECT_EQ(TypeIdentifier::imageTypes(), QStringList(id("public.png")));
        }
        EXPECT_EQ(TypeIdentifier::imageTypes(), QStringList(id("public.jpeg")));
    }

    EXPECT_EQ(TypeIdentifier::imageTypes(), before);
}

TEST(Conformance, OfEveryRowFollowsItsKind)
{
    for (const TypeRow& row : typeRows()) {
        const auto conforms = [&row](const char* parent) {
            return TypeIdentifier::conformsTo(row.identifier, id(parent));
        };
        EXPECT_TRUE(TypeIdentifier::conformsTo(row.identifier, row.identifier));
        EXPECT_EQ(conforms("public.image"), row.kind == TypeKind::Image);
        EXPECT_EQ(conforms("public.movie"), row.kind == TypeKind::Movie);
        EXPECT_EQ(conforms("public.audio"), row.kind == TypeKind::Audio);
        EXPECT_EQ(conforms("com.apple.quicktime-movie"),
            row.identifier == id("com.apple.quicktime-movie"));
    }
}

TEST(Conformance, OfAnUnknownTypeIsOnlyToItself)
{
    EXPECT_TRUE(TypeIdentifier::conformsTo(id("public.image"), id("public.image")));
    EXPECT_FALSE(TypeIdentifier::conformsTo(id("com.example.x"), id("public.image")));
    EXPECT_FALSE(TypeIdentifier::conformsTo(QString(), id("public.image")));
}

TEST(TypeIdentifier, KnowsTheMimeTypesAndExtensionsOfAType)
{
    EXPECT_EQ(TypeIdentifier::mimeTypesOf(id("public.avif")), QStringList(id("image/avif")));
    EXPECT_EQ(TypeIdentifier::extensionsOf(id("com.microsoft.bmp")),
        QStringList({ id("bmp"), id("dib") }));
    EXPECT_TRUE(TypeIdentifier::extensionsOf(id("public.mpeg-4-audio")).isEmpty());
    EXPECT_TRUE(TypeIdentifier::mimeTypesOf(id("com.example.x")).isEmpty());
}

} // namespace
} // namespace quorvane
