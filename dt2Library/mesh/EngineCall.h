#pragma once

#include <memory>

#include "mesh/Dt2.h"
#include "support/diagnostics.h"

namespace LUMO_TARO25D {

/// The engine for the duration of one call: warnings and errors of this thread reach the listeners of this
/// triangulation too.
class EngineCall {
  public:
    explicit EngineCall(Dt2* pDt2) : pDt2_(pDt2), scope_(&pDt2->getProgress()) {}
    Dt2* operator->() const { return pDt2_; }

  private:
    Dt2* pDt2_;
    MessageScope scope_;
};

inline EngineCall call(const std::unique_ptr<Dt2>& pDt2) { return EngineCall(pDt2.get()); }

}  // namespace LUMO_TARO25D
