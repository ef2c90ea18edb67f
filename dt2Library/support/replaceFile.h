#pragma once

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

namespace LUMO_TARO25D {

struct FileCloser {
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

/// Writes what a file shall hold; false where that fails. Called at most twice.
using WriteFunction = std::function<bool(std::FILE*)>;

/// Writes a file, and never leaves a damaged one in the place of a good one: the new file is written beside it, forced to
/// the disk, and renamed, which the system does as a whole or not at all. That asks for a plain file where files may be
/// made; anything else (a device, a pipe, a file that is mounted by itself or whose owner would change) is written in
/// place. False if the file cannot be written; an exception of the function leaves the old file too.
bool replaceFile(const std::string& filename, const WriteFunction& write);

}  // namespace LUMO_TARO25D
