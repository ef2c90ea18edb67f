// Side-by-side measurement against CGAL's Delaunay and constrained Delaunay triangulations and VTK's contours.
//
// Every row of the table pits our side against a reference on the same input in the same run. The two sides take turns,
// so that a slow minute of the machine hits both, and the row gives the median of the rounds' ratios. Each side works
// in a child process of its own, which keeps its memory, and its first turn does not count: where the system provides
// memory only when it is touched, above all in a virtual machine, that can cost as much as the triangulation, and a
// side that gets the other one's fresh pages wins. Rows of memory and threads work in a new process each turn instead,
// as the first call of a client does. Input, preparation and destruction are not timed. Where both sides compute the
// same result, a difference ends the run.

#include <CGAL/version.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "Worker.h"
#include "rows.h"
#ifdef TARO25D_COMPARE_VTK
#include "vtk_contours.h"
#endif

namespace {

using namespace bench;

std::vector<Row> makeRows(Scale size) {
    std::vector<Row> vRows;
    for (const auto makeTopic : {bulkRows, pointRows, constraintRows, networkRows, rasterRows, volumeRows,
#ifdef TARO25D_COMPARE_VTK
                                 contourRows,
#endif
                                 cliffRows, threadRows, memoryRows}) {
        for (Row& row : makeTopic(size)) vRows.push_back(std::move(row));
    }
    return vRows;
}

struct Options {
    double scale = 1.0;
    int numRounds = 5;
    bool bFresh = false;  // a new process for each turn, which pays for its memory
    std::string only;     // part of a row's name
};

struct Outcome {
    std::vector<Sample> vOurs, vReference;
    std::vector<double> vRatios;

    void add(const Sample& ours, const Sample& reference, double Sample::*measure) {
        vOurs.push_back(ours);
        vReference.push_back(reference);
        vRatios.push_back(ours.*measure / reference.*measure);
    }
};

double median(std::vector<double> vValues) {
    std::sort(vValues.begin(), vValues.end());
    const std::size_t half = vValues.size() / 2;
    return vValues.size() % 2 == 1 ? vValues[half] : 0.5 * (vValues[half - 1] + vValues[half]);
}

double median(const std::vector<Sample>& vSamples, double Sample::*measure) {
    std::vector<double> vValues;
    for (const Sample& sample : vSamples) vValues.push_back(sample.*measure);
    return median(std::move(vValues));
}

Outcome run(const Row& row, const Options& options) {
    const Contest contest = row.prepare();
    malloc_trim(0);
    const bool bFresh = options.bFresh || row.bFresh;
    std::unique_ptr<Worker> pOurs, pReference;
    Outcome outcome;
    for (int round = bFresh ? 1 : 0; round <= options.numRounds; ++round) {
        if (bFresh || round == 0) {
            pOurs = std::make_unique<Worker>(contest.ours, !bFresh);
            pReference = std::make_unique<Worker>(contest.reference, !bFresh);
        }
        const Sample ours = pOurs->turn(), reference = pReference->turn();
        if (contest.bSameResult && ours.result != reference.result)
            throw std::runtime_error(std::string(row.name) + ": the two sides disagree");
        if (round > 0) outcome.add(ours, reference, row.measure);
    }
    return outcome;
}

/// Processor time with the wall clock beside it, or bytes.
std::string describe(const std::vector<Sample>& vSamples, bool bMemory) {
    std::ostringstream text;
    text << std::fixed;
    if (bMemory)
        text << std::setprecision(0) << median(vSamples, &Sample::peak) << " B";
    else
        text << std::setprecision(3) << median(vSamples, &Sample::cpu) << " s (" << median(vSamples, &Sample::wall)
             << ")";
    return text.str();
}

std::string tableLine(const Row& row, const Outcome& outcome) {
    const bool bMemory = row.measure == &Sample::peak;
    const double ratio = median(outcome.vRatios);
    const bool bBytes = bMemory && !row.bRatio;
    const double judged = bBytes ? median(outcome.vOurs, row.measure) : ratio;
    const auto [lowest, highest] = std::minmax_element(outcome.vRatios.begin(), outcome.vRatios.end());
    std::ostringstream line;
    line << "| " << row.name << " | " << row.work << " | " << row.reference << " | " << describe(outcome.vOurs, bMemory)
         << " | " << describe(outcome.vReference, bMemory) << " | at most " << row.goal << (bBytes ? " B" : " x")
         << " | " << std::fixed << std::setprecision(3) << ratio << " (" << *lowest << " to " << *highest << ") | "
         << (judged <= row.goal ? "yes" : "**no**") << " |\n";
    return line.str();
}

std::string processorName() {
    std::ifstream file("/proc/cpuinfo");
    for (std::string line; std::getline(file, line);)
        if (line.rfind("model name", 0) == 0) return line.substr(line.find(':') + 2);
    return "unknown processor";
}

Options readOptions(int argc, char** argv) {
    Options options;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        const bool bHasValue = i + 1 < argc;
        if (option == "--quick") {
            options.scale = 0.1;
            options.numRounds = 3;
        } else if (option == "--fresh") {
            options.bFresh = true;
        } else if (option == "--rounds" && bHasValue) {
            options.numRounds = std::max(1, std::atoi(argv[++i]));
        } else if (option == "--only" && bHasValue) {
            options.only = argv[++i];
        } else {
            throw std::runtime_error("usage: compare [--quick] [--fresh] [--rounds N] [--only PART_OF_NAME]");
        }
    }
    return options;
}

void printHead(int argc, char** argv, const Options& options) {
    std::cout << "- machine: " << processorName() << ", " << sysconf(_SC_NPROCESSORS_ONLN) << " cores\n"
              << "- compiler: g++ " << __VERSION__ << "; CGAL " << CGAL_VERSION_STR;
#ifdef TARO25D_COMPARE_VTK
    std::cout << "; VTK " << vtkVersion();
#endif
    std::cout << "\n- command: `";
    for (int i = 0; i < argc; ++i) std::cout << (i ? " " : "") << argv[i];
    std::cout << "`, the median of " << options.numRounds << " rounds\n";
    if (options.scale != 1.0)
        std::cout << "- **sizes are " << options.scale << " x those stated: the goals do not apply**\n";
#if !defined(__OPTIMIZE__) || !defined(NDEBUG)
    std::cout << "- **not an optimised build: the numbers mean nothing**\n";
#endif
}

void compare(int argc, char** argv) {
    const Options options = readOptions(argc, argv);
    std::string table;
    for (const Row& row : makeRows({options.scale})) {
        if (std::string(row.name).find(options.only) == std::string::npos) continue;
        const std::string line = tableLine(row, run(row, options));
        std::cerr << line;
        table += line;
    }
    if (table.empty()) throw std::runtime_error("no row has a name with " + options.only);
    printHead(argc, argv, options);
    std::cout << "\n| row | work | against | ours: processor (wall) | reference | goal | ratio (range) | "
                 "reached |\n"
              << "|---|---|---|---|---|---|---|---|\n"
              << table;
}

}  // namespace

int main(int argc, char** argv) {
    try {
        compare(argc, argv);
    } catch (const std::exception& failure) {
        std::cerr << "compare: " << failure.what() << "\n";
        return 1;
    }
}
