#pragma once

#include <memory>
#include <utility>
#include <vector>

namespace LUMO_TARO25D {

class Dt2;

/// Base of what a higher floor keeps for one mesh: its constraints, say, or its zones. The mesh owns it and does not know
/// its type.
class MeshSlot {
  public:
    MeshSlot() = default;
    MeshSlot(const MeshSlot&) = delete;
    MeshSlot& operator=(const MeshSlot&) = delete;
    virtual ~MeshSlot() = default;
};

/// The slots of one mesh: at most one object of each class, made when that class is asked for first. They end with the
/// mesh, the last one first.
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
    /// The same; makes the object, from a pointer to the mesh, where there is none yet.
    template <class T>
    T& get(Dt2* pMesh) {
        if (!find<T>()) vSlots_.emplace_back(getKey<T>(), std::make_unique<T>(pMesh));
        return *find<T>();
    }

  private:
    /// An address that tells classes apart.
    template <class T>
    static const void* getKey() {
        static const char key = 0;
        return &key;
    }

    std::vector<std::pair<const void*, std::unique_ptr<MeshSlot>>> vSlots_;
};

}  // namespace LUMO_TARO25D
