#include "tools/pelko/ProgressBar.h"

#include <algorithm>
#include <iostream>

#include "classes/platform/Terminal.h"
#include "tools/pelko/Text.h"

namespace pelkotool {

using pelkoapi::stderrIsTerminal;
using pelkoapi::stderrWidth;

namespace {

constexpr std::chrono::milliseconds drawingInterval(100);
constexpr std::size_t barColumns = 30;

// To the start of the line, and everything behind the cursor away.
constexpr char clearLine[] = "\r\x1b[K";

}  // namespace

ProgressBar::ProgressBar(std::uintmax_t total) : mEnabled(stderrIsTerminal()), mTotal(total) {
}

ProgressBar::~ProgressBar() {
    if (mDrawn) {
        std::cerr << clearLine << std::flush;
    }
}

std::string ProgressBar::line(std::uintmax_t done, std::uintmax_t total, const std::string& label,
                              std::size_t width) {
    const double part =
        total == 0 ? 1.0 : std::min(1.0, static_cast<double>(done) / static_cast<double>(total));
    const auto filled = static_cast<std::size_t>(part * static_cast<double>(barColumns));
    const std::string percent = std::to_string(static_cast<int>(part * 100));
    const std::string bar = '[' + std::string(filled, '#') + std::string(barColumns - filled, '.') + "] " +
                            std::string(3 - percent.size(), ' ') + percent + "%  " + visibleText(label);
    return shortened(bar, width);
}

void ProgressBar::show(std::uintmax_t done, const std::string& label) {
    const auto now = mEnabled ? Clock::now() : Clock::time_point();
    if (!mEnabled || now < mNextDrawing) {
        return;
    }
    mNextDrawing = now + drawingInterval;
    mDrawn = true;
    // One column stays free: a full last column makes some terminals go to the next line.
    const std::size_t width = stderrWidth().value_or(80) - 1;
    std::cerr << clearLine << line(done, mTotal, label, width) << std::flush;
}

}  // namespace pelkotool
