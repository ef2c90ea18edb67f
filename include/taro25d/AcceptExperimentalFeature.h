#pragma once

namespace LUMO_TARO25D {

/// Written at a call, AcceptExperimentalFeature() states that the caller knows the feature to be experimental: its
/// report and its verdicts may change with any version. The constructor is explicit, so that empty braces are no
/// substitute.
class AcceptExperimentalFeature {
  public:
    /// Holds nothing: its name at the call is the statement.
    explicit AcceptExperimentalFeature() = default;
};

}  // namespace LUMO_TARO25D
