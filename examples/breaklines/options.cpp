#include "options.h"

#include "command_line.h"

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

Options parseOptions(const std::vector<std::string>& vArguments) {
    Options options;
    examples::CommandLine line;
    line.addFile("grid", options.input);
    line.addCount("--cells", options.minCells);
    line.addCount("--step", options.step);
    line.addPath("--out", options.outFolder);
    line.addFlag("--no-picture", [&] { options.bPicture = false; });
    line.parse(vArguments);
    return options;
}

}  // namespace breaklines
