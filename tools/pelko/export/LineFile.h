#ifndef PELKO_TOOL_EXPORT_LINE_FILE_H
#define PELKO_TOOL_EXPORT_LINE_FILE_H

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace pelkotool {

/// A text file, read line by line. No line is taken on trust: one that is longer than allowed ends the
/// reading.
class LineFile {
public:
    /// @throws ToolError for a file that is not there or cannot be read
    LineFile(std::filesystem::path path, std::size_t longest);

    /// Reads the next line. @return whether there is one
    /// @throws ToolError when it is too long, or cannot be read
    bool next();

    /// The line that was read, without its end.
    const std::string& line() const { return mLine; }
    /// Its number, from 1.
    long long number() const { return mNumber; }

    const std::filesystem::path& path() const { return mPath; }
    std::uintmax_t size() const { return mSize; }
    std::uintmax_t bytesRead() const { return mBytesRead; }

private:
    bool fill();

    std::filesystem::path mPath;
    std::size_t mLongest;
    std::uintmax_t mSize = 0;
    std::ifstream mFile;
    std::vector<char> mBlock;
    std::size_t mBegin = 0;  // of what is left of the block
    std::size_t mEnd = 0;
    std::string mLine;
    long long mNumber = 0;
    std::uintmax_t mBytesRead = 0;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_LINE_FILE_H
