// SPDX-License-Identifier: GPL-3.0-or-later
#include "corpus/CorpusManifest.h"

#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <ostream>

namespace quorvane::tests {

namespace {

using Fate = CorpusFile::Fate;

QSize sizeIn(const QString& text)
{
    static const QRegularExpression size(QStringLiteral("(\\d+)x(\\d+)"));
    const auto match = size.match(text);
    return match.hasMatch() ? QSize(match.captured(1).toInt(), match.captured(2).toInt()) : QSize();
}

/// Not "about 1s", which stands where the header tells nothing.
std::optional<double> secondsIn(const QString& text)
{
    static const QRegularExpression seconds(QStringLiteral("(?<!about) (\\d+\\.\\d+)s$"));
    const auto match = seconds.match(text);
    return match.hasMatch() ? std::optional(match.captured(1).toDouble()) : std::nullopt;
}

/// \param expectation  "show 40x30", "movie 320x240 2.0s", "drop" …
Fate fateOf(const QByteArray& expectation)
{
    const QByteArray word = expectation.split(' ').first();
    if (expectation.endsWith("or skip") || word == "either")
        return Fate::Either;
    if (word == "show" || word == "first" || word == "optional")
        return Fate::Shown; // Every optional format is built in here.
    if (word == "movie")
        return Fate::Movie;
    if (word == "audio")
        return Fate::Audio;
    return word == "drop" ? Fate::Dropped : Fate::NotListed;
}

/// Sizes that the list has from tools that show something else.
QSize correctedSize(const QByteArray& name, QSize size)
{
    // The small picture in the first directory; a raw file is its photograph.
    if (name == "raw/kodak-dc50.kdc")
        return { 768, 512 };
    if (name == "raw/nikon-d500-600x400.dng")
        return { 600, 400 };
    // The last of its three pictures; the one that the file calls primary is smaller.
    if (name == "heif/3-pugs.heic")
        return { 64, 64 };
    return size;
}

std::vector<CorpusFile> readManifest()
{
    QFile manifest(QStringLiteral(QUORVANE_CORPUS "/MANIFEST.tsv"));
    std::vector<CorpusFile> files;
    if (!manifest.open(QIODevice::ReadOnly))
        return files;
    manifest.readLine(); // The headings.
    while (!manifest.atEnd()) {
        constexpr int kColumns = 4;
        const QByteArrayList columns = manifest.readLine().split('\t');
        if (columns.size() < kColumns || columns[3] == "unpack")
            continue;
        const QByteArray name = QByteArray::fromPercentEncoding(columns[0]);
        const QString expectation = QString::fromUtf8(columns[3]);
        files.push_back({ name, fateOf(columns[3]), correctedSize(name, sizeIn(expectation)),
            secondsIn(expectation) });
    }
    return files;
}

} // namespace

QByteArray CorpusFile::path() const { return QByteArray(QUORVANE_CORPUS "/") + name; }

void PrintTo(const CorpusFile& file, std::ostream* out)
{
    *out << file.name.toPercentEncoding("/ ").toStdString();
}

std::vector<CorpusFile> corpusFiles(std::initializer_list<CorpusFile::Fate> fates)
{
    static const std::vector<CorpusFile> all = readManifest();
    std::vector<CorpusFile> chosen;
    std::copy_if(all.begin(), all.end(), std::back_inserter(chosen), [&](const CorpusFile& file) {
        return std::find(fates.begin(), fates.end(), file.fate) != fates.end();
    });
    return chosen;
}

} // namespace quorvane::tests
