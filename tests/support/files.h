#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "support/generators.h"
#include "taro25d/Segment2.h"

// Files that tests read and write.

/// All bytes of a file; none if it cannot be read.
inline std::string readFile(const std::string& name) {
    std::ifstream file(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline size_t countEntries(const std::filesystem::path& directory) {
    using std::filesystem::directory_iterator;
    return static_cast<size_t>(std::distance(directory_iterator(directory), directory_iterator()));
}

/// Real input, which the repository does not contain.
inline std::string dataPath(const std::string& name) { return std::string(TARO25D_DATA_DIR) + "/" + name; }
inline bool hasDataFolder() { return dataPath("") != "/"; }

/// A number of records, and their numbers. Empty where the file is absent.
template <size_t numPerRecord>
std::vector<std::array<double, numPerRecord>> readRecords(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::uint64_t n = 0;
    file.read(reinterpret_cast<char*>(&n), sizeof(n));
    std::vector<std::array<double, numPerRecord>> vRecords(file ? n : 0);
    file.read(reinterpret_cast<char*>(vRecords.data()), std::streamsize(n * sizeof(vRecords[0])));
    EXPECT_TRUE(vRecords.empty() || file) << path << " is cut short";
    return vRecords;
}

inline PointVector readRealPoints(const std::string& name) {
    PointVector vPoints;
    for (const auto& [x, y, z] : readRecords<3>(dataPath("points/" + name + ".xyzb"))) vPoints.emplace_back(x, y, z);
    return vPoints;
}

inline std::vector<LUMO_TARO25D::Segment2> readRealSegments(const std::string& name) {
    using LUMO_TARO25D::Point2;
    std::vector<LUMO_TARO25D::Segment2> vSegments;
    for (const auto& [x0, y0, x1, y1] : readRecords<4>(dataPath("segments/" + name + ".segb"))) {
        vSegments.emplace_back(Point2(x0, y0, 0), Point2(x1, y1, 0));
    }
    return vSegments;
}

/// The heights of the example's terrain in metres, from its first row and column on, at every stride-th place.
inline PointVector readTerrain(size_t numRows, size_t numColumns, size_t stride) {
    std::ifstream file(TARO25D_EXAMPLE_DATA_DIR "/jacksboro.asc");
    std::string line;
    for (int i = 0; i < 7; ++i) std::getline(file, line);
    PointVector vPoints;
    for (size_t row = 0; row < numRows && std::getline(file, line); ++row) {
        std::istringstream heights(line);
        double z = 0;
        for (size_t column = 0; column < numColumns && heights >> z; ++column) {
            if (row % stride != 0 || column % stride != 0) continue;
            vPoints.emplace_back(74.57 * static_cast<double>(column), -92.47 * static_cast<double>(row), z);
        }
    }
    return vPoints;
}
