// Wavefront OBJ gives colours to faces as materials. A ramp becomes 32 materials, and the triangles of its surface are
// written in groups by the material of their mean height. Vertices are numbered from 1 through the whole file;
// materials stand in a file of their own (writeObjMaterials), under names that follow from ramp or colour.

#include <algorithm>
#include <cctype>
#include <string>
#include <vector>

#include "drawing/SceneFile.h"

namespace LUMO_TARO25D {

namespace {

constexpr size_t NUM_RAMP_MATERIALS = 32;
constexpr size_t STEPS_PER_MATERIAL = RampColors::NUM_STEPS / NUM_RAMP_MATERIALS;

/// A name without blanks, which would end a name in this format.
std::string toName(const std::string& text) {
    std::string name = toOneLine(text);
    std::replace(name.begin(), name.end(), ' ', '_');
    return name.empty() ? "_" : name;
}

std::string getMaterial(ColourRamp ramp, size_t i) { return getName(ramp) + std::string("_") + std::to_string(i); }

std::string getMaterial(const Rgb8& color) {
    return "color_" + std::to_string(color.r) + "_" + std::to_string(color.g) + "_" + std::to_string(color.b);
}

void writeMaterial(SceneFile& file, const std::string& name, const Rgb8& color) {
    file << "\nnewmtl " << name << "\nKa 0 0 0\nKd " << color.r / 255.0 << ' ' << color.g / 255.0 << ' '
         << color.b / 255.0 << "\nKs 0 0 0\nd 1\nillum 1\n";
}

void writeVertices(const LargeVector<Xyz>& vVertices, SceneFile& file, SceneTask& task) {
    task.forEach(vVertices.size(), [&](size_t i) {
        const Xyz& vertex = vVertices[i];
        file << "v " << vertex[0] << ' ' << vertex[1] << ' ' << vertex[2] << '\n';
    });
}

/// The number of the material of each triangle; 0 without a ramp.
std::vector<std::uint8_t> getMaterials(const Scene3& scene, const SceneSurface& surface) {
    std::vector<std::uint8_t> vMaterials(surface.numTriangles());
    if (!surface.ramp) return vMaterials;
    const RampColors colors = scene.getColors(*surface.ramp);
    for (size_t i = 0; i < vMaterials.size(); ++i) {
        double sum = 0.0;
        for (size_t k = 3 * i; k < 3 * i + 3; ++k) sum += surface.vVertices[surface.vTriangles[k]][2] / 3;
        vMaterials[i] = static_cast<std::uint8_t>(colors.getStep(sum) / STEPS_PER_MATERIAL);
    }
    return vMaterials;
}

/// The numbers of the triangles, sorted by material.
LargeVector<std::uint32_t> getOrder(const std::vector<std::uint8_t>& vMaterials) {
    std::array<size_t, NUM_RAMP_MATERIALS + 1> aBegin{};
    for (const std::uint8_t material : vMaterials) ++aBegin[material + 1u];
    for (size_t i = 1; i < aBegin.size(); ++i) aBegin[i] += aBegin[i - 1];
    LargeVector<std::uint32_t> vOrder(vMaterials.size());
    for (size_t i = 0; i < vMaterials.size(); ++i) vOrder[aBegin[vMaterials[i]]++] = static_cast<std::uint32_t>(i);
    return vOrder;
}

void writeSurface(const Scene3& scene, const SceneSurface& surface, size_t first, SceneFile& file, SceneTask& task) {
    writeVertices(surface.vVertices, file, task);
    const std::vector<std::uint8_t> vMaterials = getMaterials(scene, surface);
    const LargeVector<std::uint32_t> vOrder = getOrder(vMaterials);
    int current = -1;
    task.forEach(vOrder.size(), [&](size_t i) {
        const int material = vMaterials[vOrder[i]];
        if (material != current) {
            current = material;
            file << "usemtl "
                 << (surface.ramp ? getMaterial(*surface.ramp, static_cast<size_t>(material))
                                  : getMaterial(toRgb8(surface.color)))
                 << '\n';
        }
        const std::uint32_t* const aCorners = &surface.vTriangles[3 * size_t(vOrder[i])];
        file << "f " << first + aCorners[0] << ' ' << first + aCorners[1] << ' ' << first + aCorners[2] << '\n';
    });
}

}  // namespace

void writeObj(const Scene3& scene, const std::string& materialFilename, SceneFile& file, SceneTask& task) {
    file << "# " << toOneLine(scene.title) << "\nmtllib " << toOneLine(materialFilename) << '\n';
    size_t first = 1;  // vertices are counted from 1 through the whole file
    for (const SceneSurface& surface : scene.vSurfaces) {
        file << "o " << toName(scene.vLayers[surface.layer]) << '\n';
        writeSurface(scene, surface, first, file, task);
        first += surface.vVertices.size();
    }
    for (const SceneLines& lines : scene.vLines) {
        file << "o " << toName(scene.vLayers[lines.layer]) << '\n';
        writeVertices(lines.vEnds, file, task);
        file << "usemtl " << getMaterial(toRgb8(lines.color)) << '\n';
        for (size_t i = 0; i < lines.vEnds.size(); i += 2) file << "l " << first + i << ' ' << first + i + 1 << '\n';
        first += lines.vEnds.size();
    }
}

void writeObjMaterials(const Scene3& scene, SceneFile& file) {
    file << "# " << toOneLine(scene.title) << '\n';
    std::vector<std::string> vWritten;
    const auto add = [&](const std::string& name, const Rgb8& color) {
        if (std::find(vWritten.begin(), vWritten.end(), name) != vWritten.end()) return;
        vWritten.push_back(name);
        writeMaterial(file, name, color);
    };
    const auto addColor = [&](const Color& color) { add(getMaterial(toRgb8(color)), toRgb8(color)); };
    for (const SceneSurface& surface : scene.vSurfaces) {
        if (!surface.ramp) {
            addColor(surface.color);
            continue;
        }
        const RampColors colors = scene.getColors(*surface.ramp);
        for (size_t i = 0; i < NUM_RAMP_MATERIALS; ++i) {
            add(getMaterial(*surface.ramp, i), colors.getColor(i * STEPS_PER_MATERIAL + STEPS_PER_MATERIAL / 2));
        }
    }
    for (const SceneLines& lines : scene.vLines) addColor(lines.color);
}

}  // namespace LUMO_TARO25D
