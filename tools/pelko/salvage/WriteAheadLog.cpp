#include <array>
#include <fstream>

#include "tools/pelko/salvage/Bytes.h"
#include "tools/pelko/salvage/FileHeader.h"
#include "tools/pelko/salvage/WaitingPages.h"

namespace pelkotool {

namespace {

constexpr std::size_t logHeaderSize = 32;
constexpr std::size_t frameHeaderSize = 24;

/// The running checksum over pairs of words, whose order of bytes the log's header tells.
class LogChecksum {
public:
    explicit LogChecksum(bool bigEndian) : mBigEndian(bigEndian) {}

    void add(ByteView bytes) {
        for (std::size_t i = 0; i + 8 <= bytes.size(); i += 8) {
            mFirst += word(bytes, i) + mSecond;
            mSecond += word(bytes, i + 4) + mFirst;
        }
    }
    bool equals(ByteView stored) const { return stored.u32(0) == mFirst && stored.u32(4) == mSecond; }

private:
    std::uint32_t word(ByteView bytes, std::size_t offset) const {
        const std::uint32_t value = bytes.u32(offset);
        return mBigEndian ? value
                          : value >> 24U | (value >> 8U & 0xff00U) | (value << 8U & 0xff0000U) | value << 24U;
    }

    bool mBigEndian;
    std::uint32_t mFirst = 0;
    std::uint32_t mSecond = 0;
};

/// A commit says how many pages the database has from then on: those behind are gone.
void commitPages(WaitingPages& committed, std::unordered_map<std::uint32_t, std::uint64_t>& pending,
                 std::uint32_t pageCount) {
    for (const auto& [page, place] : pending) {
        committed.places[page] = place;
    }
    pending.clear();
    committed.pageCount = pageCount;
}

}  // namespace

std::optional<WaitingPages> readLog(const std::filesystem::path& log) {
    constexpr std::uint32_t magic = 0x377f0682;  // its lowest bit tells the order of bytes
    constexpr std::uint32_t version = 3007000;
    std::ifstream stream(log, std::ios::binary);
    Bytes headerBytes(logHeaderSize);
    if (!readAt(stream, 0, headerBytes)) {
        return std::nullopt;
    }
    const ByteView header(headerBytes);
    LogChecksum checksum((header.u32(0) & 1U) != 0);
    checksum.add(header.part(0, 24));
    WaitingPages pages;
    pages.pageSize = header.u32(8);
    if ((header.u32(0) & ~1U) != magic || header.u32(4) != version || !isPageSize(pages.pageSize) ||
        !checksum.equals(header.part(24, 8))) {
        return std::nullopt;
    }
    Bytes frameBytes(frameHeaderSize + pages.pageSize);
    const ByteView frame(frameBytes);
    std::unordered_map<std::uint32_t, std::uint64_t> pending;
    for (std::uint64_t place = logHeaderSize; readAt(stream, place, frameBytes); place += frameBytes.size()) {
        // Frames of an earlier use of the log have other salts.
        const bool ofThisLog = frame.u32(8) == header.u32(16) && frame.u32(12) == header.u32(20);
        checksum.add(frame.part(0, 8));
        checksum.add(frame.part(frameHeaderSize, pages.pageSize));
        if (!ofThisLog || frame.u32(0) == 0 || !checksum.equals(frame.part(16, 8))) {
            break;
        }
        pending[frame.u32(0)] = place + frameHeaderSize;
        if (const std::uint32_t pageCount = frame.u32(4); pageCount != 0) {
            commitPages(pages, pending, pageCount);
        }
    }
    return pages.pageCount != 0 ? std::optional(pages) : std::nullopt;
}

}  // namespace pelkotool
