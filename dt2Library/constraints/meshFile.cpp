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
// Writing never leaves a damaged file in the place of a good one (replaceFile).
//
// Both go through the data once, in O(n). Beside the mesh, writing takes 8 bytes of memory for a vertex or segment,
// reading 24 for a vertex and about 200 for a segment.

#include "constraints/meshFile.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <new>
#include <utility>
#include <vector>

#include "kernel/tools.h"
#include "mesh/Dt2.h"
#include "support/LargeVector.h"
#include "support/replaceFile.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Segment2.h"

namespace LUMO_TARO25D {

namespace {

constexpr std::int32_t TYPE_TAG = 301;
constexpr size_t NUMBERS_PER_VERTEX = 3, NUMBERS_PER_SEGMENT = 6;

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

bool saveMesh(const Dt2& mesh, const char* filename) {
    std::vector<Point2*> vVertices;
    std::vector<ConstraintSegment2*> vCSegs;
    mesh.getVertexPointers(vVertices);
    mesh.getAliveConstraintSegments(vCSegs);
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
    if (replaceFile(name, write)) return true;
    Note("Dt2::save()", ML_WARNING) << name << " can't be written\n";
    return false;
}

bool loadMesh(Dt2& mesh, const char* filename) {
    const std::string name = filename ? filename : "";
    Content content;
    const std::string complaint = readFile(name, content);
    if (!complaint.empty()) {
        Note("Dt2::load()", ML_WARNING) << name << complaint << "\n";
        return false;
    }
    const FlagScope exact =
        mesh.takeConstraintsExactly();  // which vertices its segments go through has been decided already
    {
        const auto vCoordinates = std::move(content.vCoordinates);  // not needed for the segments any more
        mesh.insertBulk(PointSource(vCoordinates.size() / NUMBERS_PER_VERTEX, vCoordinates.data()), nullptr);
    }
    if (!content.vSegments.empty()) mesh.createConstraint(content.vSegments, CIS_CONSTRAINED_DELAUNAY, false);
    return true;
}

}  // namespace LUMO_TARO25D
