#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "taro25d/ContourBand.h"
#include "taro25d/MsgBase.h"
#include "taro25d/MsgType.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/Triangle2.h"
#include "taro25d/Vector2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class HeightTree;
class Progress;
class Taro_2D;

/// Contour lines, bands of height and profiles of a surface made of triangles.
///
/// An object is built once and then asked for any number of heights. It finds the triangles that a height cuts through
/// an interval tree (Cormen, Leiserson and Rivest 1990), so that a query costs time for those triangles only, however
/// large the surface is. Queries change nothing: several threads may use one object at once, unless one of them changes
/// its number of threads, flag or listeners.
class TARO25D_API IsoContours {
  public:
    /// The surface of a list of triangles, usually all triangles of a triangulation or of a zone. The list is copied,
    /// the triangles and their corners are not: they must outlive this object, and not change. Triangles need not be
    /// linked; edges are identified by the x, y and z of their ends. Null pointers and triangles with a corner that is
    /// null or has a coordinate that is NaN or infinite are left out. O(n log n).
    explicit IsoContours(const std::vector<Triangle2*>& vTriangles);
    /// The surface of the Delaunay triangulation of some points, which this object makes and owns. Its profiles run
    /// along the direction given, of which x and y count; a direction without a length in x-y, or one that is not
    /// finite, counts as the x axis. Contours do not depend on it. Points that are all on one line give an empty
    /// surface. O(n log n).
    IsoContours(const std::vector<Point2>& vPoints, const Vector2& direction);
    /// Destroys the triangulation that was made of points; triangles of the client stay.
    ~IsoContours();
    IsoContours(const IsoContours&) = delete;
    IsoContours& operator=(const IsoContours&) = delete;

    /// The height of the lowest corner; -1.0 for an empty surface.
    double getMinHeight() const;
    /// The height of the highest corner; -1.0 for an empty surface.
    double getMaxHeight() const;

    /// Appends the contours at a height. Each is one whole polyline: the target of a segment is the source of the next.
    /// It is closed (the last target is the first source) or ends where the surface ends. All its points have the
    /// height as z, and lie on edges of the triangles. **Higher ground is on the left** of every polyline, so that
    /// contours run counterclockwise around summits; on a surface that overhangs, this holds for the first triangle of
    /// a polyline that has an area in x-y.
    ///
    /// The order does not depend on addresses: open polylines come first, then closed ones, both ordered by their first
    /// points; a closed one begins at its smallest point (by x, then y).
    ///
    /// A contour is not well defined at the height of a corner. With bAutoAdjustHeight the contours are then those at a
    /// height a few units in the last place above, which is also their z; without it nothing is appended, and false is
    /// returned. False is also the answer, whatever the height, when it cuts an edge that has more than two triangles.
    /// With bVerbose each of these three gives a warning. Where the steps between such a height and the corner are too
    /// small for the coordinates, points coincide: polylines may touch there, but are still whole.
    ///
    /// Otherwise the result is true, also for a height outside the range of the surface and for NaN. O(k + log n) for k
    /// cut triangles that are small compared with the surface, never more than O(k log n).
    bool getContours(double height, std::vector<std::vector<Segment2>>& vvContours, bool bVerbose = true,
                     bool bAutoAdjustHeight = true) const;

    /// The contours at several heights, on the threads of setNumCPU: appends one entry for each height, in their order,
    /// as the function above gives it. True if all heights succeed; the entry of a height that fails is empty, and with
    /// bVerbose a warning gives the reason.
    bool getContours(const std::vector<double>& vHeights, std::vector<std::vector<std::vector<Segment2>>>& vvvContours,
                     bool bVerbose = true) const;

    /// Appends the bands of height between levels, from the lowest to the highest: the ground below the first level,
    /// between successive ones, and above the last. Levels may be in any order, and repeated ones count once. Bands
    /// without ground are left out.
    ///
    /// Ground exactly at a level belongs to the band above. The rings of a band are simple and touch each other only in
    /// points; outer ones are ordered by their smallest points (x, then y). Neighbouring bands share their points
    /// exactly, and the areas of all bands add up to that of the surface, except for the rounding of points on its
    /// border. Lines within some rounding errors of each other coincide. The surface must not overhang. Uses the
    /// threads of setNumCPU; the result does not depend on them.
    ///
    /// False, with a warning if bVerbose and without a band, for a level that is not finite, and for triangles of which
    /// more than two have a common edge, or that overlap. O(n) for all triangles and O(k log k) for the points of the
    /// rings.
    bool getBands(const std::vector<double>& vLevels, std::vector<ContourBand>& vBands, bool bVerbose = true) const;

    /// Appends the profile of the surface in the vertical plane through a point: the segments, in the triangles or
    /// along their edges, from which the surface rises or falls to the next. The plane runs along the direction of the
    /// constructor, or the x axis for an object made from triangles, and the segments have that direction and order.
    /// Where the surface is connected, so are they: each target is the next source, unless segments are shorter than
    /// the rounding of coordinates. z of the point does not matter, and vertical triangles do not count. A point with
    /// an x or y that is not finite gets a warning and false; otherwise the result is true, also when the plane misses
    /// the surface. O(n + k log k) for n triangles of which the plane cuts k.
    bool getProfile(const Point2& point, std::vector<Segment2>& vSegments) const;

    /// The number of threads for bands and for contours at several heights: n > 0 sets n, n < 0 sets 1, n == 0 the
    /// number of hardware threads. Returns the number now in force; 1 at first.
    int setNumCPU(int n);
    /// Sets the flag (not owned) that cancels queries: soon after it is set they throw TaroCancelled and append
    /// nothing. Null for none.
    void setCancelFlag(const std::atomic<bool>* pFlag);
    /// Adds a listener for one type of messages, unless exactly that pair is already present. It is not owned, and is
    /// called from the thread of the query: with the fraction done of bands and of contours at several heights, and
    /// with warnings.
    void subscribe(MsgType type, MsgBase* pListener);
    /// Removes a listener; nothing happens when it is not subscribed.
    void unsubscribe(MsgType type, MsgBase* pListener);

  private:
    Vector2 direction_;
    std::unique_ptr<Taro_2D> pSurface_;  // null for triangles of the client
    std::unique_ptr<HeightTree> pTree_;
    std::unique_ptr<Progress> pProgress_;
    int numCPU_ = 1;
};

}  // namespace LUMO_TARO25D
