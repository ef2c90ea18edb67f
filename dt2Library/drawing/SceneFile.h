#pragma once

#include <charconv>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <type_traits>

#include "drawing/Scene3.h"

namespace LUMO_TARO25D {

/// A buffered writer for the file of a scene.
class SceneFile {
  public:
    explicit SceneFile(std::FILE* pFile) : pFile_(pFile) { buffer_.reserve(2 * BUFFER_SIZE); }

    SceneFile& operator<<(std::string_view text) {
        buffer_ += text;
        if (buffer_.size() > BUFFER_SIZE) flush();
        return *this;
    }
    SceneFile& operator<<(char c) { return *this << std::string_view(&c, 1); }
    /// Writes a number with the fewest digits that read back as the same number.
    template <class T, class = std::enable_if_t<std::is_arithmetic_v<T>>>
    SceneFile& operator<<(T number) {
        char aDigits[32];
        const auto end = std::to_chars(aDigits, aDigits + sizeof(aDigits), number).ptr;
        return *this << std::string_view(aDigits, static_cast<size_t>(end - aDigits));
    }
    /// Writes the bytes of a value as they are in memory.
    template <class T>
    void writeBytes(const T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        *this << std::string_view(reinterpret_cast<const char*>(&value), sizeof(value));
    }

    void flush() {
        bWell_ = bWell_ && std::fwrite(buffer_.data(), 1, buffer_.size(), pFile_) == buffer_.size();
        buffer_.clear();
    }
    /// Makes the file a failure, for content that the format cannot represent; the reason goes into the warning.
    void fail(const std::string& reason) {
        bWell_ = false;
        reason_ = reason;
    }
    const std::string& getReason() const { return reason_; }
    /// Whether everything has been written.
    bool finish() {
        flush();
        return bWell_ && std::fflush(pFile_) == 0;
    }

  private:
    static constexpr size_t BUFFER_SIZE = 1 << 16;

    std::FILE* pFile_;
    std::string buffer_, reason_;
    bool bWell_ = true;
};

/// A number as text, with the fewest digits that read back as the same number.
template <class T>
std::string toText(T number) {
    char aDigits[32];
    return std::string(aDigits, std::to_chars(aDigits, aDigits + sizeof(aDigits), number).ptr);
}

/// Writes a scene to a file by a function, which gets the file and the task for its progress and may throw. False, with
/// a warning at the location, if the scene is empty or too large or the file cannot be written.
bool writeScene(const Scene3& scene, const std::string& filename, const char* location, const char* taskName,
                const std::function<void(SceneFile&, SceneTask&)>& write);

/// The text on one line, with a blank for each control character.
std::string toOneLine(std::string text);
/// The text as a JSON string. Bytes that are no UTF-8 become U+FFFD, and "<" is escaped, so that the text may be
/// embedded in HTML.
std::string toJson(const std::string& text);
/// Numbers as a list in JSON.
template <class Numbers>
std::string toJsonList(const Numbers& numbers) {
    std::string list = "[";
    for (const auto number : numbers) list += (list.size() > 1 ? "," : "") + toText(number);
    return list + "]";
}

// The writers, each in a file of its own.
void writeObj(const Scene3& scene, const std::string& materialFilename, SceneFile& file, SceneTask& task);
void writeObjMaterials(const Scene3& scene, SceneFile& file);
void writePly(const Scene3& scene, SceneFile& file, SceneTask& task);
void writeGlb(const Scene3& scene, SceneFile& file, SceneTask& task);
void writeGeomview(const Scene3& scene, SceneFile& file, SceneTask& task);
void writeWebScene(const Scene3& scene, SceneFile& file, SceneTask& task);

}  // namespace LUMO_TARO25D
