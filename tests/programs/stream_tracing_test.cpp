// The streams belong to an example, not to the library, so they are compiled right here.
#include "breaklines/streams.cpp"

#include <gtest/gtest.h>

#include <cmath>

#include "breaklines/grid.cpp"
#include "support/generators.h"

using namespace breaklines;

namespace {

template <class F>
Grid makeGrid(int numColumns, int numRows, F height) {
    std::vector<Point2> vPoints;
    for (int j = 0; j < numRows; ++j) {
        for (int i = 0; i < numColumns; ++i) vPoints.emplace_back(10.0 * i, 20.0 * j, height(i, j));
    }
    return Grid(vPoints, "grid");
}

}  // namespace

TEST(Streams, AValleyWithAPitIsOneStreamToItsMouth) {
    // It runs along row 3 towards x = 0; in the middle there is a hole, which must not end it.
    const Grid grid = makeGrid(9, 7, [](int i, int j) { return i == 4 && j == 3 ? -50.0 : i + 5.0 * std::abs(j - 3); });
    const Drainage drainage(grid);
    EXPECT_EQ(drainage.numInPits(), 1u);
    const std::vector<Stream> vStreams = drainage.traceStreams(7);
    ASSERT_EQ(vStreams.size(), 1u);
    const Point2 &source = grid.point(vStreams[0].vCells.front()), &mouth = grid.point(vStreams[0].vCells.back());
    EXPECT_EQ(source, Point2(50.0, 60.0, 0.0));
    EXPECT_EQ(mouth, Point2(0.0, 60.0, 0.0));
    EXPECT_EQ(vStreams[0].vCells.size(), 6u);
}

TEST(Streams, EveryCellDrainsAndStreamsMeetAtTheirEnds) {
    Random random(5);
    // Few heights, so that there are level grounds and pits, and a missing corner.
    std::vector<Point2> vPoints;
    for (int cell = 15; cell < 40 * 30; ++cell) {
        vPoints.emplace_back(cell % 40, cell / 40, static_cast<double>(random() % 8));
    }
    const Grid grid(vPoints, "grid");
    const Drainage drainage(grid);
    std::size_t numDrained = 0, numOnStreams = 0;
    for (Cell cell = 0; cell < grid.numCells(); ++cell) {
        if (drainage.isOutlet(cell)) {
            numDrained += drainage.numDrained(cell);
            continue;
        }
        EXPECT_GT(drainage.numDrained(drainage.below(cell)), drainage.numDrained(cell));
        numOnStreams += drainage.numDrained(cell) >= 5;
    }
    EXPECT_EQ(numDrained, grid.numCells());
    std::size_t numSteps = 0;
    std::vector<int> vNumEnds(grid.numCells(), 0);
    for (const Stream& stream : drainage.traceStreams(5)) {
        for (std::size_t i = 1; i < stream.vCells.size(); ++i) {
            EXPECT_EQ(drainage.below(stream.vCells[i - 1]), stream.vCells[i]);
        }
        numSteps += stream.vCells.size() - 1;
        ++vNumEnds[stream.vCells.back()];
    }
    EXPECT_EQ(numSteps, numOnStreams);  // each step of a stream belongs to one piece
    for (Cell cell = 0; cell < grid.numCells(); ++cell) EXPECT_TRUE(vNumEnds[cell] != 1 || drainage.isOutlet(cell));
}

TEST(Streams, PointsInNoGridAreRefused) {
    std::vector<Point2> vPoints;
    for (int i = 0; i < 100; ++i) vPoints.emplace_back(i, i * i, 0.0);
    EXPECT_THROW(Grid(vPoints, "grid"), terrain::BadInput);
}
