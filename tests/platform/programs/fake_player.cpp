// SPDX-License-Identifier: GPL-3.0-or-later
// A player of movies that does what the file that it is given says, so that tests can have it
// misbehave. The contents of the file are words, each of them something to do.
#include "platform/FileDescriptor.h"
#include "platform/MessageSocket.h"
#include "platform/PlayerProtocol.h"
#include "platform/ServiceProcess.h"

#include <QByteArrayList>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <map>
#include <span>

namespace {

using namespace quorvane;

struct Memory {
    void* data = nullptr;
    std::size_t size = 0;
};

std::map<std::uint64_t, Memory> gMemory;
ToPlayer gLoan; ///< Number 0 if there is none.
MovieNews gNews;
int gFrames = 0;

void send(const FromPlayer& message)
{
    sendMessage(kServiceSocket, std::as_bytes(std::span(&message, 1)));
}

void tellNews() { send({ .kind = FromPlayer::Kind::News, .news = gNews }); }

[[noreturn]] void stay()
{
    for (;;)
        pause();
}

/// \return the file that came along. Ends with the viewer.
FileDescriptor hear(ToPlayer& message)
{
    FileDescriptor file;
    if (awaitMessage(kServiceSocket, std::as_writable_bytes(std::span(&message, 1)), file)
        != Received::Message)
        std::_Exit(EXIT_SUCCESS);
    if (message.kind == ToPlayer::Kind::Lend) {
        if (file.get() >= 0) {
            void* const data = mmap(
                nullptr, message.bufferSize, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
            gMemory[message.buffer] = { data, message.bufferSize };
        }
        gLoan = message;
    }
    return file;
}

void awaitLoan()
{
    ToPlayer message;
    while (gLoan.loan == 0)
        hear(message);
}

FromPlayer frame(int width, int height, std::size_t step)
{
    awaitLoan();
    return { .kind = FromPlayer::Kind::Frame,
        .loan = std::exchange(gLoan.loan, 0),
        .width = width,
        .height = height,
        .step = step };
}

/// Every byte is the number of the frame.
void sendFrame()
{
    awaitLoan();
    const Memory& memory = gMemory[gLoan.buffer];
    std::fill_n(static_cast<char*>(memory.data), memory.size, static_cast<char>(++gFrames));
    send(frame(64, 48, frameStep(64)));
}

void tellNonsense(const QByteArray& word)
{
    if (word == "huge")
        gNews.width = gNews.height = 1 << 30;
    else if (word == "flat")
        gNews.height = 0;
    else if (word == "nan")
        gNews.position = std::nan("");
    else if (word == "negative")
        gNews.duration = -1;
    else if (word == "odd-end")
        gNews.end = static_cast<MovieNews::End>(7);
    else if (word == "odd-picture")
        gNews.picture = static_cast<MovieNews::Picture>(7);
    else if (word == "endless")
        gNews.title.fill('x');
    else
        return;
    tellNews();
}

void showNonsense(const QByteArray& word)
{
    if (word == "stranger")
        send({ .kind = FromPlayer::Kind::Frame, .loan = 99, .width = 1, .height = 1, .step = 4 });
    else if (word == "wide")
        send(frame(1 << 15, 48, frameStep(1 << 15)));
    else if (word == "high")
        send(frame(64, 1 << 15, frameStep(64)));
    else if (word == "overlapping")
        send(frame(64, 48, 4));
    else if (word == "odd-step")
        send(frame(64, 48, 259));
    else if (word == "vast")
        send(frame(64, 48, std::size_t(1) << 62));
    else if (word == "empty")
        send(frame(0, 48, 256));
    else if (word == "odd-kind")
        send({ .kind = static_cast<FromPlayer::Kind>(7) });
    else if (word == "ready")
        send({ .kind = FromPlayer::Kind::Ready });
    else if (word == "short")
        sendMessage(kServiceSocket, std::as_bytes(std::span("x", 1)));
}

void obey(const QByteArray& word)
{
    if (word == "known") {
        gNews = { .width = 64, .height = 48, .picture = MovieNews::Picture::There };
        tellNews();
    } else if (word == "frame") {
        sendFrame();
    } else if (word == "finish" || word == "fail") {
        gNews.end = word == "fail" ? MovieNews::End::Failed : MovieNews::End::Finished;
        tellNews();
    } else if (word == "crash") {
        std::abort();
    } else if (word == "leave") {
        std::_Exit(EXIT_SUCCESS);
    } else if (word == "close") {
        close(kServiceSocket);
        stay();
    } else if (word == "stay") {
        stay();
    }
    tellNonsense(word);
    showNonsense(word);
}

} // namespace

int main()
{
    send({ .kind = FromPlayer::Kind::Ready });
    for (;;) {
        ToPlayer message;
        const FileDescriptor file = hear(message);
        if (message.kind != ToPlayer::Kind::Open)
            continue;
        const QByteArray words = readAll(file, 1000).value_or(QByteArray());
        for (const QByteArray& word : words.split(' '))
            obey(word);
    }
}
