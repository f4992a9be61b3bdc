#ifndef PELKO_TOOL_TOOL_ERROR_H
#define PELKO_TOOL_TOOL_ERROR_H

#include <stdexcept>
#include <string>

namespace pelkotool {

enum class ExitCode : int { done = 0, failed = 1, wrongUsage = 2, interrupted = 130 };

/// What ends a command early: one line that names the input and, where there is one, the remedy.
class ToolError : public std::runtime_error {
public:
    explicit ToolError(const std::string& line, ExitCode code = ExitCode::failed)
        : std::runtime_error(line), mCode(code) {}

    ExitCode code() const noexcept { return mCode; }

private:
    ExitCode mCode;
};

/// An argument that cannot be meant.
class UsageError : public ToolError {
public:
    explicit UsageError(const std::string& line) : ToolError(line, ExitCode::wrongUsage) {}
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_TOOL_ERROR_H
