// SPDX-License-Identifier: GPL-3.0-or-later
// The JPEG 2000 library at work on one file. It stays in the source.
#pragma once

#include <QSize>

#include <memory>

class QByteArray;
struct opj_image;

namespace quorvane {

/// One run of the library's decoder over a file: the header, then perhaps the pixels. Thread: any,
/// one at a time.
class Jpeg2000Decoding {
public:
    /// \param bytes   must outlive this.
    /// \param reduce  how often both sides are halved.
    Jpeg2000Decoding(const QByteArray& bytes, int reduce);
    ~Jpeg2000Decoding();
    Jpeg2000Decoding(const Jpeg2000Decoding&) = delete;
    Jpeg2000Decoding& operator=(const Jpeg2000Decoding&) = delete;

    /// \return false for what the library cannot read; then nothing else may be asked.
    bool readHeader();

    /// Decodes the samples, after the header. \return false when they are broken or cut short.
    bool decode();

    /// The components, with samples after decode().
    const opj_image& image() const;

    /// How many components the picture has: colours, and perhaps opacity. 1 or more.
    int components() const;

    /// Of the largest component, as the header has it: no number is to be trusted. Empty when it
    /// makes no sense.
    QSize size() const;

    /// How often the sides of every component can be halved.
    int reductions() const;

private:
    struct Library;
    std::unique_ptr<Library> mLibrary;
};

} // namespace quorvane
