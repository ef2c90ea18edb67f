#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <iosfwd>
#include <string>

namespace examples {

/// What a program returns to the shell; above 100, CLI11 says what is wrong with the command line.
enum ExitStatus { ALL_IS_WELL = 0, BAD_DATA = 1 };

/// The body of a main function whose app has its options: reads the command line, then runs the program. Exceptions
/// become a message on standard error and an exit status. CLI::ParseError is for an option that turns out to be wrong.
int runProgram(CLI::App& app, int numArguments, char** aArguments, const std::function<ExitStatus()>& program);

/// Names the file with points that a program reads, and the formats that are understood.
CLI::Option* addPointFile(CLI::App& app, std::string& filename);

/// Checks an option that takes any finite number above 0.
extern const CLI::Validator POSITIVE_NUMBER;
/// Checks an option that takes a whole number above 0, at most a thousand million.
extern const CLI::Validator POSITIVE_COUNT;

/// Starts a part of the report on standard output.
void printChapter(const std::string& title);
/// Starts a line of a table.
std::ostream& row(const std::string& name);

}  // namespace examples
