// Binary PLY in little endian, the byte order of the supported processors: all vertices of the scene, then the
// triangles, then the lines, as numbers of those vertices.

#include <array>
#include <cstdint>

#include "drawing/SceneFile.h"

namespace LUMO_TARO25D {

namespace {

void writeVertex(SceneFile& file, const Xyz& place, const Rgb8& color) {
    file.writeBytes(place);
    file.writeBytes(color);
}

void writeHeader(const Scene3& scene, SceneFile& file) {
    size_t numFaces = 0, numEdges = 0;
    for (const SceneSurface& surface : scene.vSurfaces) numFaces += surface.numTriangles();
    for (const SceneLines& lines : scene.vLines) numEdges += lines.vEnds.size() / 2;
    const char* const colors = "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    file << "ply\nformat binary_little_endian 1.0\ncomment " << toOneLine(scene.title) << '\n';
    for (const std::string& layer : scene.vLayers) file << "comment layer " << toOneLine(layer) << '\n';
    file << "element vertex " << scene.numVertices() << "\nproperty double x\nproperty double y\nproperty double z\n"
         << colors << "element face " << numFaces << "\nproperty list uchar int vertex_indices\n";
    if (numEdges > 0) file << "element edge " << numEdges << "\nproperty int vertex1\nproperty int vertex2\n" << colors;
    file << "end_header\n";
}

void writeVertices(const Scene3& scene, SceneFile& file, SceneTask& task) {
    for (const SceneSurface& surface : scene.vSurfaces) {
        if (surface.ramp) {
            const RampColors colors = scene.getColors(*surface.ramp);
            task.forEach(surface.vVertices.size(), [&](size_t i) {
                const Xyz& vertex = surface.vVertices[i];
                writeVertex(file, vertex, colors(vertex[2]));
            });
        } else {
            const Rgb8 color = toRgb8(surface.color);
            task.forEach(surface.vVertices.size(), [&](size_t i) { writeVertex(file, surface.vVertices[i], color); });
        }
    }
    for (const SceneLines& lines : scene.vLines) {
        const Rgb8 color = toRgb8(lines.color);
        task.forEach(lines.vEnds.size(), [&](size_t i) { writeVertex(file, lines.vEnds[i], color); });
    }
}

}  // namespace

void writePly(const Scene3& scene, SceneFile& file, SceneTask& task) {
    writeHeader(scene, file);
    writeVertices(scene, file, task);
    std::uint32_t first = 0;
    for (const SceneSurface& surface : scene.vSurfaces) {
        task.forEach(surface.numTriangles(), [&](size_t i) {
            std::array<std::int32_t, 3> aCorners;
            for (size_t k = 0; k < 3; ++k) {
                aCorners[k] = static_cast<std::int32_t>(first + surface.vTriangles[3 * i + k]);
            }
            file.writeBytes(std::uint8_t(3));
            file.writeBytes(aCorners);
        });
        first += static_cast<std::uint32_t>(surface.vVertices.size());
    }
    for (const SceneLines& lines : scene.vLines) {
        const Rgb8 color = toRgb8(lines.color);
        for (size_t i = 0; i < lines.vEnds.size(); i += 2) {
            const auto end = static_cast<std::int32_t>(first + i);
            file.writeBytes(std::array<std::int32_t, 2>{end, end + 1});
            file.writeBytes(color);
        }
        first += static_cast<std::uint32_t>(lines.vEnds.size());
    }
}

}  // namespace LUMO_TARO25D
