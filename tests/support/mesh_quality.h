#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>

#include "taro25d/MeshGenParams.h"
#include "taro25d/Taro_2D.h"

// A slow oracle that tells whether a zone is as well meshed as its parameters ask for.

/// How many triangles of a zone there are, how many miss a limit for each reason that there can be, and one of those for
/// which there is no reason.
struct MeshQuality {
    size_t numTriangles = 0;
    std::map<std::string, size_t> mExcuses;
    std::string unexplained;
};

/// Looks at every triangle of the zone of some parameters. Nothing is taken from the library but the circumcentres, and
/// exact orientation: for each triangle that misses a limit, all constraint segments are tried to find the one that bars
/// the way to its centre.
MeshQuality inspectMesh(const LUMO_TARO25D::Taro_2D& mesh, LUMO_TARO25D::MeshGenParams& params);

/// True if there is a reason for every triangle that misses a limit, and if the mesh is valid.
testing::AssertionResult isWellMeshed(const LUMO_TARO25D::Taro_2D& mesh, LUMO_TARO25D::MeshGenParams& params);
