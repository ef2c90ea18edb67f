// Reads any bytes as a file of points: a grid, a list or CSV. A refusal must give a reason; accepted points must be
// those of the file, and writing and reading must reproduce them. A reader that allocates what a header claims, beyond
// the file's content, exceeds libFuzzer's limit of memory.

#include <algorithm>
#include <cctype>
#include <string>
#include <string_view>
#include <vector>

#include "common/readers.h"
#include "input.h"
#include "memory_file.h"

namespace {

using LUMO_TARO25D::Point2;
using Points = std::vector<Point2>;

constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";

/// The message must be "name:line: reason", without control characters.
void checkMessage(const std::string& message, const std::string& name) {
    require(message.compare(0, name.size() + 1, name + ":") == 0, "a message begins with the name of the file");
    const size_t colon = message.find(": ", name.size());
    require(colon != std::string::npos && colon + 2 < message.size(), "a message has a reason");
    const std::string line = message.substr(name.size() + 1, colon - name.size() - 1);
    require(!line.empty() && line.find_first_not_of("0123456789") == std::string::npos, "a message has a line");
    const auto isPrintable = [](char c) { return c >= ' ' && c <= '~'; };
    require(std::all_of(message.begin(), message.end(), isPrintable), "a message is printable");
}

/// The points, or nothing and the message.
struct Result {
    Points vPoints;
    std::string message;

    bool operator==(const Result& other) const {
        return message == other.message && vPoints.size() == other.vPoints.size() &&
               std::equal(vPoints.begin(), vPoints.end(), other.vPoints.begin(), LUMO_TARO25D::samePoint);
    }
};

template <class Read>
Result resultOf(const Read& read) {
    try {
        return {read(), ""};
    } catch (const terrain::BadInput& problem) {
        require(*problem.what() != '\0', "what is refused is refused with a reason");
        return {{}, problem.what()};
    }
}

Result parse(const std::string& name, const std::string& text) {
    return resultOf([&] { return terrain::parsePoints(name, text); });
}

std::vector<std::string> wordsOf(std::string_view text) {
    constexpr std::string_view BLANKS = " \t\r\n\f\v";
    std::vector<std::string> vWords;
    for (size_t begin = 0; (begin = text.find_first_not_of(BLANKS, begin)) != std::string_view::npos;) {
        const size_t end = std::min(text.find_first_of(BLANKS, begin), text.size());
        vWords.emplace_back(text.substr(begin, end - begin));
        begin = end;
    }
    return vWords;
}

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// The words of an accepted grid, from a minimal parser.
class Grid {
  public:
    explicit Grid(std::string_view text) : vWords_(wordsOf(text)) {
        for (; first_ < vWords_.size() && isLetter(vWords_[first_][0]); first_ += 2) {
            for (char& c : vWords_[first_]) c = static_cast<char>(std::tolower(c));
        }
    }
    bool isGrid() const { return first_ > 0; }

    void check(const Points& vPoints) const {
        const double numColumns = get("ncols", 0);
        require(numColumns * get("nrows", 0) == static_cast<double>(vWords_.size() - first_),
                "as many heights as cells");
        auto it = vPoints.begin();
        for (size_t i = first_; i < vWords_.size(); ++i) {
            const double z = std::strtod(vWords_[i].c_str(), nullptr);
            if (z == get("nodata_value", -9999)) continue;
            require(it != vPoints.end() && it->z() == z, "the heights of the file, in order");
            const double cell = static_cast<double>(i - first_), row = std::floor(cell / numColumns);
            require(isAt(it->x(), "x", cell - row * numColumns), "x of a cell");
            require(isAt(it++->y(), "y", get("nrows", 0) - 1 - row), "y of a cell");
        }
        require(it == vPoints.end(), "no more points than heights");
    }

  private:
    double get(const std::string& key, double otherwise) const {
        for (size_t i = 0; i < first_; i += 2) {
            if (vWords_[i] == key) return std::strtod(vWords_[i + 1].c_str(), nullptr);
        }
        return otherwise;
    }
    bool isAt(double coordinate, const std::string& axis, double cell) const {
        const long double width = get("d" + axis, get("cellsize", 0)), centre = get(axis + "llcenter", NAN);
        const long double first = std::isnan(centre) ? get(axis + "llcorner", NAN) + width / 2 : centre;
        const long double tolerance = 0x1p-50L * (std::abs(first) + cell * width) + 0x1p-1073L * (1 + cell);
        return std::abs(first + cell * width - coordinate) <= tolerance;
    }

    std::vector<std::string> vWords_;
    size_t first_ = 0;
};

std::string toText(const Points& vPoints, const char* separator, const char* heading) {
    std::ostringstream text;
    text.precision(17);
    text << heading;
    for (const Point2& p : vPoints) text << p.x() << separator << p.y() << separator << p.z() << '\n';
    return text.str();
}

void checkAccepted(const Points& vPoints, const std::string& text) {
    require(!vPoints.empty() && vPoints.capacity() <= text.size() + 1, "no more memory than the file is long");
    for (const Point2& p : vPoints) {
        require(std::isfinite(p.x()) && std::isfinite(p.y()) && std::isfinite(p.z()), "finite coordinates");
    }
    const Grid grid(text);
    if (grid.isGrid() && text.find_first_of(",;") == std::string::npos) grid.check(vPoints);
    const Result expected{vPoints, ""};
    require(parse("blanks", toText(vPoints, " ", "# x y z\n")) == expected, "the same when written as a list");
    require(parse("csv", toText(vPoints, "; ", "x;y;z\r\n")) == expected, "the same when written as CSV");
}

void readFrom(const std::string& text) {
    MemoryFile file;
    file.write(text.data(), text.size());
    const std::string name = file.getName();
    const Result result = parse(name, text);
    require(resultOf([&] { return terrain::readPoints(name); }) == result, "a file reads as its text");
    if (!result.message.empty()) return checkMessage(result.message, name);
    const bool bMarked = text.compare(0, BYTE_ORDER_MARK.size(), BYTE_ORDER_MARK) == 0;
    const std::string plain = text.substr(bMarked ? BYTE_ORDER_MARK.size() : 0);
    checkAccepted(result.vPoints, plain);
    require(parse(name, std::string(BYTE_ORDER_MARK) + plain) == result, "a byte order mark changes nothing");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* pData, std::size_t size) {
    return runQuietly([&] { readFrom(std::string(reinterpret_cast<const char*>(pData), size)); });
}
