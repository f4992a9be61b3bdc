#ifndef PELKO_TOOL_PROGRESS_BAR_H
#define PELKO_TOOL_PROGRESS_BAR_H

#include <chrono>
#include <cstdint>
#include <string>

namespace pelkotool {

/// A bar on stderr that says how far a long command is. Nothing is drawn unless stderr is a terminal; the bar
/// goes when the object does.
class ProgressBar {
public:
    /// @param total  the amount of work, in any unit
    explicit ProgressBar(std::uintmax_t total);
    ~ProgressBar();
    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    /// Cheap to call often: draws only every tenth of a second. @param label  what is being worked on
    void show(std::uintmax_t done, const std::string& label);

    /// The bar as a line of at most so many columns.
    static std::string line(std::uintmax_t done, std::uintmax_t total, const std::string& label,
                            std::size_t width);

private:
    using Clock = std::chrono::steady_clock;

    const bool mEnabled;
    const std::uintmax_t mTotal;
    bool mDrawn = false;
    Clock::time_point mNextDrawing;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_PROGRESS_BAR_H
