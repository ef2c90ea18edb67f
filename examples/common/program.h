#pragma once

#include <functional>
#include <iosfwd>
#include <string>
#include <vector>

namespace examples {

/// What a program returns to the shell.
enum ExitStatus { ALL_IS_WELL = 0, BAD_DATA = 1, BAD_USAGE = 2 };

using Program = std::function<ExitStatus(const std::vector<std::string>& vArguments)>;

/// All that a main function does: runs the program, or prints the usage where --help is among the arguments. An
/// exception becomes a message on standard error, a UsageError with the usage after it, and the exit status.
ExitStatus runProgram(const std::string& name, const std::string& usage, int numArguments, char** aArguments,
                      const Program& program);

/// Starts a part of the report on standard output.
void printChapter(const std::string& title);
/// Starts a line of a table.
std::ostream& row(const std::string& name);

}  // namespace examples
