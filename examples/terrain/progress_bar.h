#pragma once

#include <string>

#include "taro25d/MsgBase.h"

namespace terrain {

/// Shows how far an operation of the library has come: a growing bar on a terminal, the tenths passed
/// elsewhere.
class ProgressBar : public LUMO_TARO25D::MsgBase {
  public:
    ProgressBar();
    void update(LUMO_TARO25D::MsgType type, const std::string& message, double value) override;

  private:
    void drawBar(const std::string& message, int percent) const;
    void printTenths(const std::string& message, int percent) const;

    bool bTerminal_;
    int lastPercent_ = -1;
};

}  // namespace terrain
