#include "drawing/SceneFile.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "support/diagnostics.h"
#include "support/replaceFile.h"

namespace LUMO_TARO25D {

namespace {

/// The length of the UTF-8 sequence at an index of a text; 0 if it is invalid (Unicode 15, table 3-7).
size_t getSequenceLength(const std::string& text, size_t at) {
    const auto byte = [&](size_t i) { return i < text.size() ? static_cast<unsigned char>(text[i]) : 0u; };
    const unsigned first = byte(at), second = byte(at + 1);
    if (first < 0x80) return 1;
    const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4) return 0;
    if ((first == 0xE0 && second < 0xA0) || (first == 0xED && second > 0x9F) || (first == 0xF0 && second < 0x90) ||
        (first == 0xF4 && second > 0x8F)) {
        return 0;
    }
    for (size_t i = 1; i < length; ++i) {
        if ((byte(at + i) & 0xC0u) != 0x80) return 0;
    }
    return length;
}

std::string toEscape(unsigned char c) {
    constexpr char aDigits[] = "0123456789abcdef";
    return std::string("\\u00") + aDigits[c >> 4] + aDigits[c & 15];
}

}  // namespace

bool writeScene(const Scene3& scene, const std::string& filename, const char* location, const char* taskName,
                const std::function<void(SceneFile&, SceneTask&)>& write) {
    const MessageScope scope(&scene.progress);
    if (scene.isEmpty()) {
        warning(location, "there is nothing in the scene");
        return false;
    }
    if (scene.numVertices() > static_cast<size_t>(std::numeric_limits<std::int32_t>::max())) {
        warning(location, "the scene has too many vertices for a file");
        return false;
    }
    SceneTask task(scene.progress, taskName, scene.numItems());
    std::string reason;
    const bool bWritten = replaceFile(filename, [&](std::FILE* pFile) {
        SceneFile file(pFile);
        write(file, task);
        reason = file.getReason();
        return file.finish();
    });
    task.finish();
    if (!bWritten) warning(location, "could not write " + filename + (reason.empty() ? "" : ": " + reason));
    return bWritten;
}

std::string toOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 32 || c == 127; }, ' ');
    return text;
}

std::string toJson(const std::string& text) {
    std::string json = "\"";
    for (size_t at = 0; at < text.size();) {
        const char c = text[at];
        const size_t length = getSequenceLength(text, at);
        if (length == 0) {
            json += "\\ufffd";
        } else if (c == '"' || c == '\\') {
            json += {'\\', c};
        } else if (length == 1 && (c < 32 || c == 127 || c == '<')) {
            json += toEscape(static_cast<unsigned char>(c));
        } else {
            json += text.substr(at, length);
        }
        at += std::max<size_t>(1, length);
    }
    return json + '"';
}

}  // namespace LUMO_TARO25D
