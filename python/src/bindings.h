#pragma once

#include <nanobind/nanobind.h>

#include <memory>
#include <mutex>

#include "Surface.h"
#include "TriangleRows.h"

/// Each adds one topic to the module. Zones come after surfaces, and all others after zones.
void bindSurface(nanobind::module_& module);
void bindBreaklines(nanobind::module_& module);
void bindZones(nanobind::module_& module);
void bindMeshing(nanobind::module_& module);
void bindAnalysis(nanobind::module_& module);
void bindFiles(nanobind::module_& module);
void bindTiles(nanobind::module_& module);
void bindTileParts(nanobind::module_& module);
void bindModelling(nanobind::module_& module);
void bindDatasets(nanobind::module_& module);

/// What a Python object of a zone holds: it keeps the surface alive, and the zones that it is made of.
class ZoneHandle {
  public:
    ZoneHandle(std::shared_ptr<Surface> pSurface, LUMO_TARO25D::Zone2* pZone)
        : pSurface_(std::move(pSurface)), pZone_(pZone) {}
    ~ZoneHandle() { pSurface_->discard(pZone_); }
    ZoneHandle(const ZoneHandle&) = delete;
    ZoneHandle& operator=(const ZoneHandle&) = delete;

    void setOperands(std::shared_ptr<ZoneHandle> pFirst, std::shared_ptr<ZoneHandle> pSecond) {
        pFirst_ = std::move(pFirst);
        pSecond_ = std::move(pSecond);
    }
    const std::shared_ptr<Surface>& getSurface() const { return pSurface_; }
    LUMO_TARO25D::Zone2* get() const { return pZone_; }
    /// The triangles as they are now. For readers of the surface, several at once.
    std::shared_ptr<const TriangleRows> getTriangles() const;

  private:
    std::shared_ptr<Surface> pSurface_;
    LUMO_TARO25D::Zone2* pZone_;
    std::shared_ptr<ZoneHandle> pFirst_, pSecond_;
    mutable std::mutex trianglesMutex_;
    mutable std::shared_ptr<const TriangleRows> pTriangles_;
    mutable std::uint64_t versionOfTriangles_ = 0;
};

/// A zone of a surface, or all of it for null, and the surface that it is of. For work that only reads: what has to be
/// created first is created here.
LUMO_TARO25D::Zone2* getZoneOrAll(Surface& surface, const ZoneHandle* pHandle);
void prepareAll(Surface& surface);
