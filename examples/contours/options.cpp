#include "options.h"

#include "command_line.h"

namespace contours {

const char* const USAGE =
    "usage: contours FILE [--interval HEIGHT] [--out FOLDER]\n"
    "\n"
    "Draws the contour lines of the ground through the points of FILE, every fifth one\n"
    "heavier and labelled, and its profile through the highest point.\n"
    "\n"
    "FILE is an ESRI ASCII grid, text with x y z on each line, or CSV with x,y,z.\n"
    "  --interval HEIGHT   between two contours (default: a round one that suits the ground)\n"
    "  --out FOLDER        write the pictures there (default: the current folder)\n"
    "  --help              print this text\n"
    "\n"
    "Exit status: 0 all is well, 1 the data cannot be used, 2 wrong usage.\n";

Options parseOptions(const std::vector<std::string>& vArguments) {
    Options options;
    examples::CommandLine line;
    line.addFile("file", options.input);
    line.addPositive("--interval", options.interval);
    line.addPath("--out", options.outFolder);
    line.parse(vArguments);
    return options;
}

}  // namespace contours
