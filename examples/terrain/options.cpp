#include "options.h"

#include <cmath>
#include <optional>

#include "command_line.h"
#include "readers.h"

using examples::UsageError;
using LUMO_TARO25D::Point2;

namespace terrain {

const char* const USAGE =
    "usage: terrain FILE [--height X,Y]... [--threads N] [--out FOLDER] [--no-picture]\n"
    "\n"
    "Triangulates the points of FILE, measures the mesh, checks it and draws it.\n"
    "\n"
    "FILE is an ESRI ASCII grid, text with x y z on each line, or CSV with x,y,z.\n"
    "  --height X,Y   print the height of the ground there; may be repeated\n"
    "  --threads N    insert the points on N threads, 0 for all of the machine (default: 1)\n"
    "  --out FOLDER   write the pictures there (default: the current folder)\n"
    "  --no-picture   draw nothing\n"
    "  --help         print this text\n"
    "\n"
    "Exit status: 0 all is well, 1 the data cannot be used, 2 wrong usage.\n";

namespace {

Point2 parsePlace(const std::string& text) {
    const size_t comma = text.find(',');
    const std::optional<double> x = toNumber(text.substr(0, comma));
    const std::optional<double> y = toNumber(comma == std::string::npos ? "" : text.substr(comma + 1));
    if (!x || !y) throw UsageError("--height takes two numbers X,Y, not '" + text + "'");
    return Point2(*x, *y, 0);
}

int parseNumThreads(const std::string& text) {
    const std::optional<double> num = toNumber(text);
    constexpr double MAX_THREADS = 1024;
    if (!num || !(*num >= 0 && *num <= MAX_THREADS) || *num != std::floor(*num)) {
        throw UsageError("--threads takes a whole number from 0 to 1024, not '" + text + "'");
    }
    return static_cast<int>(*num);
}

}  // namespace

Options parseOptions(const std::vector<std::string>& vArguments) {
    Options options;
    examples::CommandLine line;
    line.addFile("file", options.input);
    line.addOption("--height", [&](const std::string& text) { options.vPlaces.push_back(parsePlace(text)); });
    line.addOption("--threads", [&](const std::string& text) { options.numThreads = parseNumThreads(text); });
    line.addPath("--out", options.outFolder);
    line.addFlag("--no-picture", [&] { options.bPicture = false; });
    line.parse(vArguments);
    return options;
}

}  // namespace terrain
