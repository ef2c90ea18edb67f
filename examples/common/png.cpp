// PostScript becomes PNG in ghostscript, which runs as a child process without a shell.

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>
#include <iostream>
#include <vector>

#include "png.h"
#include "readers.h"

namespace examples {

namespace {

/// Runs a program found in PATH to its end; true if it was found and succeeded.
bool run(const std::vector<std::string>& vArguments) {
    std::vector<char*> vRaw;
    for (const std::string& argument : vArguments) vRaw.push_back(const_cast<char*>(argument.c_str()));
    vRaw.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawnp(&child, vRaw[0], nullptr, nullptr, vRaw.data(), environ) != 0) return false;
    int status = 0;
    return waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

/// A path as ghostscript takes it for an output file: a '%' would stand for the number of the page.
std::string escaped(const std::string& path) {
    std::string result;
    for (const char c : path) result += c == '%' ? "%%" : std::string(1, c);
    return result;
}

/// False where ghostscript is not installed or fails.
bool convert(const std::string& filename, const Part& part) {
    // Absolute, so that no name looks like an option. Three pixels make one, which smooths all edges. The drawing
    // begins 50 points from the left of the page, and 200 from its lower edge.
    constexpr double LEFT = 50, BOTTOM = 200, MARGIN = 10;
    const auto size = [](double extent) { return std::to_string(static_cast<int>(std::ceil(extent + 2 * MARGIN))); };
    const auto shift = [](double edge) { return std::to_string(static_cast<int>(MARGIN - edge)); };
    const std::filesystem::path input = std::filesystem::absolute(filename);
    const std::string output = escaped(std::filesystem::path(input).replace_extension(".png"));
    return run({"gs", "-q", "-dSAFER", "-dBATCH", "-dNOPAUSE", "-sDEVICE=png16m", "-r600", "-dDownScaleFactor=3",
                "-dDEVICEWIDTHPOINTS=" + size(part.width), "-dDEVICEHEIGHTPOINTS=" + size(part.height), "-dFIXEDMEDIA",
                "-sOutputFile=" + output, "-c",
                "<< /Install { " + shift(LEFT) + " " + shift(BOTTOM + part.below) + " translate } >> setpagedevice",
                "-f", input});
}

}  // namespace

void addPng(const std::string& filename, const Part& part) {
    if (!std::filesystem::is_regular_file(filename)) throw terrain::BadInput(filename + ": cannot be written");
    if (convert(filename, part)) return;
    std::cout << "  no PNG of " << filename << ": ghostscript (gs) is missing or failed\n";
}

}  // namespace examples
