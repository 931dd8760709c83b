// SPDX-License-Identifier: GPL-3.0-or-later
// Other programs' renderings of a picture, which have nothing to do with our decoder.
#pragma once

#include <QByteArray>
#include <QImage>
#include <QSize>
#include <QString>
#include <QStringList>

namespace quorvane::tests {

/// A program that can make a plain picture of a file.
enum class Tool {
    None, ///< There is nothing to compare with.
    Djpeg, ///< Knows no profile, no orientation, no inks.
    ImageMagick,
    Dwebp,
    HeifConvert,
    HeifConvertToJpeg, ///< The same by way of a JPEG, whose profiles nobody checks.
    Djxl,
    OpjDecompress,
    RsvgConvert,
    DcrawEmu,
    Ffmpeg, ///< The first frame; knows no profile.
};

/// The name of its program.
QString programOf(Tool tool);

/// What is to be rendered, and how.
struct RenderingTask {
    QByteArray path; ///< In bytes; the program sees it under a plain name.
    Tool tool = Tool::None;
    QSize size; ///< Of the whole picture; for drawings.
    QStringList arguments {}; ///< For the tool, before the file's name. With ImageMagick: after it.
    QStringList finish {}; ///< What ImageMagick does to the tool's result; empty for nothing.
    int frame = 0; ///< Which of the file's pictures: with ImageMagick from 0, with heif-convert
                   ///< from 1, and 0 for the only one.
    QString format {}; ///< What ImageMagick takes the file for, against its name; empty: its name.
};

/// What became of a task.
struct Rendering {
    QImage image; ///< Null when it failed.
    QString missingProgram; ///< Set when that was because a program is not installed.
    QString message; ///< What the programs had to say.
};

/// Runs the tools, one after the other. Thread: any.
Rendering rendered(const RenderingTask& task);

} // namespace quorvane::tests
