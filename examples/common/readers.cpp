#include "readers.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>

using LUMO_TARO25D::Point2;

namespace terrain {

namespace {

constexpr std::string_view BLANKS = " \t\r\n\f\v";

bool isLetter(char c) { return std::isalpha(static_cast<unsigned char>(c)) != 0; }

std::string_view trimmed(std::string_view text) {
    const size_t begin = text.find_first_not_of(BLANKS);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(BLANKS) - begin + 1);
}

std::string lowerCase(std::string_view word) {
    std::string result(word);
    for (char& c : result) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return result;
}

/// A word as it may stand in a message: not too long, and nothing in it that a terminal would obey.
std::string inQuotes(std::string_view word) {
    std::string result(word.substr(0, 30));
    const auto isUnprintable = [](unsigned char c) { return c < ' ' || c > '~'; };
    std::replace_if(result.begin(), result.end(), isUnprintable, '?');
    return "'" + result + (word.size() > 30 ? "...'" : "'");
}

/// Text that is read word by word or line by line. It is cheap to copy: a copy looks ahead.
class Text {
  public:
    Text(const std::string& name, std::string_view text) : pName_(&name), rest_(text) {}

    /// The next word between blanks; empty at the end.
    std::string_view nextWord();
    /// Sets the next line, without its end; false at the end.
    bool nextLine(std::string_view& line);
    /// The next word, which must be a number.
    double nextNumber(const std::string& what);

    double toNumberOrFail(std::string_view word) const;
    /// Throws BadInput for the line of what was read last.
    [[noreturn]] void fail(const std::string& reason) const;

    size_t numBytesLeft() const { return rest_.size(); }

  private:
    void skip(size_t numBytes);

    const std::string* pName_;
    std::string_view rest_;
    size_t line_ = 1;        // where rest_ begins
    size_t lineOfLast_ = 1;  // where the last word or line began
};

void Text::skip(size_t numBytes) {
    const std::string_view skipped = rest_.substr(0, numBytes);
    line_ += static_cast<size_t>(std::count(skipped.begin(), skipped.end(), '\n'));
    rest_.remove_prefix(skipped.size());
}

std::string_view Text::nextWord() {
    skip(rest_.find_first_not_of(BLANKS));
    if (rest_.empty()) return {};
    lineOfLast_ = line_;
    const std::string_view word = rest_.substr(0, rest_.find_first_of(BLANKS));
    rest_.remove_prefix(word.size());
    return word;
}

bool Text::nextLine(std::string_view& line) {
    if (rest_.empty()) return false;
    lineOfLast_ = line_;
    line = rest_.substr(0, rest_.find('\n'));
    skip(line.size() + 1);
    return true;
}

double Text::nextNumber(const std::string& what) {
    const std::string_view word = nextWord();
    if (word.empty()) fail("the file ends where " + what + " should stand");
    return toNumberOrFail(word);
}

double Text::toNumberOrFail(std::string_view word) const {
    const std::optional<double> number = toNumber(word);
    if (!number) fail(inQuotes(word) + " is not a finite number");
    return *number;
}

void Text::fail(const std::string& reason) const {
    throw BadInput(*pName_ + ":" + std::to_string(lineOfLast_) + ": " + reason);
}

// ---- ESRI ASCII grids ----

/// The header of a grid, by key in lower case.
class GridHeader {
  public:
    /// Reads on to the first height.
    explicit GridHeader(Text& text);

    size_t numColumns() const { return static_cast<size_t>(mEntries_.at("ncols")); }
    size_t numRows() const { return static_cast<size_t>(mEntries_.at("nrows")); }
    double x(size_t column) const { return left_ + static_cast<double>(column) * dx_; }
    double y(size_t row) const { return bottom_ + static_cast<double>(numRows() - 1 - row) * dy_; }
    bool isNoData(double height) const { return height == noData_; }

  private:
    static bool isKey(const std::string& word);
    void addEntry(const std::string& key, Text& text);
    double get(const std::string& key, const Text& text) const;
    double cellWidth(const std::string& key, const Text& text) const;
    double firstCentre(const std::string& side, double width, const Text& text) const;
    void checkSize(const Text& text) const;

    std::map<std::string, double> mEntries_;
    double dx_ = 0, dy_ = 0;        // width and height of a cell
    double left_ = 0, bottom_ = 0;  // centre of the cell in the south-west
    double noData_ = -9999;
};

GridHeader::GridHeader(Text& text) {
    for (Text ahead = text;; text = ahead) {
        const std::string key = lowerCase(ahead.nextWord());
        if (key.empty() || !isLetter(key[0])) break;
        addEntry(key, ahead);
    }
    checkSize(text);
    dx_ = cellWidth("dx", text);
    dy_ = cellWidth("dy", text);
    left_ = firstCentre("xll", dx_, text);
    bottom_ = firstCentre("yll", dy_, text);
    if (mEntries_.count("nodata_value")) noData_ = mEntries_.at("nodata_value");
    const bool bFinite = std::isfinite(x(numColumns() - 1)) && std::isfinite(y(0));
    if (!bFinite) text.fail("the grid reaches beyond all numbers");
}

bool GridHeader::isKey(const std::string& word) {
    static const std::array<const char*, 10> aKeys{"ncols",     "nrows",    "xllcorner", "xllcenter", "yllcorner",
                                                   "yllcenter", "cellsize", "dx",        "dy",        "nodata_value"};
    return std::find(aKeys.begin(), aKeys.end(), word) != aKeys.end();
}

void GridHeader::addEntry(const std::string& key, Text& text) {
    if (!isKey(key)) text.fail(inQuotes(key) + " is neither a key of a grid header nor a height");
    const double value = text.nextNumber(key);
    const bool bCount = key == "ncols" || key == "nrows";
    const bool bWidth = key == "cellsize" || key == "dx" || key == "dy";
    const bool bWhole = value >= 1 && value == std::floor(value);
    if (bCount && !bWhole) text.fail(key + " must be a whole number above 0");
    if (bWidth && value <= 0) text.fail(key + " must be above 0");
    if (!mEntries_.emplace(key, value).second) text.fail(key + " is given twice");
    for (const std::string side : {"xll", "yll"}) {
        const bool bBoth = mEntries_.count(side + "corner") && mEntries_.count(side + "center");
        if (bBoth) text.fail(side + "corner and " + side + "center are both given");
    }
}

double GridHeader::get(const std::string& key, const Text& text) const {
    const auto it = mEntries_.find(key);
    if (it == mEntries_.end()) text.fail("the header has no " + key);
    return it->second;
}

double GridHeader::cellWidth(const std::string& key, const Text& text) const {
    return mEntries_.count(key) ? mEntries_.at(key) : get("cellsize", text);
}

double GridHeader::firstCentre(const std::string& side, double width, const Text& text) const {
    if (mEntries_.count(side + "center")) return mEntries_.at(side + "center");
    return get(side + "corner", text) + width / 2;
}

/// Refuses numbers of cells that the text cannot hold: each height takes at least a digit and a blank.
void GridHeader::checkSize(const Text& text) const {
    const double numHeights = get("ncols", text) * get("nrows", text);
    if (numHeights > static_cast<double>(text.numBytesLeft() / 2 + 1)) {
        text.fail("cut short: the rest of the file is too small for nrows x ncols heights");
    }
}

[[noreturn]] void failCutShort(size_t row, size_t column, const GridHeader& header, const Text& text) {
    const std::string name = "row " + std::to_string(row + 1);
    if (column == 0) text.fail("cut short: no heights from " + name + " on");
    text.fail("cut short: " + name + " has only " + std::to_string(column) + " of " +
              std::to_string(header.numColumns()) + " heights");
}

std::vector<Point2> parseGrid(Text text) {
    const GridHeader header(text);
    std::vector<Point2> vPoints;
    vPoints.reserve(header.numRows() * header.numColumns());
    for (size_t row = 0; row < header.numRows(); ++row) {
        for (size_t column = 0; column < header.numColumns(); ++column) {
            const std::string_view word = text.nextWord();
            if (word.empty()) failCutShort(row, column, header, text);
            const double height = text.toNumberOrFail(word);
            if (!header.isNoData(height)) vPoints.emplace_back(header.x(column), header.y(row), height);
        }
    }
    if (!text.nextWord().empty()) text.fail("more than nrows x ncols heights");
    if (vPoints.empty()) text.fail("no cell of the grid has a height");
    return vPoints;
}

// ---- Lists of points: x y z, and CSV ----

/// The three fields of a line, and how many there really are.
struct Fields {
    std::array<std::string_view, 3> aFields;
    size_t numFields = 0;

    void add(std::string_view field) {
        if (numFields < aFields.size()) aFields[numFields] = field;
        ++numFields;
    }
    bool haveNumber() const {
        return std::any_of(aFields.begin(), aFields.end(), [](std::string_view field) { return toNumber(field); });
    }
};

/// What separates the fields of a line; ' ' stands for any number of blanks.
char separatorOf(std::string_view line) {
    for (const char separator : {';', ','}) {
        if (line.find(separator) != std::string_view::npos) return separator;
    }
    return ' ';
}

Fields splitAtBlanks(std::string_view line) {
    Fields fields;
    for (; !line.empty(); line = trimmed(line)) {
        const std::string_view word = line.substr(0, line.find_first_of(BLANKS));
        fields.add(word);
        line.remove_prefix(word.size());
    }
    return fields;
}

Fields split(std::string_view line, char separator) {
    if (separator == ' ') return splitAtBlanks(line);
    Fields fields;
    for (size_t begin = 0, end = 0; end != std::string_view::npos; begin = end + 1) {
        end = line.find(separator, begin);
        fields.add(trimmed(line.substr(begin, end - begin)));
    }
    return fields;
}

Point2 toPoint(const Fields& fields, const Text& text) {
    const size_t numFields = fields.numFields;
    if (numFields != 3) text.fail("x, y and z expected, but found " + std::to_string(numFields) + " values");
    std::array<double, 3> aNumbers{};
    std::transform(fields.aFields.begin(), fields.aFields.end(), aNumbers.begin(),
                   [&](std::string_view field) { return text.toNumberOrFail(field); });
    return Point2(aNumbers[0], aNumbers[1], aNumbers[2]);
}

std::vector<Point2> parseList(Text text) {
    std::vector<Point2> vPoints;
    char separator = '\0';
    std::string_view line;
    while (text.nextLine(line)) {
        line = trimmed(line.substr(0, line.find('#')));
        if (line.empty()) continue;
        const bool bFirst = separator == '\0';
        if (bFirst) separator = separatorOf(line);
        const Fields fields = split(line, separator);
        const bool bColumnNames = bFirst && separator != ' ' && !fields.haveNumber();
        if (!bColumnNames) vPoints.push_back(toPoint(fields, text));
    }
    if (vPoints.empty()) text.fail("there are no points in the file");
    return vPoints;
}

// ---- Files ----

/// A grid begins with a key of its header. Column names begin with a letter too, but have separators between them.
bool isGrid(Text text) {
    std::string_view line;
    while (line.empty() && text.nextLine(line)) line = trimmed(line);
    return !line.empty() && isLetter(line[0]) && separatorOf(line) == ' ';
}

std::string readFile(const std::string& filename) {
    std::error_code problem;
    const std::filesystem::file_status status = std::filesystem::status(filename, problem);
    if (problem) throw BadInput(filename + ": " + problem.message());
    if (!std::filesystem::is_regular_file(status)) throw BadInput(filename + ": not a regular file");
    std::ifstream stream(filename, std::ios::binary);
    if (!stream) throw BadInput(filename + ": " + std::strerror(errno));
    std::string content(std::filesystem::file_size(filename), '\0');
    if (!stream.read(content.data(), static_cast<std::streamsize>(content.size()))) {
        throw BadInput(filename + ": cannot be read");
    }
    return content;
}

}  // namespace

std::optional<double> toNumber(std::string_view word) {
    if (word.size() > 1 && word[0] == '+' && word[1] != '-') word.remove_prefix(1);
    const char* pEnd = word.data() + word.size();
    double number = 0;
    auto [pStop, problem] = std::from_chars(word.data(), pEnd, number);
    if (problem == std::errc::result_out_of_range) {
        // It may also be too small, and is then as good as 0.
        long double wide = 0;
        problem = std::from_chars(word.data(), pEnd, wide).ec;
        number = static_cast<double>(wide);
    }
    if (problem != std::errc() || pStop != pEnd || !std::isfinite(number)) return std::nullopt;
    return number;
}

std::vector<Point2> parsePoints(const std::string& name, std::string_view text) {
    constexpr std::string_view BYTE_ORDER_MARK = "\xEF\xBB\xBF";
    if (text.substr(0, BYTE_ORDER_MARK.size()) == BYTE_ORDER_MARK) text.remove_prefix(BYTE_ORDER_MARK.size());
    const Text content(name, text);
    return isGrid(content) ? parseGrid(content) : parseList(content);
}

std::vector<Point2> readPoints(const std::string& filename) { return parsePoints(filename, readFile(filename)); }

}  // namespace terrain
