#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "constraints/meshStream.h"
#include "support/LargeVector.h"
#include "taro25d/ConstraintInsertionStrategy.h"

namespace LUMO_TARO25D {

class Dt2;

constexpr std::int32_t FULL_TYPE_TAG = 302;

/// The content of a file with the tag 302.
struct FullContent {
    /// A graph: its alive pieces by the numbers of their vertices, in its direction.
    struct Graph {
        ConstraintInsertionStrategy cis;
        bool bOriented;
        std::string name;
        LargeVector<std::uint32_t> vEnds;  // two for each piece
    };

    std::string name;                  // of the triangulation
    LargeVector<double> vCoordinates;  // of the vertices: x, y, z
    LargeVector<std::int32_t> vCustomIndices;
    std::vector<Graph> vGraphs;
};

/// Writes vertices with custom indices, names, and graphs; false after a line on standard output when writing fails.
bool saveFullMesh(const Dt2& mesh, const char* filename);
/// Reads the content after the tag; false unless it is complete, all coordinates are finite, and the ends of pieces are
/// among the vertices.
bool readFullContent(Reader& reader, FullContent& content);
/// Inserts the content into a mesh. The pieces become edges unchanged: they are split only at vertices and constraints
/// that the mesh had before.
void insertFullContent(Dt2& mesh, const FullContent& content);

}  // namespace LUMO_TARO25D
