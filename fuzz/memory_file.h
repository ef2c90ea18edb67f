#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "input.h"

/// A file without a place on the disk.
class MemoryFile {
  public:
    MemoryFile() : descriptor_(memfd_create("mesh", MFD_CLOEXEC)) { require(descriptor_ >= 0, "memfd_create"); }
    ~MemoryFile() { close(descriptor_); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    void write(const void* pBytes, std::size_t size) {
        require(::write(descriptor_, pBytes, size) == static_cast<ssize_t>(size), "write");
    }
    std::string getName() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

  private:
    int descriptor_;
};
