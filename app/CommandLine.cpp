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
  --dbus-service   show nothing until the session bus says what; for its use
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

CommandLine endingWith(int status, const QByteArray& output, const QByteArray& errors)
{
    CommandLine line;
    line.output = output;
    line.errors = errors;
    line.exitStatus = status;
    return line;
}

/// An option that is all there is to do, or none of ours.
CommandLine ending(const QByteArray& option)
{
    if (option == "-h" || option == "--help")
        return endingWith(0, kHelp, {});
    if (option == "--formats")
        return endingWith(0, formats(), {});
    if (option == "-v" || option == "--version")
        return endingWith(0, QByteArray("quorvane ") + kVersion + '\n', {});
    return endingWith(
        kUsageError, {}, "quorvane: unknown option: " + option + " (--help lists them)\n");
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
        } else if (argument == "--dbus-service") {
            line.isService = true;
        } else {
            return ending(argument);
        }
    }
    line.isService = line.isService && !namesAny && !line.isOnItsOwn;
    if (namesAny && line.paths.empty())
        line.exitStatus = kNothingToShow;
    return line;
}

} // namespace quorvane
