// Binary glTF 2.0: a JSON text that describes the scene, then the numbers. It is written without a library, which would
// keep a copy of all numbers; only names need escaping.
//
// Vertex numbers are 16 bits wide, so a surface is cut into pieces (PieceCutter): with 32 bits, 12 bytes for each
// triangle, a surface of a million vertices would be a third larger. Colours in the format are linear, not sRGB.
// Coordinates are floats relative to the middle of the scene, which is stored in "extras".

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "drawing/PieceCutter.h"
#include "drawing/SceneFile.h"

namespace LUMO_TARO25D {

namespace {

enum ComponentType { UNSIGNED_BYTE = 5121, UNSIGNED_SHORT = 5123, FLOAT = 5126 };
enum ViewTarget { VERTICES = 34962, NUMBERS = 34963 };
enum PrimitiveMode { LINES = 1, TRIANGLES = 4 };

using Float3 = std::array<float, 3>;
using Rgba8 = std::array<std::uint8_t, 4>;

/// A list in JSON under construction, and its number of members.
class JsonList {
  public:
    /// Adds a member, and returns its number.
    size_t add(const std::string& member) {
        if (num_ > 0) text_ += ",\n";
        text_ += member;
        return num_++;
    }
    size_t size() const { return num_; }
    /// The list as a member of an object, after a comma; nothing if it is empty, which glTF does not allow.
    std::string getMember(const char* name) const {
        return num_ == 0 ? "" : std::string(",\n\"") + name + "\":[" + text_ + "]";
    }

  private:
    std::string text_;
    size_t num_ = 0;
};

std::uint8_t toLinearByte(std::uint8_t component) {
    return static_cast<std::uint8_t>(std::lround(255.0 * toLinear(component)));
}

/// A ramp with its colours in linear light.
struct LightRamp {
    explicit LightRamp(const RampColors& ofScreen);
    RampColors colors;
    std::array<Rgba8, RampColors::NUM_STEPS> aLight;
};

class GlbWriter {
  public:
    GlbWriter(const Scene3& scene, SceneFile& file, SceneTask& task)
        : scene_(scene), file_(file), task_(task), centre_(scene.getCentre()), vPrimitives_(scene.vLayers.size()) {}

    void write() {
        for (const SceneSurface& surface : scene_.vSurfaces) addSurface(surface);
        for (const SceneLines& lines : scene_.vLines) addLines(lines);
        writeChunks(getJson());
    }

  private:
    Float3 toFloats(const Xyz& place) {
        const Float3 relative{static_cast<float>(place[0] - centre_[0]), static_cast<float>(place[2] - centre_[2]),
                              static_cast<float>(centre_[1] - place[1])};
        for (const float number : relative) bTooLarge_ = bTooLarge_ || !std::isfinite(number);
        return relative;
    }
    std::string getExtras() const { return "\"extras\":{\"centre\":" + toJsonList(centre_) + "}"; }

    template <class T>
    size_t addView(const std::vector<T>& vNumbers, ViewTarget target);
    size_t addPlaces(const std::vector<Float3>& vPlaces);
    size_t addColors(const std::vector<Rgba8>& vColors);
    size_t getMaterial(const Color& color);
    size_t getPlainMaterial();

    void addSurface(const SceneSurface& surface);
    void addPiece(const SceneSurface& surface, const SurfacePiece& piece, const std::optional<LightRamp>& ramp);
    void addLines(const SceneLines& lines);

    std::string getJson();
    JsonList getNodes();
    void writeChunks(std::string json);

    const Scene3& scene_;
    SceneFile& file_;
    bool bTooLarge_ = false;  // a position is beyond floats
    SceneTask& task_;
    const Xyz centre_;
    std::vector<JsonList> vPrimitives_;  // of each layer
    JsonList accessors_, views_, materials_, meshes_;
    std::vector<std::pair<Color, size_t>> vMaterialNumbers_;
    size_t plainMaterial_ = std::numeric_limits<size_t>::max();
    LargeVector<char> vBytes_;
};

// --- numbers ---

template <class T>
size_t GlbWriter::addView(const std::vector<T>& vNumbers, ViewTarget target) {
    const size_t begin = vBytes_.size(), numBytes = vNumbers.size() * sizeof(T);
    vBytes_.resize(begin + (numBytes + 3) / 4 * 4);  // numbers of 4 bytes stand at multiples of 4
    std::copy_n(reinterpret_cast<const char*>(vNumbers.data()), numBytes, vBytes_.data() + begin);
    std::fill(vBytes_.begin() + static_cast<std::ptrdiff_t>(begin + numBytes), vBytes_.end(), '\0');
    return views_.add("{\"buffer\":0,\"byteOffset\":" + toText(begin) + ",\"byteLength\":" + toText(numBytes) +
                      ",\"target\":" + toText(int(target)) + "}");
}

std::string getAccessor(size_t view, ComponentType type, size_t num, const char* shape, const std::string& more = "") {
    return "{\"bufferView\":" + toText(view) + ",\"componentType\":" + toText(int(type)) + ",\"count\":" + toText(num) +
           ",\"type\":\"" + shape + "\"" + more + "}";
}

size_t GlbWriter::addPlaces(const std::vector<Float3>& vPlaces) {
    std::array<double, 3> low{vPlaces[0][0], vPlaces[0][1], vPlaces[0][2]}, high = low;
    for (const Float3& place : vPlaces) {
        for (size_t i = 0; i < 3; ++i) {
            low[i] = std::min<double>(low[i], place[i]);
            high[i] = std::max<double>(high[i], place[i]);
        }
    }
    return accessors_.add(getAccessor(addView(vPlaces, VERTICES), FLOAT, vPlaces.size(), "VEC3",
                                      ",\"min\":" + toJsonList(low) + ",\"max\":" + toJsonList(high)));
}

size_t GlbWriter::addColors(const std::vector<Rgba8>& vColors) {
    return accessors_.add(
        getAccessor(addView(vColors, VERTICES), UNSIGNED_BYTE, vColors.size(), "VEC4", ",\"normalized\":true"));
}

// --- materials ---

std::string getMaterialText(const std::string& more) {
    return "{\"pbrMetallicRoughness\":{\"metallicFactor\":0,\"roughnessFactor\":1" + more + "},\"doubleSided\":true}";
}

size_t GlbWriter::getMaterial(const Color& color) {
    for (const auto& [ofMaterial, number] : vMaterialNumbers_) {
        if (ofMaterial == color) return number;
    }
    const Rgb8 rgb = toRgb8(color);
    const std::array<double, 4> factors{toLinear(rgb.r), toLinear(rgb.g), toLinear(rgb.b), 1.0};
    vMaterialNumbers_.emplace_back(color,
                                   materials_.add(getMaterialText(",\"baseColorFactor\":" + toJsonList(factors))));
    return vMaterialNumbers_.back().second;
}

/// The material of surfaces whose vertices have colours.
size_t GlbWriter::getPlainMaterial() {
    if (plainMaterial_ == std::numeric_limits<size_t>::max()) plainMaterial_ = materials_.add(getMaterialText(""));
    return plainMaterial_;
}

// --- the objects of the scene ---

LightRamp::LightRamp(const RampColors& ofScreen) : colors(ofScreen) {
    for (size_t i = 0; i < RampColors::NUM_STEPS; ++i) {
        const Rgb8& color = colors.getColor(i);
        aLight[i] = {toLinearByte(color.r), toLinearByte(color.g), toLinearByte(color.b), 255};
    }
}

void GlbWriter::addSurface(const SceneSurface& surface) {
    std::optional<LightRamp> ramp;
    if (surface.ramp) ramp.emplace(scene_.getColors(*surface.ramp));
    PieceCutter cutter(surface, task_);
    SurfacePiece piece;
    while (cutter.getNext(piece)) {
        addPiece(surface, piece, ramp);
        task_.forEachBatch(piece.vTriangles.size() / 3, [](size_t, size_t) {});
    }
}

void GlbWriter::addPiece(const SceneSurface& surface, const SurfacePiece& piece, const std::optional<LightRamp>& ramp) {
    std::vector<Float3> vPlaces;
    vPlaces.reserve(piece.vVertices.size());
    for (const std::uint32_t vertex : piece.vVertices) vPlaces.push_back(toFloats(surface.vVertices[vertex]));
    std::string attributes = "\"POSITION\":" + toText(addPlaces(vPlaces));
    if (ramp) {
        std::vector<Rgba8> vColors;
        vColors.reserve(piece.vVertices.size());
        for (const std::uint32_t vertex : piece.vVertices) {
            vColors.push_back(ramp->aLight[ramp->colors.getStep(surface.vVertices[vertex][2])]);
        }
        attributes += ",\"COLOR_0\":" + toText(addColors(vColors));
    }
    const size_t view = addView(piece.vTriangles, NUMBERS);
    const size_t numbers = accessors_.add(getAccessor(view, UNSIGNED_SHORT, piece.vTriangles.size(), "SCALAR"));
    vPrimitives_[surface.layer].add("{\"attributes\":{" + attributes + "},\"indices\":" + toText(numbers) +
                                    ",\"material\":" + toText(ramp ? getPlainMaterial() : getMaterial(surface.color)) +
                                    ",\"mode\":" + toText(int(TRIANGLES)) + "}");
}

void GlbWriter::addLines(const SceneLines& lines) {
    std::vector<Float3> vPlaces;
    vPlaces.reserve(lines.vEnds.size());
    task_.forEach(lines.vEnds.size(), [&](size_t i) { vPlaces.push_back(toFloats(lines.vEnds[i])); });
    vPrimitives_[lines.layer].add("{\"attributes\":{\"POSITION\":" + toText(addPlaces(vPlaces)) + "},\"material\":" +
                                  toText(getMaterial(lines.color)) + ",\"mode\":" + toText(int(LINES)) + "}");
}

// --- the file ---

/// The root, which is the parent of all layers; then each layer, followed by its labels.
JsonList GlbWriter::getNodes() {
    std::vector<std::string> vNodes{""};
    std::string layers;
    for (size_t layer = 0; layer < vPrimitives_.size(); ++layer) {
        const std::string name = toJson(scene_.vLayers[layer]);
        const size_t number = vNodes.size();
        vNodes.emplace_back();
        std::string labels;
        for (const SceneLabel& label : scene_.vLabels) {
            if (label.layer != layer) continue;
            labels += (labels.empty() ? "" : ",") + toText(vNodes.size());
            vNodes.push_back("{\"name\":" + toJson(label.text) +
                             ",\"translation\":" + toJsonList(toFloats(label.place)) + ",\"extras\":{\"label\":true}}");
        }
        std::string& node = vNodes[number];
        node = "{\"name\":" + name;
        if (vPrimitives_[layer].size() > 0) {
            const std::string primitives = vPrimitives_[layer].getMember("primitives");
            node += ",\"mesh\":" + toText(meshes_.add("{\"name\":" + name + primitives + "}"));
        }
        if (!labels.empty()) node += ",\"children\":[" + labels + "]";
        node += "}";
        layers += (layers.empty() ? "" : ",") + toText(number);
    }
    vNodes[0] = "{\"name\":" + toJson(scene_.title) + ",\"scale\":[1," + toText(scene_.exaggeration) +
                ",1],\"children\":[" + layers + "]," + getExtras() + "}";
    JsonList nodes;
    for (const std::string& node : vNodes) nodes.add(node);
    return nodes;
}

std::string GlbWriter::getJson() {
    const JsonList nodes = getNodes();
    std::string json = "{\"asset\":{\"version\":\"2.0\",\"generator\":\"taro25d\"},\"scene\":0,\"scenes\":[{\"name\":" +
                       toJson(scene_.title) + ",\"nodes\":[0]," + getExtras() + "}]";
    json += nodes.getMember("nodes") + meshes_.getMember("meshes") + materials_.getMember("materials") +
            accessors_.getMember("accessors") + views_.getMember("bufferViews");
    if (!vBytes_.empty()) json += ",\"buffers\":[{\"byteLength\":" + toText(vBytes_.size()) + "}]";
    return json + "}";
}

void GlbWriter::writeChunks(std::string json) {
    constexpr std::uint32_t MAGIC = 0x46546C67, VERSION = 2, JSON_CHUNK = 0x4E4F534A, BINARY_CHUNK = 0x004E4942;
    constexpr std::uint32_t HEADER_SIZE = 12, CHUNK_HEADER_SIZE = 8;
    json.resize((json.size() + 3) / 4 * 4, ' ');
    const size_t numBytes =
        HEADER_SIZE + CHUNK_HEADER_SIZE + json.size() + (vBytes_.empty() ? 0 : CHUNK_HEADER_SIZE + vBytes_.size());
    // Lengths have 32 bits, and so have positions.
    if (bTooLarge_) return file_.fail("coordinates are beyond the range of floats");
    if (numBytes > std::numeric_limits<std::uint32_t>::max()) return file_.fail("the format ends at 4 GB");
    file_.writeBytes(std::array<std::uint32_t, 3>{MAGIC, VERSION, static_cast<std::uint32_t>(numBytes)});
    file_.writeBytes(std::array<std::uint32_t, 2>{static_cast<std::uint32_t>(json.size()), JSON_CHUNK});
    file_ << json;
    if (vBytes_.empty()) return;
    file_.writeBytes(std::array<std::uint32_t, 2>{static_cast<std::uint32_t>(vBytes_.size()), BINARY_CHUNK});
    file_ << std::string_view(vBytes_.data(), vBytes_.size());
}

}  // namespace

void writeGlb(const Scene3& scene, SceneFile& file, SceneTask& task) { GlbWriter(scene, file, task).write(); }

}  // namespace LUMO_TARO25D
