#include "program.h"

#include <cstddef>
#include <exception>
#include <iomanip>
#include <iostream>

#include "readers.h"

namespace examples {

const CLI::Validator POSITIVE_NUMBER(
    [](const std::string& text) {
        return terrain::toNumber(text).value_or(0) > 0 ? std::string() : text + " is not a number above 0";
    },
    "");

const CLI::Validator POSITIVE_COUNT = CLI::Range(std::size_t(1), std::size_t(1000000000)).description("");

int runProgram(CLI::App& app, int numArguments, char** aArguments, const std::function<ExitStatus()>& program) {
    app.footer("Exit status: 0 all is well, 1 the data cannot be used, above 100 wrong usage.");
    try {
        app.parse(numArguments, aArguments);
        return program();
    } catch (const CLI::ParseError& problem) {  // --help is one, too
        return app.exit(problem);
    } catch (const std::exception& problem) {
        std::cerr << app.get_name() << ": " << problem.what() << "\n";
        return BAD_DATA;
    }
}

CLI::Option* addPointFile(CLI::App& app, std::string& filename) {
    const char* const FORMATS = "an ESRI ASCII grid, text with x y z on each line, or CSV with x,y,z";
    return app.add_option("FILE", filename, FORMATS)->required()->type_name("");
}

void printChapter(const std::string& title) { std::cout << "\n" << title << "\n"; }

std::ostream& row(const std::string& name) { return std::cout << "  " << std::left << std::setw(16) << name; }

}  // namespace examples
