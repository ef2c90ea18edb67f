#include "progress_bar.h"

#include <unistd.h>

#include <iostream>

namespace terrain {

ProgressBar::ProgressBar() : bTerminal_(isatty(STDOUT_FILENO) != 0) {}

void ProgressBar::update(LUMO_TARO25D::MsgType, const std::string& message, double value) {
    const int percent = static_cast<int>(100 * value);
    if (percent == lastPercent_) return;
    bTerminal_ ? drawBar(message, percent) : printTenths(message, percent);
    lastPercent_ = percent < 100 ? percent : -1;
    if (percent == 100) std::cout << '\n';
    std::cout << std::flush;
}

void ProgressBar::drawBar(const std::string& message, int percent) const {
    constexpr size_t WIDTH = 40;
    const size_t numDone = WIDTH * static_cast<size_t>(percent) / 100;
    std::cout << "\r  " << message << " [" << std::string(numDone, '#') << std::string(WIDTH - numDone, '.') << "] "
              << percent << " %";
}

void ProgressBar::printTenths(const std::string& message, int percent) const {
    if (lastPercent_ < 0) std::cout << "  " << message << ':';
    for (int tenth = lastPercent_ / 10 + 1; tenth <= percent / 10; ++tenth) std::cout << ' ' << 10 * tenth << '%';
}

}  // namespace terrain
