// Replacing a file as a whole.
//
// The new content goes to a temporary file in the directory of the target, which takes owner and mode of the old file,
// is forced to the disk and renamed over it. A reader, and a crash at any time, finds the old file or the new one.
// Symbolic links are followed first, so that a link stays a link.
//
// Where that cannot work (a device or a pipe, a directory where no file may be made, an owner that cannot be given, a
// mount point), the file is written in place. No other failure leads there: a full disk would fail again, and the old
// file would be lost.

#include "support/replaceFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <utility>

namespace LUMO_TARO25D {

namespace {

namespace fs = std::filesystem;

/// Closes the file; false if that fails. Some write errors show only then.
bool closeChecked(File file) { return std::fclose(file.release()) == 0; }

bool writeInPlace(const std::string& filename, const WriteFunction& write) {
    File file(std::fopen(filename.c_str(), "wbe"));
    return file && write(file.get()) && closeChecked(std::move(file));
}

/// A new file in a directory, which the destructor deletes unless it was renamed.
class Temporary {
  public:
    explicit Temporary(const fs::path& directory) {
        static std::atomic<unsigned> counter{0};
        const std::string prefix = ".taro25d-" + std::to_string(getpid()) + "-";
        do {
            path_ = directory / (prefix + std::to_string(counter++) + ".tmp");
            file_.reset(std::fopen(path_.c_str(), "wbxe"));
        } while (!file_ && errno == EEXIST);
        bExists_ = file_ != nullptr;
    }
    ~Temporary() {
        if (bExists_) unlink(path_.c_str());
    }
    Temporary(const Temporary&) = delete;
    Temporary& operator=(const Temporary&) = delete;

    bool isOpen() const { return file_ != nullptr; }
    /// Takes owner and mode of another file.
    bool resemble(const struct stat& other) {
        const int descriptor = fileno(file_.get());
        struct stat own {};
        if (fstat(descriptor, &own) != 0) return false;
        const bool bSameOwner = own.st_uid == other.st_uid && own.st_gid == other.st_gid;
        return (bSameOwner || fchown(descriptor, other.st_uid, other.st_gid) == 0) &&
               fchmod(descriptor, other.st_mode & 07777) == 0;
    }
    bool writeAndClose(const WriteFunction& write) {
        return write(file_.get()) && fsync(fileno(file_.get())) == 0 && closeChecked(std::move(file_));
    }
    bool rename(const fs::path& target) {
        bExists_ = std::rename(path_.c_str(), target.c_str()) != 0;
        return !bExists_;
    }

  private:
    fs::path path_;
    File file_;
    bool bExists_;
};

/// The path that a name refers to after all symbolic links, whether it exists or not.
fs::path followLinks(fs::path path) {
    constexpr int MAX_LINKS = 40;  // the system follows no more
    std::error_code noLink;
    for (int i = 0; i < MAX_LINKS; ++i) {
        const fs::path target = fs::read_symlink(path, noLink);
        if (noLink) break;
        path = path.parent_path() / target;
    }
    return path;
}

/// Whether the path names this file, and the file is a regular one that may be written.
bool isReplaceable(const fs::path& path, const struct stat& file) {
    struct stat named {};
    return S_ISREG(file.st_mode) && stat(path.c_str(), &named) == 0 && named.st_dev == file.st_dev &&
           named.st_ino == file.st_ino && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

enum Outcome { WRITTEN, FAILED, IN_PLACE_ONLY };

/// The outcome where the system has refused to make or rename a file.
Outcome judgeRefusal() {
    // After any other error, such as a full disk, writing in place would fail too, and destroy the old file.
    for (const int code : {EACCES, EPERM, EROFS, EBUSY, ENAMETOOLONG}) {
        if (errno == code) return IN_PLACE_ONLY;
    }
    return FAILED;
}

/// Replaces a regular file, or creates one, by renaming a temporary file.
Outcome replacePlainFile(const std::string& filename, const WriteFunction& write) {
    struct stat old {};
    const bool bOldExists = stat(filename.c_str(), &old) == 0;
    if (!bOldExists && errno != ENOENT) return IN_PLACE_ONLY;
    const fs::path target = followLinks(filename);
    if (bOldExists ? !isReplaceable(target, old) : !target.has_filename()) return IN_PLACE_ONLY;
    Temporary temporary(target.parent_path());
    if (!temporary.isOpen()) return judgeRefusal();
    if (bOldExists && !temporary.resemble(old)) return IN_PLACE_ONLY;
    if (!temporary.writeAndClose(write)) return FAILED;
    return temporary.rename(target) ? WRITTEN : judgeRefusal();
}

}  // namespace

bool replaceFile(const std::string& filename, const WriteFunction& write) {
    const Outcome outcome = replacePlainFile(filename, write);
    return outcome == WRITTEN || (outcome == IN_PLACE_ONLY && writeInPlace(filename, write));
}

}  // namespace LUMO_TARO25D
