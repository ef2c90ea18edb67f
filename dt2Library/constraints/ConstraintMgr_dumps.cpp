// Files with the constraints of each graph, for the library's developers.

#include <cstdint>
#include <fstream>
#include <iomanip>
#include <limits>
#include <string>
#include <vector>

#include "constraints/ConstraintMgr.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

namespace {

/// Returns the alive pieces of a graph and prints the name of the file that they go to.
std::vector<ConstraintSegment2*> announceDump(const ConstraintGraph2& graph, const std::string& filename) {
    std::vector<ConstraintSegment2*> vPieces;
    graph.getChildConstraintSegments(vPieces);
    Note("ConstraintMgr::writeConstraints()")
        << "writes " << vPieces.size() << " child segments to " << filename << "\n";
    return vPieces;
}

}  // namespace

/// The first line has the number of segments; then each segment has a line with x, y and z of its source and target,
/// printed so that reading gives equal numbers.
void ConstraintMgr::writeConstraints(const std::string& prefix) const {
    for (size_t i = 0; i < vGraphs_.size(); ++i) {
        const std::string filename = prefix + "_c" + std::to_string(i) + ".con";
        const std::vector<ConstraintSegment2*> vPieces = announceDump(*vGraphs_[i], filename);
        std::ofstream file(filename);
        file << std::setprecision(std::numeric_limits<double>::max_digits10) << vPieces.size() << "\n";
        for (const ConstraintSegment2* pCSeg : vPieces) {
            const Point2 &src = *pCSeg->getSrc(), &trg = *pCSeg->getTrg();
            file << src.x() << " " << src.y() << " " << src.z() << " " << trg.x() << " " << trg.y() << " " << trg.z()
                 << "\n";
        }
        if (!file.flush()) warning("ConstraintMgr::writeConstraints()", "Cannot write " + filename);
    }
}

/// Binary, in the byte order of the machine: the number of segments in 8 bytes, then 6 doubles for each.
void ConstraintMgr::writeConstraintsBIN(const std::string& prefix) const {
    for (size_t i = 0; i < vGraphs_.size(); ++i) {
        const std::string filename = prefix + "_c" + std::to_string(i) + "_con.bin";
        const std::vector<ConstraintSegment2*> vPieces = announceDump(*vGraphs_[i], filename);
        std::ofstream file(filename, std::ios::binary);
        const std::uint64_t numPieces = vPieces.size();
        file.write(reinterpret_cast<const char*>(&numPieces), sizeof(numPieces));
        for (const ConstraintSegment2* pCSeg : vPieces) {
            const Point2 &src = *pCSeg->getSrc(), &trg = *pCSeg->getTrg();
            const double aNumbers[6] = {src.x(), src.y(), src.z(), trg.x(), trg.y(), trg.z()};
            file.write(reinterpret_cast<const char*>(aNumbers), sizeof(aNumbers));
        }
        if (!file.flush()) warning("ConstraintMgr::writeConstraintsBIN()", "Cannot write " + filename);
    }
}

}  // namespace LUMO_TARO25D
