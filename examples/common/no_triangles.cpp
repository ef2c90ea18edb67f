#include "no_triangles.h"

#include "readers.h"
#include "taro25d/Taro_2D.h"

using namespace LUMO_TARO25D;

namespace examples {

void failWithoutTriangles(const std::string& filename, const std::vector<Point2>& vAllPoints,
                          const std::string& reason) {
    Taro_2D all;
    all.insert(vAllPoints);
    throw terrain::BadInput(filename + ": " + (all.is2D() ? reason : "all points lie on one line, no triangles"));
}

}  // namespace examples
