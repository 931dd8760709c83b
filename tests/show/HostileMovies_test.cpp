// SPDX-License-Identifier: GPL-3.0-or-later
// Movies that somebody has spoiled never stop a show. A short run each time;
// QUORVANE_HOSTILE_SECONDS makes it as long as one likes, and real movies are spoiled where a
// folder of them is at hand.
#include "SessionBusClient.h"
#include "ShowTest.h"
#include "support/MovieBytes.h"

#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDir>
#include <QFile>

#include <algorithm>
#include <random>

namespace quorvane::show {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kUsualRun = 15; // Seconds.

/// No clip here lasts longer, nor does the show wait longer for one.
constexpr std::chrono::seconds kLongestClip { 15 };

constexpr int kCopies = 4; // Of each movie.

using Random = std::minstd_rand;

size_t below(Random& random, qsizetype bound)
{
    return static_cast<size_t>(
        random() % static_cast<unsigned long>(std::max<qsizetype>(bound, 1)));
}

void cutOff(QByteArray& bytes, Random& random)
{
    bytes.truncate(static_cast<qsizetype>(below(random, bytes.size())));
}

void turnBits(QByteArray& bytes, Random& random)
{
    for (qsizetype i = 0; i < bytes.size() / 1000 + 3; ++i)
        bytes[static_cast<qsizetype>(below(random, bytes.size()))] = static_cast<char>(random());
}

void spoilHeader(QByteArray& bytes, Random& random)
{
    for (int i = 0; i < 8; ++i)
        bytes[static_cast<qsizetype>(below(random, std::min<qsizetype>(bytes.size(), 600)))]
            = static_cast<char>(random());
}

void swapParts(QByteArray& bytes, Random& random)
{
    const auto from = static_cast<qsizetype>(below(random, bytes.size()));
    const auto to = static_cast<qsizetype>(below(random, bytes.size()));
    bytes.replace(to, 2000, bytes.mid(from, 2000));
}

constexpr std::array kSpoilings { cutOff, turnBits, spoilHeader, swapParts };

struct HostileMovies : ShowTest {
    std::vector<std::pair<QByteArray, QByteArray>> wholeMovies() const
    {
        std::vector<std::pair<QByteArray, QByteArray>> movies;
        for (const char* const container : { "mov", "mp4", "matroska", "mpegts", "avi" })
            movies.emplace_back(container == std::string_view("matroska") ? "mkv" : container,
                tests::movieBytes({ .frames = 8, .framesPerSecond = 20, .container = container }));
        const QDir folder(QStringLiteral(SHOW_TEST_CORPUS) + QStringLiteral("/movies"));
        for (const QString& name : folder.entryList(QDir::Files)) {
            QFile file(folder.filePath(name));
            if (*SHOW_TEST_CORPUS != '\0' && file.open(QIODevice::ReadOnly))
                movies.emplace_back(QFileInfo(name).suffix().toLatin1(), file.readAll());
        }
        return movies;
    }

    void writeSpoiled()
    {
        int number = 0;
        for (const auto& [extension, whole] : wholeMovies()) {
            for (size_t copy = 0; copy < kCopies; ++copy) {
                QByteArray bytes = whole;
                kSpoilings[copy % kSpoilings.size()](bytes, random);
                pictures.write("m" + QByteArray::number(++number) + '.' + extension, bytes);
            }
        }
    }

    QString slide(const SessionBusClient& bus) const
    {
        const auto metadata = qdbus_cast<QVariantMap>(bus.playerValue("Metadata"));
        return metadata.value(QStringLiteral("mpris:trackid")).value<QDBusObjectPath>().path();
    }

    Random random { 20 };
};

TEST_F(HostileMovies, NeverStopTheShow)
{
    bool isNumber = false;
    const int wanted = qEnvironmentVariableIntValue("QUORVANE_HOSTILE_SECONDS", &isNumber);
    const std::chrono::seconds length { isNumber ? wanted : kUsualRun };
    pictures.writeSolid("m0.png", kRed);
    writeSpoiled();
    const SessionBusClient bus(desktop.busAddress());
    startShow({ { QStringLiteral("autoStart"), true }, { QStringLiteral("slideInterval"), 0.2 } });
    ASSERT_TRUE(ready(kRed));

    const auto end = Clock::now() + length;
    QString last;
    auto since = Clock::now();
    int slides = 0;
    while (Clock::now() < end) {
        desktop.pause(100ms);
        ASSERT_TRUE(viewer->running());
        const QString now = slide(bus);
        if (now != last) {
            ++slides;
            last = now;
            since = Clock::now();
        }
        ASSERT_LT(Clock::now() - since, kLongestClip) << last.toStdString();
    }

    EXPECT_GT(slides, 3);
    EXPECT_TRUE(quits());
}

} // namespace

} // namespace quorvane::show
