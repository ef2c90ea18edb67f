// The triangulation file: the data needed to rebuild the mesh, in the byte order of the machine.
//
//     type tag              int32, always 301
//     number of vertices    uint64
//     for each vertex       x, y, z as doubles
//     number of segments    uint64
//     for each segment      x, y, z of one end, then of the other
//
// The segments are the alive leaves of all constraints. There is no padding and no checksum. A complete file has the
// length that follows from its counts, and all its numbers are finite; any other file is refused before the mesh is
// touched. The content itself is free, since other programs may write such files: points may repeat, segments may
// cross, and their ends need not be among the points.
//
// The file that stores a whole triangulation has the tag 302 (fullMeshFile.cpp).
//
// Writing never leaves a damaged file in the place of a good one (replaceFile).
//
// Both go through the data once, in O(n). Beside the mesh, writing takes 8 bytes of memory for a vertex or segment,
// reading 24 for a vertex and about 200 for a segment.

#include "constraints/meshFile.h"

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "constraints/ConstraintMgr.h"
#include "constraints/fullMeshFile.h"
#include "constraints/meshStream.h"
#include "mesh/Dt2.h"
#include "mesh/meshState.h"
#include "support/LargeVector.h"
#include "support/replaceFile.h"
#include "support/stopping.h"
#include "taro25d/ConstraintSegment2.h"
#include "taro25d/Segment2.h"

namespace LUMO_TARO25D {

namespace {

constexpr std::int32_t TYPE_TAG = 301;
constexpr size_t NUMBERS_PER_VERTEX = 3, NUMBERS_PER_SEGMENT = 6;

/// The content of a file; with the tag 302 only pFull is set.
struct Content {
    LargeVector<double> vCoordinates;  // of the vertices: x, y, z
    std::vector<Segment2> vSegments;
    std::unique_ptr<FullContent> pFull;
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

/// The state of a mesh before a file is loaded into it.
class Before {
  public:
    /// Completes a removal of constraints that was cancelled.
    explicit Before(Dt2& mesh) {
        if (mesh.isEmpty()) return;  // on failure the client's object makes a new mesh
        ConstraintMgr& manager = *mesh.getConstraintManager();
        manager.getRemover().finish();
        restoreMesh_ = rememberMesh(mesh);
        restoreConstraints_ = manager.rememberState();
    }

    /// Takes back all changes since.
    void restore() {
        if (!restoreMesh_) return;
        const NoStopScope noStop;
        restoreConstraints_();
        restoreMesh_();
    }

  private:
    std::function<void()> restoreMesh_, restoreConstraints_;
};

void insertContent(Dt2& mesh, Content content) {
    if (content.pFull) return insertFullContent(mesh, *content.pFull);
    std::vector<Point2*> vHandles;  // needed only where constraints have brought vertices
    {
        const auto vCoordinates = std::move(content.vCoordinates);  // not needed for the segments any more
        const size_t num = vCoordinates.size() / NUMBERS_PER_VERTEX;
        if (mesh.getConstraintKeeper()) vHandles.resize(num);
        mesh.insertBulk(PointSource(num, vCoordinates.data()), vHandles.empty() ? nullptr : vHandles.data());
    }
    if (!content.vSegments.empty()) {
        const PhaseScope phase("segments: ");
        mesh.createConstraint(content.vSegments, CIS_CONSTRAINED_DELAUNAY, false);
    }
    // At last, since a cancelled file leaves nothing behind.
    if (!vHandles.empty()) mesh.getConstraintKeeper()->noteClientsPoints(vHandles.data(), vHandles.size());
}

const char* const unreadable = " can't be read";
const char* const damaged = " is damaged or cut short";

/// Reads a file. Returns the fault as the end of a sentence that begins with the file's name; empty if there is none.
std::string readFile(const std::string& filename, Content& content) try {
    const File file(std::fopen(filename.c_str(), "rbe"));
    if (!file) return unreadable;
    Reader reader(file.get());
    std::int32_t tag = 0;
    const bool bHasTag = reader.read(tag);
    if (bHasTag && tag == FULL_TYPE_TAG) {
        content.pFull = std::make_unique<FullContent>();
        if (readFullContent(reader, *content.pFull)) return "";
        return std::ferror(file.get()) ? unreadable : damaged;
    }
    if (bHasTag && tag != TYPE_TAG) return " should have type 301 but has " + std::to_string(tag);
    if (bHasTag && reader.readRecords(NUMBERS_PER_VERTEX, content.vCoordinates) &&
        readSegments(reader, content.vSegments) && reader.isAtEnd()) {
        return "";
    }
    return std::ferror(file.get()) ? unreadable : damaged;  // a directory, for example, can be opened but not read
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
        CancelPoint<> cancelPoint;
        for (const Point2* pVtx : vVertices) {
            cancelPoint.pass();
            writer.write(*pVtx);
        }
        writer.write(std::uint64_t(vCSegs.size()));
        for (const ConstraintSegment2* pCSeg : vCSegs) {
            cancelPoint.pass();
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
    const FlagScope exact = mesh.takeConstraintsExactly();  // the file decides through which vertices its segments go
    Before before(mesh);
    try {
        insertContent(mesh, std::move(content));
    } catch (...) {
        before.restore();
        throw;
    }
    return true;
}

}  // namespace LUMO_TARO25D
