// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/CommandLine.h"

#include "app/Version.h"
#include "platform/FileStatus.h"
#include "platform/PathRules.h"
#include "platform/TypeIdentifier.h"

namespace quorvane {

namespace {

constexpr int kNothingToShow = 1;
constexpr int kUsageError = 2;

constexpr char kHelp[] = R"(Usage: quorvane [OPTION…] [FILE-OR-FOLDER…]
Shows pictures full screen, one after the other.

  -h, --help       show this and exit
  -v, --version    show the version and exit
  --formats        list what this build can show and exit
  --new-instance   start a program of its own beside one that runs
  --               what follows is a name, even if it begins with "-"

Keys:
  Right, Page Down      next picture        1 … 9   play, that many seconds each
  Left, Page Up         previous picture    0       stop
  Home                  first picture       Space   stop, and next picture
  Ctrl+2 3 4 5          fit, zoom to fit, fill, stretch
  Ctrl++ 1 0            zoom in, a point for each pixel, zoom off
  F5  start or stop     F11 window or full screen             F10     menus
  Ctrl+O  open          F1  user guide      Escape  end the show    Ctrl+Q  quit
)";

/// One type a line, with the extensions of its files.
QByteArray formats()
{
    QByteArray lines;
    for (const QStringList& types :
        { TypeIdentifier::imageTypes(), TypeIdentifier::audiovisualTypes() }) {
        for (const QString& type : types) {
            constexpr int kColumn = 34;
            lines += type.toUtf8().leftJustified(kColumn) + ' '
                + TypeIdentifier::extensionsOf(type).join(QLatin1Char(' ')).toUtf8() + '\n';
        }
    }
    return lines;
}

bool isOption(const QByteArray& argument) { return argument.size() > 1 && argument[0] == '-'; }

CommandLine ending(int status, const QByteArray& output, const QByteArray& errors)
{
    return { {}, false, output, errors, status };
}

void addPath(CommandLine& line, const QByteArray& argument, const QByteArray& currentFolder)
{
    const QByteArray path = argument.startsWith('/') ? argument : joinPath(currentFolder, argument);
    if (!argument.isEmpty() && fileStatus(path))
        line.paths.push_back(path);
    else
        line.errors += "quorvane: no such file or folder: " + argument + '\n';
}

} // namespace

CommandLine parseCommandLine(
    const std::vector<QByteArray>& arguments, const QByteArray& currentFolder)
{
    CommandLine line;
    bool onlyNames = false;
    bool namesAny = false;
    for (const QByteArray& argument : arguments) {
        if (onlyNames || !isOption(argument)) {
            namesAny = true;
            addPath(line, argument, currentFolder);
        } else if (argument == "--") {
            onlyNames = true;
        } else if (argument == "--new-instance") {
            line.isOnItsOwn = true;
        } else if (argument == "-h" || argument == "--help") {
            return ending(0, kHelp, {});
        } else if (argument == "--formats") {
            return ending(0, formats(), {});
        } else if (argument == "-v" || argument == "--version") {
            return ending(0, QByteArray("quorvane ") + kVersion + '\n', {});
        } else {
            return ending(kUsageError, {},
                "quorvane: unknown option: " + argument + " (--help lists them)\n");
        }
    }
    if (namesAny && line.paths.empty())
        line.exitStatus = kNothingToShow;
    return line;
}

} // namespace quorvane
