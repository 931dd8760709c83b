// SPDX-License-Identifier: GPL-3.0-or-later
// A decoder that does what the file that it is given says, so that tests can have it misbehave. The
// contents of a file are words: "4x3" is a picture of that size, every pixel of which is the number
// of this process; each other word is something to do first.
#include "platform/DecoderProtocol.h"
#include "platform/FileDescriptor.h"
#include "platform/MessageSocket.h"
#include "platform/ServiceProcess.h"

#include <QByteArray>
#include <QByteArrayList>

#include <fcntl.h>
#include <signal.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace {

using namespace quorvane;

/// Files opened so far, this one included.
int gServed = 0;

/// What pixels are to be converted to, and how often that was said; empty before.
QByteArray gTarget;

void setTarget(const FileDescriptor& file)
{
    static int count = 0;
    const QByteArray profile
        = file.get() < 0 ? QByteArray() : readAll(file, 100).value_or(QByteArray());
    gTarget = profile + ' ' + QByteArray::number(++count);
}

void send(const FromDecoder& message)
{
    sendMessage(kServiceSocket, std::as_bytes(std::span(&message, 1)));
}

/// Puts a word behind the others: how often a file was tried is its last words.
void mark(const FileDescriptor& file)
{
    const std::string path = "/proc/self/fd/" + std::to_string(file.get());
    const FileDescriptor writable(::open(path.c_str(), O_WRONLY | O_APPEND | O_CLOEXEC));
    [[maybe_unused]] const ssize_t written = write(writable.get(), " again", 6);
}

/// More than a decoder needs for most photographs.
void takeMuchMemory()
{
    static std::vector<char> memory;
    memory.assign(size_t(1100) << 20, 'x');
}

[[noreturn]] void hang()
{
    for (;;)
        pause();
}

void sendOpened(int width, int height)
{
    FromDecoder answer { FromDecoder::Kind::Opened };
    answer.width = width;
    answer.height = height;
    send(answer);
}

/// \param numbers  width, height, picture tracks, sound tracks and seconds, with commas between.
void sendDescribed(const QByteArray& numbers)
{
    const QByteArrayList values = numbers.split(',');
    FromDecoder answer { FromDecoder::Kind::Described };
    answer.width = values[0].toInt();
    answer.height = values[1].toInt();
    answer.pictureTracks = values[2].toInt();
    answer.soundTracks = values[3].toInt();
    answer.seconds = values[4].toDouble();
    answer.text.fill('t'); // Nothing ends it.
    answer.text.front() = '\n';
    send(answer);
}

void fail()
{
    FromDecoder answer { FromDecoder::Kind::Failed };
    answer.error = 2; // ErrorKind::Damaged.
    std::snprintf(answer.text.data(), answer.text.size(), "as told");
    send(answer);
}

/// \return whether there is still an answer to give.
bool obey(const QByteArray& word, const FileDescriptor& file)
{
    if (word == "mark")
        mark(file);
    if (word == "take-much-memory")
        takeMuchMemory();
    if (word == "crash" || (word == "crash-unless-fresh" && gServed > 1))
        std::abort();
    if (word == "crash-if-fresh" && gServed == 1)
        std::abort();
    if (word == "die-by-kill")
        kill(getpid(), SIGKILL);
    if (word == "exit")
        std::_Exit(0);
    if (word == "hang" || (word == "hang-unless-fresh" && gServed > 1))
        hang();
    if (word == "close") {
        close(kServiceSocket);
        hang();
    }
    if (word == "short")
        sendMessage(kServiceSocket, std::as_bytes(std::span("x", 1)));
    else if (word == "rendered")
        send({ FromDecoder::Kind::Rendered });
    else if (word == "ready")
        send({ FromDecoder::Kind::Ready });
    else if (word == "unknown")
        send({ static_cast<FromDecoder::Kind>(77) });
    else if (word == "negative")
        sendOpened(-4, 3);
    else if (word == "endless")
        sendOpened(1 << 30, 1);
    else if (word.startsWith("describe:"))
        sendDescribed(word.mid(9));
    else if (word == "fail")
        fail();
    else
        return true;
    return false;
}

/// The words of the file before the picture's size are obeyed now, those behind it when it is
/// drawn.
QByteArrayList open(const FileDescriptor& file)
{
    ++gServed;
    QByteArrayList words = readAll(file, 1 << 20).value_or(QByteArray()).split(' ');
    while (!words.isEmpty()) {
        const QByteArray word = words.takeFirst();
        const auto cross = word.indexOf('x');
        const int width = word.left(std::max<qsizetype>(cross, 0)).toInt();
        if (width > 0) {
            sendOpened(width, word.mid(cross + 1).toInt());
            return words;
        }
        if (!obey(word, file))
            return {};
    }
    fail();
    return {};
}

void render(const ToDecoder& request, const FileDescriptor& file, const QByteArrayList& words)
{
    static std::map<std::uint64_t, void*> buffers;
    if (file.get() >= 0)
        buffers[request.buffer]
            = mmap(nullptr, request.bufferSize, PROT_READ | PROT_WRITE, MAP_SHARED, file.get(), 0);
    for (const QByteArray& word : words) {
        if (word == "shrink" && ftruncate(file.get(), 0) == 0)
            std::abort(); // That must be impossible.
        if (!obey(word, file))
            return;
    }
    auto* const pixels = static_cast<std::uint32_t*>(buffers.at(request.buffer));
    std::fill_n(pixels, request.width * request.height, static_cast<std::uint32_t>(getpid()));
    if (words.contains("target"))
        std::snprintf(
            reinterpret_cast<char*>(pixels), request.bufferSize, "%s", gTarget.constData());
    FromDecoder answer { FromDecoder::Kind::Rendered };
    answer.isOpaque = 1;
    send(answer);
}

} // namespace

/// Under a name that ends with "unprotected", it says that something does not protect it.
int main(int /*argc*/, char** argv)
{
    FromDecoder ready { FromDecoder::Kind::Ready };
    if (QByteArrayView(argv[0]).endsWith("unprotected"))
        std::snprintf(ready.text.data(), ready.text.size(), "Landlock, seccomp");
    send(ready);
    QByteArrayList words;
    for (;;) {
        ToDecoder request;
        FileDescriptor file;
        if (awaitMessage(kServiceSocket, std::as_writable_bytes(std::span(&request, 1)), file)
            != Received::Message)
            return 0;
        if (request.kind == ToDecoder::Kind::Open)
            words = open(file);
        else if (request.kind == ToDecoder::Kind::Render)
            render(request, file, words);
        else if (request.kind == ToDecoder::Kind::Target)
            setTarget(file);
    }
}
