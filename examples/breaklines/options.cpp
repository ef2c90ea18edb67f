#include "options.h"

#include <cmath>
#include <optional>
#include <vector>

#include "readers.h"

namespace breaklines {

const char* const USAGE =
    "usage: breaklines GRID [--cells N] [--step N] [--out FOLDER] [--no-picture]\n"
    "\n"
    "Traces the streams of an elevation grid, triangulates some of its points, forces the streams into the mesh\n"
    "as breaklines, saves and loads it, and draws it.\n"
    "\n"
    "GRID is an ESRI ASCII grid; cells without data are outside.\n"
    "  --cells N      a stream begins where N cells of the grid drain through one (default: 300)\n"
    "  --step N       the mesh gets every Nth row and column of the grid (default: 6)\n"
    "  --out FOLDER   write the mesh and the picture there (default: the current folder)\n"
    "  --no-picture   draw nothing\n"
    "  --help         print this text\n"
    "\n"
    "Exit status: 0 all is well, 1 the data cannot be used, 2 wrong usage.\n";

namespace {

std::size_t parseCount(const std::string& option, const std::string& text) {
    const std::optional<double> number = terrain::toNumber(text);
    constexpr double MAX_COUNT = 1e9;
    if (!number || !(*number >= 1 && *number <= MAX_COUNT) || *number != std::floor(*number)) {
        throw UsageError(option + " takes a whole number above 0, not '" + text + "'");
    }
    return static_cast<std::size_t>(*number);
}

}  // namespace

Options parseOptions(int numArguments, char** aArguments) {
    const std::vector<std::string> vArguments(aArguments + 1, aArguments + numArguments);
    Options options;
    for (auto it = vArguments.begin(); it != vArguments.end(); ++it) {
        const std::string& option = *it;
        const auto value = [&] {
            if (it + 1 == vArguments.end()) throw UsageError(option + " needs a value");
            return *++it;
        };
        if (option == "--help" || option == "-h") {
            options.bHelp = true;
        } else if (option == "--no-picture") {
            options.bPicture = false;
        } else if (option == "--out") {
            options.outFolder = value();
        } else if (option == "--cells") {
            options.minCells = parseCount(option, value());
        } else if (option == "--step") {
            options.step = parseCount(option, value());
        } else if (option.substr(0, 1) == "-") {
            throw UsageError("unknown option " + option);
        } else if (!options.input.empty()) {
            throw UsageError("more than one file: " + options.input + " and " + option);
        } else {
            options.input = option;
        }
    }
    if (!options.bHelp && options.input.empty()) throw UsageError("which file?");
    return options;
}

}  // namespace breaklines
