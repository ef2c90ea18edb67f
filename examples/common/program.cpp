#include "program.h"

#include <algorithm>
#include <exception>
#include <iomanip>
#include <iostream>

#include "command_line.h"

namespace examples {

ExitStatus runProgram(const std::string& name, const std::string& usage, int numArguments, char** aArguments,
                      const Program& program) {
    const std::vector<std::string> vArguments(aArguments + 1, aArguments + numArguments);
    const auto asksForHelp = [](const std::string& argument) { return argument == "--help" || argument == "-h"; };
    if (std::any_of(vArguments.begin(), vArguments.end(), asksForHelp)) {
        std::cout << usage;
        return ALL_IS_WELL;
    }
    try {
        return program(vArguments);
    } catch (const UsageError& problem) {
        std::cerr << name << ": " << problem.what() << "\n\n" << usage;
        return BAD_USAGE;
    } catch (const std::exception& problem) {
        std::cerr << name << ": " << problem.what() << "\n";
        return BAD_DATA;
    }
}

void printChapter(const std::string& title) { std::cout << "\n" << title << "\n"; }

std::ostream& row(const std::string& name) { return std::cout << "  " << std::left << std::setw(16) << name; }

}  // namespace examples
