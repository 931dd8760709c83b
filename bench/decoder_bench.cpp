// SPDX-License-Identifier: GPL-3.0-or-later
// What it costs that another program decodes: the whole way, from the request to pixels that the
// viewer sees, against the same library called in this process. Prints a table; a line that is
// beyond its limit says so, and the exit status counts them.
#include "LibraryDecoding.h"
#include "Material.h"
#include "platform/DecoderProgram.h"
#include "platform/Decoding.h"
#include "platform/FileDescriptor.h"
#include "platform/FileURL.h"

#include <QFile>
#include <QTemporaryDir>

#include <spawn.h>
#include <sys/wait.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

extern char** environ;

namespace {

using namespace quorvane;
using namespace quorvane::bench;
using std::chrono::steady_clock;

constexpr int kPairs = 31;
constexpr QSize kScreen { 1920, 1080 };
constexpr int kThumbnailSize = 300;
constexpr int kThumbnails = 40;

int gFailures = 0;

double millisecondsOf(const std::function<void()>& work)
{
    const auto begin = steady_clock::now();
    work();
    return std::chrono::duration<double, std::milli>(steady_clock::now() - begin).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void report(const char* what, double ours, double theirs, double ratio, double limit, bool isAtMost)
{
    const bool holds = isAtMost ? ratio <= limit : ratio >= limit;
    gFailures += holds ? 0 : 1;
    std::printf("%-52s %9.2f %9.2f   %5.2f  %s %.2f%s\n", what, ours, theirs, ratio,
        isAtMost ? "<=" : ">=", limit, holds ? "" : "  BEYOND THE LIMIT");
    std::fflush(stdout);
}

/// The two take turns, so that whatever else the machine does meets both.
void compare(const char* what, double limit, const std::function<void()>& ours,
    const std::function<void()>& theirs)
{
    std::vector<double> ourTimes;
    std::vector<double> theirTimes;
    std::vector<double> ratios;
    ours();
    theirs();
    for (int i = 0; i < kPairs; ++i) {
        double mine = 0;
        if (i % 2 == 0)
            mine = millisecondsOf(ours);
        const double other = millisecondsOf(theirs);
        if (i % 2 == 1)
            mine = millisecondsOf(ours);
        ourTimes.push_back(mine);
        theirTimes.push_back(other);
        ratios.push_back(mine / other);
    }
    report(what, median(ourTimes), median(theirTimes), median(ratios), limit, true);
}

DecodeAnswer decodedByProgram(const QByteArray& path, QSize box = {})
{
    const auto file = openForReading(FileURL(path));
    auto answer
        = decode(*file, { .what = DecodeRequest::What::Picture, .sizeFor = [box](QSize size) {
                             return box.isEmpty() ? size : size.scaled(box, Qt::KeepAspectRatio);
                         } });
    if (!answer) {
        std::fprintf(stderr, "%s: %s\n", path.constData(), qPrintable(answer.error().message));
        std::exit(EXIT_FAILURE);
    }
    return std::move(*answer);
}

void comparePictures(const Material& material)
{
    const QByteArray jpeg = material.photograph;
    compare(
        "JPEG of 24 megapixels at 1920x1080", 1.10, [&] { decodedByProgram(jpeg, kScreen); },
        [&] { decodeJpegScaled(jpeg, kScreen); });
    compare(
        "JPEG of 24 megapixels, all pixels", 1.30, [&] { decodedByProgram(jpeg); },
        [&] { decodeJpeg(jpeg); });
    compare(
        "PNG of 6 megapixels, all pixels", 1.25, [&] { decodedByProgram(material.png); },
        [&] { decodePng(material.png); });
    compare(
        "WebP of 6 megapixels, all pixels", 1.25, [&] { decodedByProgram(material.webp); },
        [&] { decodeWebp(material.webp); });
    compare(
        "HEIC of 6 megapixels, all pixels", 1.25, [&] { decodedByProgram(material.heic); },
        [&] { decodeHeif(material.heic); });
    compare(
        "AVIF of 6 megapixels, all pixels", 1.25, [&] { decodedByProgram(material.avif); },
        [&] { decodeHeif(material.avif); });
}

void measureRoundTrip(const Material& material)
{
    constexpr int kRounds = 1001;
    std::vector<double> times;
    for (int i = 0; i < kRounds; ++i)
        times.push_back(millisecondsOf([&] { decodedByProgram(material.onePixel); }));
    const double limit = 1;
    report("PNG of one pixel, round trip in milliseconds", median(times), limit,
        median(times) / limit, 1, true);
}

/// Kilobytes of this process in a line of its status.
long memoryOf(const char* line)
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray text = status.readAll();
    const auto place = text.indexOf(line);
    return text.mid(place + qsizetype(qstrlen(line))).trimmed().split(' ').first().toLong();
}

void measureMemory(const Material& material)
{
    const long before = memoryOf("RssAnon:");
    const auto answer = decodedByProgram(material.photograph);
    quint32 sum = 0;
    const QImage image = answer.pixels.image();
    for (int y = 0; y < image.height(); ++y) // As an upload does: every byte is looked at.
        for (int x = 0; x < image.width(); x += 16)
            sum += image.pixel(x, y);
    const double own = double(memoryOf("RssAnon:") - before) / 1024;
    const double pixels = double(image.sizeInBytes()) / 1024 / 1024;
    report("Own memory of the viewer in MiB, against the pixels", own, pixels, own / pixels,
        sum == 1 ? 0 : 0.1, true);
}

/// Runs all commands at a time and waits for them.
void runAll(const std::vector<std::vector<std::string>>& commands)
{
    std::vector<pid_t> children;
    for (const auto& command : commands) {
        std::vector<char*> arguments;
        for (const std::string& argument : command)
            arguments.push_back(const_cast<char*>(argument.c_str()));
        arguments.push_back(nullptr);
        pid_t child = -1;
        if (posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) == 0)
            children.push_back(child);
    }
    for (const pid_t child : children)
        waitpid(child, nullptr, 0);
}

void makeThumbnails(const std::vector<QByteArray>& paths)
{
    std::atomic<int> done = 0;
    for (const QByteArray& path : paths) {
        decodeAsync(*openForReading(FileURL(path)),
            { DecodeRequest::What::SmallPicture,
                [](QSize size) {
                    return size.scaled(kThumbnailSize, kThumbnailSize, Qt::KeepAspectRatio);
                },
                DecodeRequest::Priority::Thumbnail },
            [&](const Result<DecodeAnswer>& answer) { done += answer ? 1 : 0; });
    }
    drainDecoding();
    if (done != int(paths.size()))
        std::exit(EXIT_FAILURE);
}

void compareThumbnails(const Material& material, const std::string& self, const QString& folder)
{
    std::vector<QByteArray> paths;
    std::vector<std::vector<std::string>> eighths(2, { self, "--eighths" });
    std::vector<std::vector<std::string>> vips(2,
        { "vipsthumbnail", "--size", "300", "-o",
            (folder + QStringLiteral("/tn_%s.jpg")).toStdString() });
    for (int i = 0; i < kThumbnails; ++i) {
        const QString path = folder + QStringLiteral("/%1.jpg").arg(i);
        QFile::copy(QFile::decodeName(material.photograph), path);
        paths.push_back(QFile::encodeName(path));
        eighths[size_t(i) % 2].push_back(paths.back().toStdString());
        vips[size_t(i) % 2].push_back(paths.back().toStdString());
    }
    std::vector<double> ours;
    std::vector<double> bare;
    std::vector<double> vipsTimes;
    constexpr int kRounds = 7;
    for (int i = 0; i < kRounds; ++i) {
        ours.push_back(millisecondsOf([&] { makeThumbnails(paths); }));
        bare.push_back(millisecondsOf([&] { runAll(eighths); }));
        vipsTimes.push_back(millisecondsOf([&] { runAll(vips); }));
    }
    const auto rate
        = [](const std::vector<double>& times) { return kThumbnails * 1000.0 / median(times); };
    report("Thumbnails a second, against 1/8 decoding alone", rate(ours), rate(bare),
        rate(ours) / rate(bare), 0.8, false);
    report("Thumbnails a second, against vipsthumbnail", rate(ours), rate(vipsTimes),
        rate(ours) / rate(vipsTimes), 1, false);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], "--eighths") == 0) {
        for (int i = 2; i < argc; ++i)
            decodeJpegEighth(argv[i]);
        return EXIT_SUCCESS;
    }
    setDecoderProgram(BENCH_DECODER);
    const QTemporaryDir folder;
    const Material material = makeMaterial(folder.path());
    std::printf("%-52s %9s %9s   %5s\n", "", "decoder", "library", "ratio");
    measureRoundTrip(material);
    measureMemory(material);
    comparePictures(material);
    compareThumbnails(material, argv[0], folder.path());
    return gFailures;
}
