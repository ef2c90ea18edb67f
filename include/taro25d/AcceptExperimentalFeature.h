#pragma once

namespace LUMO_TARO25D {

/// Written at a call, AcceptExperimentalFeature() states that the caller knows the feature to be experimental:
/// its report and its verdicts may change with any version. The constructor is explicit, so that braces alone do not
/// do.
class AcceptExperimentalFeature {
  public:
    /// Holds nothing: writing it down is all there is to it.
    explicit AcceptExperimentalFeature() = default;
};

}  // namespace LUMO_TARO25D
