#pragma once

#include <atomic>
#include <cstddef>
#include <map>
#include <memory>
#include <utility>

#include "taro25d/CAF_Component.h"
#include "taro25d/MsgBase.h"
#include "taro25d/MsgType.h"
#include "taro25d/Point2.h"
#include "taro25d/SurfaceDifference.h"
#include "taro25d/Zone2.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

class CutAndFillImpl;
class Visualizer2;
class Visualizer3;

/// Compares two surfaces of a piece of ground: where earth was removed (cut), where it was added (fill), and how much.
///
/// The surfaces are zones, usually of two triangulations, one before and one after the earthworks; they need not have
/// any vertex or edge in common, nor cover equal areas: only the ground that is in both is compared. From their
/// vertices and edges a combined triangulation is made, cut along the lines where the surfaces meet, and divided into
/// components.
///
/// Places nearer than about 1e-6, in the unit of the coordinates, may become one. Steep faces should be at least 1e-5
/// wide, and zones much wider: beside a narrower face the ground may take a height from the far side of the face.
///
/// Construct, call `go` once, then query. All objects that it returns belong to this object and are destroyed with it.
/// The zones must exist, and their triangulations must not change, until `go` has returned; `go` does not change them.
class TARO25D_API CutAndFill {
  public:
    /// Stores the zones, which it does not own, and does no work yet. Where the two heights of a vertex differ by no
    /// more than the threshold, the ground counts as unchanged. The threshold is in the unit of the heights; a value
    /// that is NaN or not above 0 means none.
    CutAndFill(Zone2* pZoneBefore, Zone2* pZoneAfter, double ignoreThreshold);
    /// Destroys all objects that this object has returned.
    ~CutAndFill();
    CutAndFill(const CutAndFill&) = delete;
    CutAndFill& operator=(const CutAndFill&) = delete;

    /// Runs the whole computation, on the calling thread. A zone that is null, zones that do not overlap, and a second
    /// call get a warning; without an overlap there are no components. Heights that contradict each other, which is an
    /// internal fault, are printed and end the process with status 1; where a message handler is set, they fail with
    /// TaroException. O((n + k) log n) for n triangles whose edges cross k times, for surfaces of well-shaped triangles
    /// O(n log n).
    void go();

    /// The number of components; 0 before `go`.
    size_t getNumberOfComponents() const;
    /// Component i: those without change first, then cut, then fill, each kind in the order of its smallest points (by
    /// x, then y). Cut or fill of less than 0.0001 keeps its place in this order, although its type is CT_NO_CHANGE. An
    /// index that is too large fails with TaroException.
    CAF_Component* getComponent(size_t i) const;

    /// Replaces totals by the sums of the volumes and areas of the components of each type; zeros before `go`. Linear
    /// in the number of triangles.
    void getTotals(SurfaceDifference& totals) const;

    /// The zone of the combined triangulation that the components make up together, null if there is none, and the
    /// heights (before, after) of exactly its vertices, which replace the content of the map. z of a vertex is the
    /// height before minus the height after. Where the difference counts as 0, both heights are their mean.
    void getDiffZone(Zone2*& pDiffZone, std::map<Point2*, std::pair<double, double>>& mVtx2BeforeAfter) const;

    /// Adds the components to a drawing, which is not owned: cut red, fill blue, the rest light grey, and in black the
    /// lines along which cut or fill begins. Null is ignored.
    void show(Visualizer2* pVisualizer) const;
    /// Adds the surface after the earthworks to a scene, which is not owned: lowered ground in the layer `cut`, red,
    /// raised ground in `fill`, blue, and the rest in `unchanged`, grey. Where the difference counts as 0, the surface
    /// is the mean of both. Layers without triangles are left out. Null is ignored.
    void show(Visualizer3* pVisualizer) const;
    /// Does nothing; without it show(nullptr) would be ambiguous.
    void show(std::nullptr_t) const {}

    /// Adds a listener for one type of messages, unless exactly that pair is already present. It is not owned, and is
    /// called from the thread that calls `go`: with the fraction done, and with warnings.
    void subscribe(MsgType type, MsgBase* pListener);
    /// Removes a listener; nothing happens when it is not subscribed.
    void unsubscribe(MsgType type, MsgBase* pListener);
    /// Sets the flag (not owned) that cancels `go`; null, the initial value, for none. Any thread may set the flag at
    /// any time; `go` tests it at least every 50 ms and throws TaroCancelled once it is set, or if an exception of a
    /// listener was kept. There are then no components, and `go` may be called again. `go` also obeys the flags of the
    /// triangulations of both zones.
    void setCancelFlag(const std::atomic<bool>* pFlag);

  private:
    std::unique_ptr<CutAndFillImpl> pImpl_;
};

}  // namespace LUMO_TARO25D
