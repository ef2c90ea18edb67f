#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "taro25d/MeshGenParams.h"
#include "taro25d/Taro_2D.h"

// A slow oracle that checks a refined zone against its parameters.

/// The number of triangles of a zone; for each valid reason the number that miss a limit; and a description of one
/// triangle that misses a limit without a reason.
struct MeshQuality {
    size_t numTriangles = 0;
    std::map<std::string, size_t> mExcuses;
    std::string unexplained;
};

/// Inspects every triangle of the parameters' zone. Only circumcentres and exact orientations are the library's: for
/// each triangle that misses a limit, all constraint segments are tried to find those that obstruct the path to its
/// circumcentre.
MeshQuality inspectMesh(const LUMO_TARO25D::Taro_2D& mesh, LUMO_TARO25D::MeshGenParams& params);

/// True if there is a reason for every triangle that misses a limit, and if the mesh is valid.
testing::AssertionResult isWellMeshed(const LUMO_TARO25D::Taro_2D& mesh, LUMO_TARO25D::MeshGenParams& params);
