// The readers belong to an example, not to the library, so they are compiled right here.
#include "common/readers.cpp"

#include <gtest/gtest.h>

using namespace terrain;

namespace {

/// The reason for which the text is refused; empty if it is accepted.
std::string refusal(const std::string& text) {
    try {
        parsePoints("in", text);
        return "";
    } catch (const BadInput& problem) {
        return problem.what();
    }
}

/// The points as text, to be compared at a glance.
std::string pointsOf(const std::string& text) {
    std::string result;
    for (const Point2& point : parsePoints("in", text)) {
        for (const double value : {point.x(), point.y(), point.z()}) result += std::to_string(value).substr(0, 4) + " ";
        result += "| ";
    }
    return result;
}

}  // namespace

TEST(TerrainReader, PlacesTheHeightsOfAGrid) {
    const std::string centred = "0.00 2.00 7.00 | 1.00 2.00 8.00 | 0.00 0.00 5.00 | 1.00 0.00 6.00 | ";
    EXPECT_EQ(pointsOf("ncols 2\nnrows 2\nxllcenter 0\nyllcenter 0\ndx 1\ndy 2\n7 8\n5 6\n"), centred);
    EXPECT_EQ(pointsOf("NROWS 2 NCols 2\r\nDX +1 dy 2e0 yllCORNER -1 XLLCORNER -.5\r\n7 8 5\r\n6"), centred);
    EXPECT_EQ(pointsOf("ncols 3\nnrows 1\nxllcorner 0\nyllcorner 0\ncellsize 2\nNODATA_value -1\n-1 4 -1"),
              "3.00 1.00 4.00 | ");
    EXPECT_EQ(pointsOf("ncols 2 nrows 1 xllcorner 0 yllcorner 0 cellsize 2 -9999 4"), "3.00 1.00 4.00 | ");
}

TEST(TerrainReader, ReadsListsWithAnySeparator) {
    const std::string expected = "1.50 2.00 3.00 | -4.0 5.00 6.00 | ";
    for (const char* text :
         {"1.5 2 3\n-4 5 6\n", "# survey\n\n \t1.5\t2  +3 # first\r\n-4 5 6", "1.5,2,3\n-4,5,6",
          "x;y;z\n1.5;2;3\n-4 ; 5 ; 6\n", "\xEF\xBB\xBF\"x\", \"y\", \"z\"\n1.5, 2, 3\n-4, 5, 6\n"}) {
        EXPECT_EQ(pointsOf(text), expected) << text;
    }
}

TEST(TerrainReader, TakesWhatIsTooSmallForADoubleAsZero) {
    EXPECT_EQ(pointsOf("1e-400 -1e-320 -2.5e-4000"), "0.00 -0.0 -0.0 | ");
    EXPECT_EQ(toNumber("5e-324"), 5e-324);
}

TEST(TerrainReader, RefusesWithLineAndReason) {
    const std::string header = "ncols 2\nnrows 2\nxllcorner 0\nyllcorner 0\ncellsize 1\n";
    const struct {
        std::string text, line, reason;
    } aCases[] = {
        {"", "1", "no points"},
        {" \n\n# nothing\n", "3", "no points"},
        {"x,y,z\n", "1", "no points"},
        {"1 2 3\n4 5\n", "2", "found 2 values"},
        {"1,2,3\n4,5,6,7\n", "2", "found 4 values"},
        {"1,2,3\n4,,6\n", "2", "'' is not"},
        {"1 2 3\n4 five 6\n", "2", "'five' is not"},
        {"x,y,z\nx,y,z\n", "2", "'x' is not"},
        {"1,y,z\n", "1", "'y' is not"},
        {"1 2 3\n1 2 nan\n", "2", "'nan' is not"},
        {"1 2 3\n-inf 2 3\n", "2", "'-inf' is not"},
        {"1 2 1e999\n", "1", "'1e999' is not"},
        {"1 2 0x10\n", "1", "'0x10' is not"},
        {"1;2,5;3\n", "1", "'2,5' is not"},
        {"1 2 +-3\n", "1", "'+-3' is not"},
        {std::string("1 2 \x1b[31m\0", 10), "1", "'?[31m?' is not"},
        {"1 2 " + std::string(1000, '7') + "\n", "1", "7...' is not"},
        {header + "1 2\n3\n", "7", "row 2 has only 1 of 2 heights"},
        {header + "1 2 \n \n", "6", "no heights from row 2 on"},
        {header + "1 2\n3 4\n5\n", "8", "more than"},
        {header + "1 2\n3 x\n", "7", "'x' is not"},
        {header + "1 2\n3 nan\n", "7", "'nan' is not"},
        {header + "NODATA_value 1\n1 1\n1 1\n", "8", "no cell"},
        {header + "nosuchkey 1\n1 2 3 4\n", "6", "'nosuchkey' is neither"},
        {header + "ncols 2\n1 2 3 4\n", "6", "given twice"},
        {header + "yllcenter 0.5\n1 2 3 4\n", "6", "both given"},
        {header, "5", "too small"},
        {"ncols 2\nnrows 2\nxllcorner 0\ncellsize 1\n1 2 3 4\n", "4", "no yllcorner"},
        {"ncols 2\nnrows 2\nxllcorner 0\nyllcorner 0\ndx 1\n1 2 3 4\n", "5", "no cellsize"},
        {"ncols 2\nnrows", "2", "ends where nrows"},
        {"ncols 0\nnrows 2\n", "1", "ncols must be"},
        {"ncols 2\nnrows -2\n", "2", "nrows must be"},
        {"ncols 1.5\n", "1", "ncols must be"},
        {"ncols 2\ncellsize 0\n", "2", "cellsize must be"},
        {"ncols 1e9\nnrows 1e9\nxllcorner 0\nyllcorner 0\ncellsize 1\n1 2 3\n", "5", "too small"},
        {"ncols 1e300\nnrows 1e300\nxllcorner 0\nyllcorner 0\ncellsize 1\n1 2 3\n", "5", "too small"},
        {"ncols 2\nnrows 2\nxllcorner 1e308\nyllcorner 0\ncellsize 1e308\n1 2 3 4\n", "5", "beyond"},
    };
    for (const auto& [text, line, reason] : aCases) {
        const std::string message = refusal(text);
        EXPECT_EQ(message.rfind("in:" + line + ": ", 0), 0u) << text << "\n" << message;
        EXPECT_NE(message.find(reason), std::string::npos) << text << "\n" << message;
    }
}

TEST(TerrainReader, ReadsTheSampleAndRefusesEveryCutOfIt) {
    const std::string filename = TARO25D_EXAMPLE_DATA_DIR "/jacksboro.asc";
    const std::string text = readFile(filename);
    const std::vector<Point2> vPoints = readPoints(filename);
    EXPECT_EQ(vPoints.size(), 344u * 403u);
    EXPECT_TRUE(samePoint(vPoints.front(), Point2(0, 343 * 92.47, 483)));
    for (size_t length = 0; length + 10 < text.size(); length += 49999) {
        EXPECT_NE(refusal(text.substr(0, length)), "") << length;
    }
    EXPECT_THROW(readPoints(filename + ".missing"), BadInput);
    EXPECT_THROW(readPoints(TARO25D_EXAMPLE_DATA_DIR), BadInput);
}
