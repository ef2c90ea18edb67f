#include "options.h"

#include <optional>
#include <vector>

#include "readers.h"

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

namespace {

double parseInterval(const std::string& text) {
    const std::optional<double> interval = terrain::toNumber(text);
    if (!interval || !(*interval > 0)) throw UsageError("--interval takes a height above 0, not '" + text + "'");
    return *interval;
}

}  // namespace

Options parseOptions(int numArguments, char** aArguments) {
    const std::vector<std::string> vArguments(aArguments + 1, aArguments + numArguments);
    Options options;
    for (auto it = vArguments.begin(); it != vArguments.end(); ++it) {
        const auto value = [&] {
            if (it + 1 == vArguments.end()) throw UsageError(*it + " needs a value");
            return *++it;
        };
        if (*it == "--help" || *it == "-h") {
            options.bHelp = true;
        } else if (*it == "--interval") {
            options.interval = parseInterval(value());
        } else if (*it == "--out") {
            options.outFolder = value();
        } else if (it->substr(0, 1) == "-") {
            throw UsageError("unknown option " + *it);
        } else if (!options.input.empty()) {
            throw UsageError("more than one file: " + options.input + " and " + *it);
        } else {
            options.input = *it;
        }
    }
    if (!options.bHelp && options.input.empty()) throw UsageError("which file?");
    return options;
}

}  // namespace contours
