#include "tools/pelko/salvage/FileHeader.h"

#include <cstring>

namespace pelkotool {

bool isPageSize(std::uint32_t size) {
    return size >= 512 && size <= 65536 && (size & (size - 1)) == 0;
}

std::optional<FileHeader> parseFileHeader(ByteView bytes) {
    constexpr char magic[] = "SQLite format 3";  // with the zero at its end
    constexpr std::uint32_t smallestUsable = 480;
    constexpr std::uint32_t lastEncoding = 3;
    if (!bytes.holds(0, FileHeader::size) || std::memcmp(bytes.data(), magic, sizeof magic) != 0) {
        return std::nullopt;
    }
    FileHeader header;
    const std::uint32_t pageSize = bytes.u16(16);
    header.pageSize = pageSize == 1 ? 65536 : pageSize;
    header.reserved = bytes.u8(20);
    header.pageCount = bytes.u32(24) == bytes.u32(92) ? bytes.u32(28) : 0;
    header.firstFreePage = bytes.u32(32);
    header.freePages = bytes.u32(36);
    header.hasPageMap = bytes.u32(52) != 0;
    header.encoding = bytes.u32(56);
    const bool fractions = bytes.u8(21) == 64 && bytes.u8(22) == 32 && bytes.u8(23) == 32;
    const bool plausible = fractions && isPageSize(header.pageSize) && header.encoding <= lastEncoding &&
                           header.pageSize - header.reserved >= smallestUsable;
    return plausible ? std::optional(header) : std::nullopt;
}

}  // namespace pelkotool
