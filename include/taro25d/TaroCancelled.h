#pragma once

#include "taro25d/TaroException.h"
#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// Thrown by a long operation whose cancel flag was set (`Taro_2D::setCancelFlag`). The mesh is valid afterwards, and
/// the docstring of each operation tells which part of its work stays.
class TARO25D_API TaroCancelled : public TaroException {
  public:
    TaroCancelled() noexcept;                                 ///< All exceptions of this type are alike.
    TaroCancelled(const TaroCancelled&) noexcept;             ///< So copying does nothing.
    TaroCancelled& operator=(const TaroCancelled&) noexcept;  ///< So assigning does nothing.
    ~TaroCancelled() override;                                ///< Nothing is held.

    /// The name of the class; always the same text.
    const char* what() const noexcept override;
};

}  // namespace LUMO_TARO25D
