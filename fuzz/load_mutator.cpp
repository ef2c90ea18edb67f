// Random changes hardly ever give a valid triangulation file. Most inputs are therefore repaired after libFuzzer has
// changed them: tag, counts, finite numbers, and segments between vertices.

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

extern "C" std::size_t LLVMFuzzerMutate(std::uint8_t* pData, std::size_t size, std::size_t maxSize);

namespace {

using Bytes = std::vector<std::uint8_t>;
using Random = std::minstd_rand;

constexpr std::size_t VERTEX_SIZE = 24, EMPTY_FILE_SIZE = 20, OFFSET_OF_VERTICES = 12;

template <class T>
void append(Bytes& vBytes, T value) {
    const auto* pBytes = reinterpret_cast<const std::uint8_t*>(&value);
    vBytes.insert(vBytes.end(), pBytes, pBytes + sizeof(value));
}

/// With bSmall an integer from -8 to 7, as many such points are collinear or on one circle.
double makeCoordinate(const std::uint8_t* pBytes, bool bSmall) {
    double value;
    std::memcpy(&value, pBytes, sizeof(value));
    return bSmall || !std::isfinite(value) ? (pBytes[7] ^ pBytes[6]) % 16 - 8 : value;
}

/// A file with graphs: each has a few pieces between vertices, also repeated ones and from a vertex to itself.
Bytes putGraphsInOrder(const Bytes& vOld, Random& random) {
    const std::size_t numVertices = (vOld.size() - EMPTY_FILE_SIZE) / (2 * VERTEX_SIZE), numGraphs = random() % 4;
    const bool bSmall = random() % 2 == 0;
    Bytes vNew;
    append(vNew, std::int32_t(302));
    append(vNew, std::uint64_t(numVertices));
    for (std::size_t i = 0; i < 3 * numVertices; ++i) {
        append(vNew, makeCoordinate(&vOld[OFFSET_OF_VERTICES + sizeof(double) * i], bSmall));
    }
    for (std::size_t i = 0; i < numVertices; ++i) append(vNew, static_cast<std::int32_t>(i));
    append(vNew, std::uint64_t(0));  // no name
    const std::size_t numPieces = numVertices == 0 ? 0 : numVertices / 8 + 1;
    append(vNew, std::uint64_t(numPieces == 0 ? 0 : numGraphs));
    for (std::size_t i = 0; numPieces > 0 && i < numGraphs; ++i) {
        append(vNew, static_cast<std::int32_t>(random() % 3));
        append(vNew, static_cast<std::int32_t>(random() % 2));
        append(vNew, std::uint64_t(0));
        append(vNew, std::uint64_t(numPieces));
        for (std::size_t k = 0; k < 2 * numPieces; ++k)
            append(vNew, static_cast<std::uint32_t>(random() % numVertices));
    }
    return vNew;
}

Bytes putInOrder(const Bytes& vOld, Random& random) {
    const std::size_t numUnits = (vOld.size() - EMPTY_FILE_SIZE) / VERTEX_SIZE;
    const std::size_t numSegments = random() % (numUnits / 4 + 1), numVertices = numUnits - 2 * numSegments;
    const bool bSmall = random() % 2 == 0;
    Bytes vNew;
    append(vNew, std::int32_t(301));
    append(vNew, std::uint64_t(numVertices));
    for (std::size_t i = 0; i < 3 * numVertices; ++i) {
        append(vNew, makeCoordinate(&vOld[OFFSET_OF_VERTICES + sizeof(double) * i], bSmall));
    }
    append(vNew, std::uint64_t(numSegments));
    for (std::size_t i = 0; i < 2 * numSegments; ++i) {
        const std::size_t k = OFFSET_OF_VERTICES + VERTEX_SIZE * (random() % numVertices);
        const Bytes vVertex(&vNew[k], &vNew[k] + VERTEX_SIZE);
        vNew.insert(vNew.end(), vVertex.begin(), vVertex.end());
    }
    return vNew;
}

}  // namespace

extern "C" std::size_t LLVMFuzzerCustomMutator(std::uint8_t* pData, std::size_t size, std::size_t maxSize,
                                               unsigned seed) {
    Random random(seed);
    const std::size_t newSize = LLVMFuzzerMutate(pData, size, maxSize);
    if (newSize < EMPTY_FILE_SIZE || random() % 4 == 0) return newSize;
    const Bytes vOld(pData, pData + newSize);
    Bytes vNew = random() % 2 ? putInOrder(vOld, random) : putGraphsInOrder(vOld, random);
    if (vNew.size() > maxSize) vNew = putInOrder(vOld, random);
    std::copy(vNew.begin(), vNew.end(), pData);
    return vNew.size();
}
