// One HTML file: the viewer as a script, a description of the scene as JSON, and its numbers (SceneEncoder) in blocks
// of base64, which a browser can decode one by one. The page loads nothing from elsewhere, which its content security
// policy enforces; titles and labels are escaped.

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "drawing/SceneEncoder.h"
#include "drawing/SceneFile.h"
#include "drawing/viewerScript.h"

namespace LUMO_TARO25D {

namespace {

constexpr size_t BYTES_PER_BLOCK = 3 << 18;

std::string toHtml(const std::string& text) {
    std::string html;
    for (const char c : toOneLine(text)) {
        if (c == '&') {
            html += "&amp;";
        } else if (c == '<') {
            html += "&lt;";
        } else {
            html += c;
        }
    }
    return html;
}

std::string toCss(const Rgb8& color) {
    constexpr char aDigits[] = "0123456789abcdef";
    std::string css = "#";
    for (const unsigned component : {color.r, color.g, color.b}) {
        css += aDigits[component >> 4];
        css += aDigits[component & 15];
    }
    return css;
}

std::string getRampText(const Scene3& scene, ColourRamp ramp) {
    const HeightRange range = scene.getRange(ramp);
    std::string text = std::string("\"") + getName(ramp) + "\":{\"low\":" + toText(range.low) +
                       ",\"high\":" + toText(range.high) + ",\"stops\":[";
    for (const RampStop& stop : getStops(ramp)) {
        text += (text.back() == '[' ? "[" : ",[") + toText(stop.place) + ",\"" + toCss(stop.color) + "\"]";
    }
    return text + "]}";
}

std::string getRampsText(const Scene3& scene) {
    std::string text;
    for (const ColourRamp ramp : {CR_TERRAIN, CR_GREY, CR_DIVERGING}) {
        if (!scene.getRange(ramp).isEmpty()) text += (text.empty() ? "" : ",") + getRampText(scene, ramp);
    }
    return text;
}

std::string getLabelText(const SceneLabel& label) {
    return "{\"layer\":" + toText(label.layer) + ",\"place\":" + toJsonList(label.place) +
           ",\"text\":" + toJson(label.text) + ",\"mark\":" + (label.bMark ? "true" : "false") +
           ",\"size\":" + toText(std::max(1, label.size)) + "}";
}

/// Base64 (RFC 4648).
std::string toBase64(const std::uint8_t* pBytes, size_t numBytes) {
    constexpr char aDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve((numBytes + 2) / 3 * 4);
    for (size_t i = 0; i < numBytes; i += 3) {
        const auto byte = [&](size_t k) { return i + k < numBytes ? pBytes[i + k] : 0u; };
        const unsigned group = byte(0) << 16 | byte(1) << 8 | byte(2);
        text += {aDigits[group >> 18], aDigits[group >> 12 & 63], i + 1 < numBytes ? aDigits[group >> 6 & 63] : '=',
                 i + 2 < numBytes ? aDigits[group & 63] : '='};
    }
    return text;
}

std::string getSurfaceText(const SceneSurface& surface) {
    return "{\"layer\":" + toText(surface.layer) +
           (surface.ramp ? std::string(",\"ramp\":\"") + getName(*surface.ramp)
                         : ",\"color\":\"" + toCss(toRgb8(surface.color))) +
           "\",\"vertices\":" + toText(surface.vVertices.size()) + ",\"triangles\":" + toText(surface.numTriangles()) +
           "}";
}

/// The width of lines in pixels, 96 to the inch. The default width is a hairline on paper, which a screen does not show
/// well.
double getPixels(const Color& color) {
    constexpr double DEFAULT = 2, MAX = 100;
    const double width = color.width;
    return width > Color().width ? std::min(MAX, width * 96 / 72) : DEFAULT;
}

std::string getLinesText(const SceneLines& lines) {
    return "{\"layer\":" + toText(lines.layer) + ",\"color\":\"" + toCss(toRgb8(lines.color)) +
           "\",\"width\":" + toText(getPixels(lines.color)) + ",\"ends\":" + toText(lines.vEnds.size()) + "}";
}

/// The objects of a list in JSON.
template <class T, class F>
std::string toList(const std::vector<T>& vObjects, const F& getText) {
    std::string text = "[";
    for (const T& object : vObjects) text += (text.size() > 1 ? ",\n" : "") + getText(object);
    return text + "]";
}

/// Whether the page can show a scene of this extent: it draws with floats, and takes squares of their differences.
bool canBeDrawn(const Scene3& scene) {
    constexpr double MAX_EXTENT = 1e18;
    const auto [low, high] = scene.getBox();
    return high[0] - low[0] <= MAX_EXTENT && high[1] - low[1] <= MAX_EXTENT &&
           (high[2] - low[2]) * std::max(1.0, scene.exaggeration) <= MAX_EXTENT;
}

std::string getDescription(const Scene3& scene, const SceneEncoder& encoder) {
    return "{\"title\":" + toJson(scene.title) + ",\"exaggeration\":" + toText(scene.exaggeration) +
           ",\n\"origin\":" + toJsonList(encoder.getOrigin()) + ",\"step\":" + toJsonList(encoder.getStep()) +
           ",\"bytes\":" + toText(encoder.getBytes().size()) + ",\n\"layers\":" + toList(scene.vLayers, toJson) +
           ",\n\"ramps\":{" + getRampsText(scene) + "},\n\"surfaces\":" + toList(scene.vSurfaces, getSurfaceText) +
           ",\n\"lines\":" + toList(scene.vLines, getLinesText) +
           ",\n\"labels\":" + toList(scene.vLabels, getLabelText) + "}";
}

}  // namespace

void writeWebScene(const Scene3& scene, SceneFile& file, SceneTask& task) {
    if (!canBeDrawn(scene)) return file.fail("the scene is larger than the page can show");
    SceneEncoder encoder(scene, task);
    for (const SceneSurface& surface : scene.vSurfaces) encoder.add(surface);
    for (const SceneLines& lines : scene.vLines) encoder.add(lines);

    file << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" << toHtml(scene.title)
         << "</title>\n<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
            "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src 'unsafe-inline'; "
            "style-src 'unsafe-inline'; img-src data: blob:\">\n<link rel=\"icon\" href=\"data:,\">\n</head>\n<body>\n"
            "<noscript>This page shows a scene in three dimensions with JavaScript, which is switched off.</noscript>\n"
            "<script>\n"
         << getViewerScript() << "\n</script>\n<script type=\"application/json\" id=\"scene\">\n"
         << getDescription(scene, encoder) << "\n</script>\n";
    const LargeVector<std::uint8_t>& vBytes = encoder.getBytes();
    for (size_t begin = 0; begin < vBytes.size(); begin += BYTES_PER_BLOCK) {
        task.passCancelPoint(0);
        file << "<script type=\"text/plain\" class=\"block\">"
             << toBase64(&vBytes[begin], std::min(BYTES_PER_BLOCK, vBytes.size() - begin)) << "</script>\n";
    }
    file << "</body>\n</html>\n";
}

}  // namespace LUMO_TARO25D
