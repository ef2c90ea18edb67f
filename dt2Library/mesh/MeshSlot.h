#pragma once

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace LUMO_TARO25D {

class Dt2;
class Point2;
template <class T>
class RecordCopies;

/// Base class of objects that a higher floor keeps for one mesh, such as its constraints or its zones. The mesh owns
/// them without knowing their types.
class MeshSlot {
  public:
    MeshSlot() = default;
    MeshSlot(const MeshSlot&) = delete;
    MeshSlot& operator=(const MeshSlot&) = delete;
    virtual ~MeshSlot() = default;

    /// Whether clients have no objects of this slot, such as zones. True by default.
    virtual bool isEmpty() const { return true; }
    /// Gives a copy of the mesh this slot's state, with each record replaced by its copy. Does nothing by default.
    virtual void copyTo(Dt2& /*copy*/, const RecordCopies<Point2>& /*vertices*/) const {}
};

/// The slots of one mesh: at most one object of each class, made on first use. They are destroyed with the mesh, in
/// reverse order.
class MeshSlots {
  public:
    MeshSlots() = default;
    MeshSlots(const MeshSlots&) = delete;
    MeshSlots& operator=(const MeshSlots&) = delete;
    ~MeshSlots() {
        while (!vSlots_.empty()) vSlots_.pop_back();
    }

    /// The object of class T, a subclass of MeshSlot; null if there is none yet. Takes a comparison for each class.
    template <class T>
    T* find() const {
        for (const auto& [pKey, pSlot] : vSlots_) {
            if (pKey == getKey<T>()) return static_cast<T*>(pSlot.get());
        }
        return nullptr;
    }
    /// The object of class T; constructed with a pointer to the mesh if there is none yet.
    template <class T>
    T& get(Dt2* pMesh) {
        if (!find<T>()) vSlots_.emplace_back(getKey<T>(), std::make_unique<T>(pMesh));
        return *find<T>();
    }

    /// Whether MeshSlot::isEmpty holds for all of them.
    bool areEmpty() const {
        return std::all_of(vSlots_.begin(), vSlots_.end(), [](const auto& slot) { return slot.second->isEmpty(); });
    }
    /// MeshSlot::copyTo for each of them.
    void copyTo(Dt2& copy, const RecordCopies<Point2>& vertices) const {
        for (const auto& [pKey, pSlot] : vSlots_) pSlot->copyTo(copy, vertices);
    }

  private:
    /// An address that identifies the class.
    template <class T>
    static const void* getKey() {
        static const char key = 0;
        return &key;
    }

    std::vector<std::pair<const void*, std::unique_ptr<MeshSlot>>> vSlots_;
};

}  // namespace LUMO_TARO25D
