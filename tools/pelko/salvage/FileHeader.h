#ifndef PELKO_TOOL_SALVAGE_FILE_HEADER_H
#define PELKO_TOOL_SALVAGE_FILE_HEADER_H

#include <cstdint>
#include <optional>

#include "tools/pelko/salvage/Bytes.h"

namespace pelkotool {

/// What the first hundred bytes of a database file say.
struct FileHeader {
    static constexpr std::size_t size = 100;

    std::uint32_t pageSize = 0;
    std::uint32_t reserved = 0;   ///< bytes at the end of each page that are no part of it
    std::uint32_t pageCount = 0;  ///< 0 when it is not kept up to date
    std::uint32_t firstFreePage = 0;
    std::uint32_t freePages = 0;
    bool hasPageMap = false;  ///< some pages tell where others are used (auto_vacuum)
    std::uint32_t encoding = 0;

    bool isUtf8() const { return encoding <= 1; }  // 0 before the first table is made
};

/// Nothing when the bytes are not the header of a database.
std::optional<FileHeader> parseFileHeader(ByteView bytes);

bool isPageSize(std::uint32_t size);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_FILE_HEADER_H
