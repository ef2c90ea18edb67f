#pragma once

#include <memory>
#include <string>
#include <vector>

#include "taro25d/Color.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class Circle2;
class ConstraintSegment2;
class Edge2;
class Label;
class Point2;
class PostscriptPage;
class Segment2;
class Triangle2;

/// Draws points, segments, circles, triangles and labels in the x-y plane into a PostScript file of one A4 page.
///
/// Objects are collected first; `writeFile` (or the destructor) then scales all of them into a square of 480 page
/// units, keeping the aspect ratio, and writes the page. Whatever the order of adding, triangles are at the bottom,
/// then come segments, points, circles and labels. Coordinates are copied when an object is added, so it may change or
/// die afterwards. Objects with a coordinate that is NaN or infinite, and null pointers, are left out; components,
/// widths and font sizes outside their range are clamped to it.
class TARO25D_API Visualizer2 {
  public:
    /// Opens the file for writing, which empties it, and prints its name on standard output. A file that
    /// cannot be opened is reported when it should be written.
    explicit Visualizer2(const std::string& filename);
    /// Writes the file unless that has been done, and prints a message that it does so.
    ~Visualizer2();
    Visualizer2(const Visualizer2&) = delete;
    Visualizer2& operator=(const Visualizer2&) = delete;

    /// Adds a point, drawn as a small cross. Equal points of equal colour are drawn once.
    void addObject(const Point2& point, const Color& color);
    /// Adds each point of a list.
    void addObject(const std::vector<Point2>& vPoints, const Color& color);
    /// Adds each vertex of a list; null pointers are left out.
    void addObject(const std::vector<Point2*>& vPoints, const Color& color);
    /// Adds a segment.
    void addObject(const Segment2& segment, const Color& color);
    /// Adds each segment of a list.
    void addObject(const std::vector<Segment2>& vSegments, const Color& color);
    /// Adds an edge, as the segment between its two vertices.
    void addObject(const Edge2& edge, const Color& color);
    /// Adds each edge of a list.
    void addObject(const std::vector<Edge2>& vEdges, const Color& color);
    /// Adds constraint segments, alive or dead, as the segments between their two vertices.
    void addObject(const std::vector<ConstraintSegment2*>& vCSegs, const Color& color);
    /// Adds a circle, filled if the colour says so.
    void addObject(const Circle2& circle, const Color& color);
    /// Adds a triangle. A filled one gets a grey outline of the colour's width.
    void addObject(const Triangle2& triangle, const Color& color);
    /// Adds each triangle of a list.
    void addObject(const std::vector<Triangle2>& vTriangles, const Color& color);
    /// Adds each triangle of a list; null pointers are left out.
    void addObject(const std::vector<Triangle2*>& vTriangles, const Color& color);
    /// Adds a text.
    void addObject(const Label& label, const Color& color);

    /// Adds a line of text to the block above the drawing. There is room for ten lines of 120 characters:
    /// longer lines are cut, further lines are dropped with a warning.
    void addHeaderLine(const std::string& text);

    /// Writes and closes the file; objects added afterwards are not drawn. A second call only prints a
    /// warning. Failing to write gets a warning, never an exception. Cost: linear in the number of objects, n
    /// log n in that of points.
    void writeFile();

  private:
    std::unique_ptr<PostscriptPage> pPage_;
};

}  // namespace LUMO_TARO25D
