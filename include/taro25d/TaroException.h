#pragma once

#include <exception>

#include "taro25d/export.h"

namespace LUMO_TARO25D {

/// Thrown when an internal consistency condition fails, and by queries on a vertex that has no triangle. It carries
/// no message of its own: a failed condition has been printed on standard output and appended to "TARO_LOG.txt" in the
/// working directory before, or given to the handler of `setMessageHandler`.
class TARO25D_API TaroException : public std::exception {
  public:
    TaroException() noexcept;                                 ///< All exceptions of this type are alike.
    TaroException(const TaroException&) noexcept;             ///< So copying does nothing.
    TaroException& operator=(const TaroException&) noexcept;  ///< So assigning does nothing.
    ~TaroException() override;                                ///< Nothing is held.

    /// The name of the class; always the same text.
    const char* what() const noexcept override;
};

}  // namespace LUMO_TARO25D
