#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <vector>

#include "taro25d/MsgBase.h"
#include "taro25d/MsgType.h"
#include "taro25d/Point2.h"
#include "taro25d/Segment2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class Taro_2D;
struct EfficientModelState;

/// A surface through a few of many points. No given point is farther from it than a limit, measured vertically.
///
/// Points are chosen greedily: after kept lines and the corners of the convex hull, the point farthest from the present
/// surface comes next (Garland and Heckbert 1995). If only the error is limited, many points are first chosen in
/// regions, on several threads. When the limit is met, chosen points are removed again where the limit holds without
/// them. Every vertex is a given point with its height, except on kept lines: ends and crossings of these are vertices
/// too, and vertices on them have their heights.
///
/// Of points at one place the first is used; later ones are left out with one warning, and so are points on a kept
/// line, where the height of the line holds, and points with a coordinate that is not finite. Points that are all on
/// one line give a model of all of them without triangles. The result depends neither on the number of threads nor on
/// addresses.
///
/// Memory: about 100 bytes for each given point, and the triangulation. Time: O(n log n) for points in general
/// position; a few times the bulk insertion of all points.
class TARO25D_API EfficientModel {
  public:
    /// A model of these points, which are copied.
    explicit EfficientModel(const std::vector<Point2>& vPoints);
    ~EfficientModel();
    EfficientModel(const EfficientModel&) = delete;
    EfficientModel& operator=(const EfficientModel&) = delete;

    /// Adds breaklines and borders that stay in the model, with their own heights. Lists with a coordinate that is not
    /// finite are refused with a warning.
    void keep(const std::vector<Segment2>& vSegments);
    /// The largest vertical distance of a given point from the model. Negative and NaN are refused with a warning; 0
    /// keeps all points that are not on the surface of others.
    void setMaxError(double maxError);
    /// The largest number of vertices of the model. Kept lines and the corners of the hull are always inserted, even if
    /// they are more. 0 is refused with a warning.
    void setMaxNumberOfPoints(std::size_t num);
    /// The number of threads: n > 0 sets n, n < 0 sets 1, n == 0 the number of hardware threads.
    void setNumCPU(int num);
    /// Sets whether the limit shall hold for the whole surface: the triangulation of all points and kept lines, with
    /// canonical diagonals, and the model then differ nowhere by more than the limit, also inside triangles. Takes
    /// several times as long.
    void setCertified(bool bCertified);

    /// Makes the model; a second call makes it again. Without any limit it warns and does nothing.
    void go();

    /// The model, owned by this object; empty before go(). A client may change it.
    Taro_2D* getTriangulation() const;
    /// The largest vertical distance of a given point, except those that were left out, measured on the finished model;
    /// NaN before go().
    double getError() const;
    /// The largest vertical distance between the surface of all points and kept lines and the model; NaN before go(),
    /// and, with a warning, if the client has inserted a vertex that is none of the given points. Each call computes it,
    /// at the cost of a triangulation of all points.
    double getSurfaceError() const;

    /// Adds a listener (not owned): of MT_PROGRESS for the progress of go(), of MT_WARNING for its warnings.
    void subscribe(MsgType type, MsgBase* pListener);
    /// Removes a listener of one type of messages.
    void unsubscribe(MsgType type, MsgBase* pListener);
    /// While the flag is set, go() and getSurfaceError() throw TaroCancelled; go() may be called again afterwards. Not
    /// owned; null for none.
    void setCancelFlag(const std::atomic<bool>* pFlag);

  private:
    std::unique_ptr<EfficientModelState> pState_;
};

}  // namespace LUMO_TARO25D
