#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

namespace examples {

/// A command line that is not understood; the message says why.
class UsageError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

/// What may stand on the command line of a program: files, and options anywhere between them. What is found goes to the
/// variables and functions that were named with them.
class CommandLine {
  public:
    using Action = std::function<void(const std::string& value)>;

    /// A file that must be given. Several come in the order in which they were added.
    void addFile(const std::string& what, std::string& name);
    /// An option without a value.
    void addFlag(const std::string& name, std::function<void()> action);
    /// An option with a value, which may throw UsageError.
    void addOption(const std::string& name, Action action);
    void addPath(const std::string& name, std::filesystem::path& path);
    /// For a whole number above 0.
    void addCount(const std::string& name, std::size_t& count);
    /// For any finite number above 0.
    void addPositive(const std::string& name, double& number);

    /// Throws UsageError for what is missing, unknown, or too much.
    void parse(const std::vector<std::string>& vArguments) const;

  private:
    struct File {
        std::string what;
        std::string* pName;
    };
    std::vector<File> vFiles_;
    std::map<std::string, std::function<void()>> mFlags_;
    std::map<std::string, Action> mOptions_;
};

}  // namespace examples
