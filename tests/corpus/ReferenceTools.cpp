// SPDX-License-Identifier: GPL-3.0-or-later
#include "corpus/ReferenceTools.h"

#include <QColorSpace>
#include <QFile>
#include <QFileInfo>
#include <QImageReader>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>

#include <unistd.h>

namespace quorvane::tests {

namespace {

/// The extension in small letters, for the formats that only their name tells.
QString extensionOf(const QByteArray& path)
{
    const qsizetype dot = path.lastIndexOf('.');
    const QByteArray extension = path.mid(dot + 1).toLower();
    const bool isPlain = dot >= 0 && extension.size() <= 5 && !extension.contains('/');
    return isPlain ? QString::fromLatin1(extension) : QStringLiteral("jpg");
}

/// One task's folder, and the programs that run in it.
class Workshop {
public:
    explicit Workshop(const RenderingTask& task)
        : mTask(task)
        , mSource(inFolder(QStringLiteral("in.") + extensionOf(task.path)))
    {
    }

    /// Once only.
    Rendering work()
    {
        if (::symlink(mTask.path.constData(), QFile::encodeName(mSource).constData()) != 0
            || !writeSrgbProfile()) {
            mRendering.message = QStringLiteral("no folder to work in");
            return mRendering;
        }
        const bool isDone = mTask.tool == Tool::ImageMagick
            ? magick(sourceForMagick(), mTask.arguments)
            : decode() && (mTask.finish.isEmpty() || magick(mResult, mTask.finish));
        if (isDone)
            read();
        return mRendering;
    }

private:
    QString inFolder(const QString& name) const { return mFolder.filePath(name); }
    /// Where there is one, a "format:" before the name counts for more than its ending.
    QString sourceForMagick() const
    {
        const QString format = mTask.format.isEmpty() ? QString() : mTask.format + QLatin1Char(':');
        return format + mSource + QStringLiteral("[%1]").arg(mTask.frame);
    }

    QString profile() const { return inFolder(QStringLiteral("srgb.icc")); }

    /// What ImageMagick converts colours to.
    bool writeSrgbProfile() const
    {
        QFile file(profile());
        return file.open(QIODevice::WriteOnly)
            && file.write(QColorSpace(QColorSpace::SRgb).iccProfile()) > 0;
    }

    /// Whether the program was there and content; what it printed goes to the message.
    bool run(const QString& program, const QStringList& arguments)
    {
        const QString path = QStandardPaths::findExecutable(program);
        if (path.isEmpty()) {
            mRendering.missingProgram = program;
            return false;
        }
        constexpr int kLimitMs = 60'000;
        QProcess process;
        process.setProcessChannelMode(QProcess::MergedChannels);
        process.start(path, arguments);
        const bool isDone = process.waitForFinished(kLimitMs)
            && process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
        mRendering.message += QString::fromLocal8Bit(process.readAll());
        if (!isDone)
            mRendering.message += program + QStringLiteral(" failed");
        return isDone;
    }

    /// Turned upright and in sRGB: a picture without a profile is only told that it is.
    bool magick(const QString& from, const QStringList& arguments)
    {
        const QString to = inFolder(QStringLiteral("upright.png"));
        // Opacity that was taken off would come back with PNG32.
        const bool isOpaque = arguments.contains(QLatin1String("off"));
        const QString kind = isOpaque ? QStringLiteral("PNG24:") : QStringLiteral("PNG32:");
        const QStringList all = QStringList { QStringLiteral("-limit"), QStringLiteral("thread"),
            QStringLiteral("1"), from }
            + arguments
            + QStringList { QStringLiteral("-auto-orient"), QStringLiteral("-profile"), profile(),
                  QStringLiteral("-strip"), QStringLiteral("-depth"), QStringLiteral("8"),
                  QStringLiteral("-define"), QStringLiteral("png:compression-level=1"), kind + to };
        mResult = to;
        return run(programOf(Tool::ImageMagick), all);
    }

    /// The name of what the tool writes.
    QString resultName() const
    {
        switch (mTask.tool) {
        case Tool::Djpeg:
            return inFolder(QStringLiteral("out.bmp"));
        case Tool::HeifConvertToJpeg:
            return inFolder(QStringLiteral("out.jpg"));
        case Tool::DcrawEmu:
            return mSource + QStringLiteral(".ppm"); // It puts that beside the file.
        default:
            return inFolder(QStringLiteral("out.png"));
        }
    }

    /// Runs the tool, whose result is then `mResult`.
    bool decode()
    {
        mResult = resultName();
        const bool isDone = run(programOf(mTask.tool), mTask.arguments + fileArguments());
        if (mTask.tool == Tool::HeifConvert && mTask.frame > 0) // It numbers them.
            mResult = inFolder(QStringLiteral("out-%1.png").arg(mTask.frame));
        return isDone;
    }

    /// How the tool is told what to read and what to write.
    QStringList fileArguments() const
    {
        switch (mTask.tool) {
        case Tool::Djpeg:
            return { QStringLiteral("-bmp"), QStringLiteral("-outfile"), mResult, mSource };
        case Tool::Dwebp:
            return { mSource, QStringLiteral("-o"), mResult };
        case Tool::OpjDecompress:
            return { QStringLiteral("-i"), mSource, QStringLiteral("-o"), mResult };
        case Tool::RsvgConvert:
            return { QStringLiteral("-w"), QString::number(mTask.size.width()),
                QStringLiteral("-h"), QString::number(mTask.size.height()), QStringLiteral("-o"),
                mResult, mSource };
        case Tool::HeifConvertToJpeg:
            return { QStringLiteral("-q"), QStringLiteral("100"), mSource, mResult };
        case Tool::Ffmpeg:
            return { QStringLiteral("-nostdin"), QStringLiteral("-v"), QStringLiteral("error"),
                QStringLiteral("-i"), mSource, QStringLiteral("-frames:v"), QStringLiteral("1"),
                mResult };
        case Tool::DcrawEmu:
            return { mSource };
        default:
            return { mSource, mResult };
        }
    }

    /// The result, as it is stored.
    void read()
    {
        QImageReader reader(mResult);
        reader.setAutoTransform(false);
        QImageReader::setAllocationLimit(0); // Of megabytes; some are large.
        mRendering.image = reader.read();
        if (mRendering.image.isNull())
            mRendering.message += mResult + QLatin1Char(' ') + reader.errorString();
    }

    const RenderingTask& mTask;
    QTemporaryDir mFolder;
    QString mSource;
    QString mResult;
    Rendering mRendering;
};

} // namespace

QString programOf(Tool tool)
{
    switch (tool) {
    case Tool::None:
        return {};
    case Tool::Djpeg:
        return QStringLiteral("djpeg");
    case Tool::ImageMagick:
        return QStringLiteral("convert-im6.q16");
    case Tool::Dwebp:
        return QStringLiteral("dwebp");
    case Tool::HeifConvert:
    case Tool::HeifConvertToJpeg:
        return QStringLiteral("heif-convert");
    case Tool::Djxl:
        return QStringLiteral("djxl");
    case Tool::OpjDecompress:
        return QStringLiteral("opj_decompress");
    case Tool::RsvgConvert:
        return QStringLiteral("rsvg-convert");
    case Tool::DcrawEmu:
        return QStringLiteral("dcraw_emu");
    case Tool::Ffmpeg:
        return QStringLiteral("ffmpeg");
    }
    return {};
}

Rendering rendered(const RenderingTask& task) { return Workshop(task).work(); }

} // namespace quorvane::tests
