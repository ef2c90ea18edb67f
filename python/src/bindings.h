#pragma once

#include <nanobind/nanobind.h>

#include <memory>
#include <mutex>

#include "Surface.h"
#include "TriangleRows.h"

/// Each function adds one topic to the module. Surfaces must be bound first, then zones, then all others.
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

/// The content of a Python zone: a zone of the library. It keeps the surface and the operands of the zone alive.
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
    /// The present triangles. Several readers of the surface may call this at once.
    std::shared_ptr<const TriangleRows> getTriangles() const;

  private:
    std::shared_ptr<Surface> pSurface_;
    LUMO_TARO25D::Zone2* pZone_;
    std::shared_ptr<ZoneHandle> pFirst_, pSecond_;
    mutable std::mutex trianglesMutex_;
    mutable std::shared_ptr<const TriangleRows> pTriangles_;
    mutable std::uint64_t versionOfTriangles_ = 0;
};

/// The zone of a handle; for null the zone of all triangles, which is created if there is none: a reader calls
/// prepareAll first.
LUMO_TARO25D::Zone2* getZoneOrAll(Surface& surface, const ZoneHandle* pHandle);
/// Creates the zone of all triangles, in a call of its own that writes.
void prepareAll(Surface& surface);
