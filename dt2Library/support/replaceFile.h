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

/// Writes the content of a file; false if that fails. Called at most twice.
using WriteFunction = std::function<bool(std::FILE*)>;

/// Writes a file without ever leaving a damaged one in place of a good one: the new file is written beside the old one,
/// forced to the disk, and renamed over it, which is atomic. This takes a regular file in a directory where files may
/// be made; anything else (a device, a pipe, a mount point, a file whose owner would change) is written in place. False
/// if the file cannot be written. An exception of the function leaves the old file as it was.
bool replaceFile(const std::string& filename, const WriteFunction& write);

}  // namespace LUMO_TARO25D
