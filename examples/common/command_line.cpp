#include "command_line.h"

#include <cmath>
#include <utility>

#include "readers.h"

namespace examples {

void CommandLine::addFile(const std::string& what, std::string& name) { vFiles_.push_back({what, &name}); }

void CommandLine::addFlag(const std::string& name, std::function<void()> action) { mFlags_[name] = std::move(action); }

void CommandLine::addOption(const std::string& name, Action action) { mOptions_[name] = std::move(action); }

void CommandLine::addPath(const std::string& name, std::filesystem::path& path) {
    addOption(name, [&path](const std::string& value) { path = value; });
}

void CommandLine::addCount(const std::string& name, std::size_t& count) {
    addOption(name, [name, &count](const std::string& value) {
        constexpr double MAX_COUNT = 1e9;
        const double number = terrain::toNumber(value).value_or(0);
        if (!(number >= 1 && number <= MAX_COUNT) || number != std::floor(number)) {
            throw UsageError(name + " takes a whole number above 0, not '" + value + "'");
        }
        count = static_cast<std::size_t>(number);
    });
}

void CommandLine::addPositive(const std::string& name, double& number) {
    addOption(name, [name, &number](const std::string& value) {
        number = terrain::toNumber(value).value_or(0);
        if (!(number > 0)) throw UsageError(name + " takes a number above 0, not '" + value + "'");
    });
}

void CommandLine::parse(const std::vector<std::string>& vArguments) const {
    auto file = vFiles_.begin();
    for (auto it = vArguments.begin(); it != vArguments.end(); ++it) {
        if (const auto flag = mFlags_.find(*it); flag != mFlags_.end()) {
            flag->second();
        } else if (const auto option = mOptions_.find(*it); option != mOptions_.end()) {
            if (it + 1 == vArguments.end()) throw UsageError(*it + " needs a value");
            option->second(*++it);
        } else if (it->substr(0, 1) == "-") {
            throw UsageError("unknown option " + *it);
        } else if (file == vFiles_.end()) {
            throw UsageError("nothing is done with " + *it);
        } else {
            *file++->pName = *it;
        }
    }
    if (file != vFiles_.end()) throw UsageError("which " + file->what + "?");
}

}  // namespace examples
