// The triangulation file: what is needed to build the mesh again, in the byte order of the machine.
//
//     type tag              int32, always 301
//     number of vertices    uint64
//     for each vertex       x, y, z as doubles
//     number of segments    uint64
//     for each segment      x, y, z of one end, then of the other
//
// The segments are the alive leaves of all constraints. There is no padding and no checksum, so reading goes by what
// holds of every file that was written whole: its length follows from the counts, and all numbers are finite. Whatever
// breaks this is refused before the mesh is touched. Another program may have written the rest as it likes: points may
// repeat, segments may cross, and their ends need not be among the points. No memory is taken for data that is not there:
// the counts are held against the length of a file first, and a pipe is read in steps.
//
// Writing never leaves a damaged file in the place of a good one: the new file is written beside it, forced to the disk,
// and renamed, which the system does as a whole or not at all. That asks for a plain file where files may be made;
// anything else (a device, a pipe, a file that is mounted by itself or whose owner would change) is written in place.
//
// Both go through the data once, in O(n). Beside the mesh, writing takes 8 bytes of memory for a vertex or segment,
// reading 24 for a vertex and about 200 for a segment.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <iostream>
#include <limits>
#include <memory>
#include <new>
#include <utility>

#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/LargeVector.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Segment2.h"

namespace LUMO_TARO25D {

namespace {

namespace fs = std::filesystem;

constexpr std::int32_t TYPE_TAG = 301;
constexpr size_t NUMBERS_PER_VERTEX = 3, NUMBERS_PER_SEGMENT = 6;

struct FileCloser {
    void operator()(std::FILE* pFile) const { std::fclose(pFile); }
};
using File = std::unique_ptr<std::FILE, FileCloser>;

/// Some errors come to light only now.
bool closeChecked(File file) { return std::fclose(file.release()) == 0; }

// ---------------------------------------------------------------------------------------------------------------------
// Writing

class Writer {
  public:
    explicit Writer(std::FILE* pFile) : pFile_(pFile) {}

    template <class T>
    void write(const T& value) {
        bWell_ = bWell_ && std::fwrite(&value, sizeof(value), 1, pFile_) == 1;
    }
    /// A height that is not finite, as a client may have set it, could not be read again: it counts as a failure.
    void write(const Point2& point) {
        bWell_ = bWell_ && isFinite(point);
        write(point.x());
        write(point.y());
        write(point.z());
    }
    /// Whether everything has been written.
    bool finish() { return bWell_ && std::fflush(pFile_) == 0; }

  private:
    std::FILE* pFile_;
    bool bWell_ = true;
};

using WriteFunction = std::function<bool(std::FILE*)>;

bool writeInPlace(const std::string& filename, const WriteFunction& write) {
    File file(std::fopen(filename.c_str(), "wbe"));
    return file && write(file.get()) && closeChecked(std::move(file));
}

/// A new file in a directory. It is gone again in the end unless it got another name.
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

/// What a name stands for at the end of symbolic links, whether it exists or not.
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

/// Whether the path names this file, and the file is plain and may be written.
bool isReplaceable(const fs::path& path, const struct stat& file) {
    struct stat named {};
    return S_ISREG(file.st_mode) && stat(path.c_str(), &named) == 0 && named.st_dev == file.st_dev &&
           named.st_ino == file.st_ino && faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0;
}

enum Outcome { WRITTEN, FAILED, IN_PLACE_ONLY };

/// The outcome where the system has refused to make or rename a file.
Outcome judgeRefusal() {
    // A full disk, say, would also fail a file that is written in place, and cost the old one.
    for (const int code : {EACCES, EPERM, EROFS, EBUSY, ENAMETOOLONG}) {
        if (errno == code) return IN_PLACE_ONLY;
    }
    return FAILED;
}

/// Puts a new file in the place of a plain one, or of none.
Outcome replaceFile(const std::string& filename, const WriteFunction& write) {
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

// ---------------------------------------------------------------------------------------------------------------------
// Reading

class Reader {
  public:
    explicit Reader(std::FILE* pFile) : pFile_(pFile) {
        struct stat info {};
        bLengthKnown_ = fstat(fileno(pFile), &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0;
        numBytesLeft_ = bLengthKnown_ ? static_cast<std::uint64_t>(info.st_size) : MAX_LENGTH;
    }

    template <class T>
    bool read(T& value) {
        return readBytes(&value, sizeof(value));
    }
    /// Reads a count and as many records; false unless all of that is there and the numbers are finite.
    bool readRecords(size_t numPerRecord, LargeVector<double>& vNumbers) {
        std::uint64_t numRecords = 0;
        if (!read(numRecords) || numRecords > numBytesLeft_ / (numPerRecord * sizeof(double))) return false;
        if (bLengthKnown_) vNumbers.reserve(numRecords * numPerRecord);
        while (numRecords > 0) {
            const size_t numInStep = std::min<std::uint64_t>(numRecords, RECORDS_PER_STEP);
            if (!readNumbers(numInStep * numPerRecord, vNumbers)) return false;
            numRecords -= numInStep;
        }
        return true;
    }
    bool isAtEnd() { return std::fgetc(pFile_) == EOF && !std::ferror(pFile_); }

  private:
    static constexpr std::uint64_t MAX_LENGTH = std::numeric_limits<std::uint64_t>::max();
    static constexpr size_t RECORDS_PER_STEP = 1 << 14;

    bool readBytes(void* pBytes, size_t numBytes) {
        if (numBytes > numBytesLeft_ || std::fread(pBytes, 1, numBytes, pFile_) != numBytes) return false;
        numBytesLeft_ -= numBytes;
        return true;
    }
    bool readNumbers(size_t n, LargeVector<double>& vNumbers) {
        vNumbers.resize(vNumbers.size() + n);
        double *const pEnd = vNumbers.data() + vNumbers.size(), *const pBegin = pEnd - n;
        return readBytes(pBegin, n * sizeof(double)) &&
               std::all_of(pBegin, pEnd, [](double number) { return std::isfinite(number); });
    }

    std::FILE* pFile_;
    bool bLengthKnown_;
    std::uint64_t numBytesLeft_;
};

/// What a file holds.
struct Content {
    LargeVector<double> vCoordinates;  // of the vertices: x, y, z
    std::vector<Segment2> vSegments;
};

bool readSegments(Reader& reader, std::vector<Segment2>& vSegments) {
    LargeVector<double> vNumbers;
    if (!reader.readRecords(NUMBERS_PER_SEGMENT, vNumbers)) return false;
    vSegments.reserve(vNumbers.size() / NUMBERS_PER_SEGMENT);
    for (size_t i = 0; i < vNumbers.size(); i += NUMBERS_PER_SEGMENT) {
        const double* p = &vNumbers[i];
        vSegments.emplace_back(Point2(p[0], p[1], p[2]), Point2(p[3], p[4], p[5]));
    }
    return true;
}

const char* const unreadable = " can't be read";
const char* const damaged = " is damaged or cut short";

/// Returns what is wrong with the file; nothing if it has been read.
std::string readFile(const std::string& filename, Content& content) try {
    const File file(std::fopen(filename.c_str(), "rbe"));
    if (!file) return unreadable;
    Reader reader(file.get());
    std::int32_t tag = 0;
    const bool bHasTag = reader.read(tag);
    if (bHasTag && tag != TYPE_TAG) return " should have type 301 but has " + std::to_string(tag);
    if (bHasTag && reader.readRecords(NUMBERS_PER_VERTEX, content.vCoordinates) &&
        readSegments(reader, content.vSegments) && reader.isAtEnd()) {
        return "";
    }
    return std::ferror(file.get()) ? unreadable : damaged;  // a directory, for one, opens well and then fails
} catch (const std::bad_alloc&) {
    return unreadable;
}

}  // namespace

bool Dt2::save(const char* filename) const {
    std::vector<Point2*> vVertices;
    std::vector<ConstraintSegment2*> vCSegs;
    getVertexPointers(vVertices);
    getAliveConstraintSegments(vCSegs);
    const auto write = [&](std::FILE* pFile) {
        Writer writer(pFile);
        writer.write(TYPE_TAG);
        writer.write(std::uint64_t(vVertices.size()));
        for (const Point2* pVtx : vVertices) writer.write(*pVtx);
        writer.write(std::uint64_t(vCSegs.size()));
        for (const ConstraintSegment2* pCSeg : vCSegs) {
            writer.write(*pCSeg->getSrc());
            writer.write(*pCSeg->getTrg());
        }
        return writer.finish();
    };
    const std::string name = filename ? filename : "";
    const Outcome outcome = replaceFile(name, write);
    if (outcome == WRITTEN || (outcome == IN_PLACE_ONLY && writeInPlace(name, write))) return true;
    Note("Dt2::save()", ML_WARNING) << name << " can't be written\n";
    return false;
}

bool Dt2::load(const char* filename) {
    const std::string name = filename ? filename : "";
    Content content;
    const std::string complaint = readFile(name, content);
    if (!complaint.empty()) {
        Note("Dt2::load()", ML_WARNING) << name << complaint << "\n";
        return false;
    }
    const FlagScope exact(bExactConstraints_);  // what vertices its segments go through has been decided already
    {
        const auto vCoordinates = std::move(content.vCoordinates);  // not needed for the segments any more
        insertBulk(PointSource(vCoordinates.size() / NUMBERS_PER_VERTEX, vCoordinates.data()), nullptr);
    }
    if (!content.vSegments.empty()) createConstraint(content.vSegments, CIS_CONSTRAINED_DELAUNAY, false);
    return true;
}

}  // namespace LUMO_TARO25D
