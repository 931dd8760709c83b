// SPDX-License-Identifier: GPL-3.0-or-later
// The list of the real files, and what is to become of each.
#pragma once

#include <QByteArray>
#include <QSize>

#include <iosfwd>
#include <optional>
#include <vector>

namespace quorvane::tests {

/// One file of the corpus.
struct CorpusFile {
    enum class Fate {
        Shown, ///< Upright, in `size`.
        Movie, ///< Has a frame, which is of the shape of `size`.
        Audio, ///< Has no frame.
        Dropped, ///< Listed because of its name, but nothing can be decoded.
        Either, ///< Shown, in `size` if that is known, or dropped.
        NotListed, ///< Its name says that it is no slide.
    };

    QByteArray name; ///< Its path within the corpus, in bytes.
    Fate fate = Fate::Either;
    QSize size; ///< Empty when nothing is said about it.
    std::optional<double> seconds; ///< Of a movie or of sound whose header tells its length.

    /// Its path, in bytes.
    QByteArray path() const;
};

/// For the names of tests and for messages.
void PrintTo(const CorpusFile& file, std::ostream* out);

/// All files whose name lies in one of the fates.
std::vector<CorpusFile> corpusFiles(std::initializer_list<CorpusFile::Fate> fates);

} // namespace quorvane::tests
