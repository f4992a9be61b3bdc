#include <algorithm>
#include <cstring>
#include <fstream>

#include "tools/pelko/salvage/Bytes.h"
#include "tools/pelko/salvage/FileHeader.h"
#include "tools/pelko/salvage/WaitingPages.h"

namespace pelkotool {

namespace {

constexpr std::size_t journalHeaderSize = 28;

/// The journal's header, of which long journals have several.
struct JournalHeader {
    std::uint32_t records = 0;
    std::uint32_t nonce = 0;
    std::uint32_t pageCount = 0;  // of the database before the change
    std::uint32_t sectorSize = 0;
    std::uint32_t pageSize = 0;
};

std::optional<JournalHeader> journalHeaderAt(std::ifstream& stream, std::uint64_t place) {
    constexpr std::uint8_t magic[] = {0xd9, 0xd5, 0x05, 0xf9, 0x20, 0xa1, 0x63, 0xd7};
    Bytes bytes(journalHeaderSize);
    if (!readAt(stream, place, bytes) || std::memcmp(bytes.data(), magic, sizeof magic) != 0) {
        return std::nullopt;
    }
    const ByteView view(bytes);
    const JournalHeader header{view.u32(8), view.u32(12), view.u32(16), view.u32(20), view.u32(24)};
    const bool plausible = isPageSize(header.pageSize) && header.sectorSize >= 32 &&
                           header.sectorSize <= 65536 && (header.sectorSize & (header.sectorSize - 1)) == 0;
    return plausible ? std::optional(header) : std::nullopt;
}

/// A sum over some of the page's bytes only, so that a page that was not written wholly may pass; SQLite
/// itself has no more to go by.
std::uint32_t journalChecksum(ByteView page, std::uint32_t nonce) {
    constexpr std::size_t step = 200;
    std::uint32_t sum = nonce;
    for (std::size_t i = page.size() - step; i > 0 && i < page.size(); i -= step) {
        sum += page.u8(i);
    }
    return sum;
}

/// Takes the records behind one header. @return whether all of them hold
bool takeRecords(std::ifstream& stream, const JournalHeader& header, std::uint64_t& place,
                 WaitingPages& pages) {
    Bytes bytes(4 + std::size_t{header.pageSize} + 4);
    const ByteView record(bytes);
    for (std::uint32_t i = 0; i < header.records; ++i, place += bytes.size()) {
        if (!readAt(stream, place, bytes) || journalChecksum(record.part(4, header.pageSize), header.nonce) !=
                                                 record.u32(4 + header.pageSize)) {
            return false;
        }
        pages.places.emplace(record.u32(0), place + 4);  // the first one is the oldest state
    }
    return true;
}

}  // namespace

std::optional<WaitingPages> readJournal(const std::filesystem::path& journal) {
    std::ifstream stream(journal, std::ios::binary);
    std::optional<JournalHeader> header = journalHeaderAt(stream, 0);
    if (!header || header->records == 0) {
        return std::nullopt;  // the database has not been touched yet, or the change is complete
    }
    WaitingPages pages;
    pages.pageSize = header->pageSize;
    pages.pageCount = header->pageCount;
    for (std::uint64_t place = 0; header && header->pageSize == pages.pageSize;) {
        place += header->sectorSize;
        if (!takeRecords(stream, *header, place, pages)) {
            break;
        }
        place = (place + header->sectorSize - 1) / header->sectorSize * header->sectorSize;
        header = journalHeaderAt(stream, place);
    }
    return pages;
}

}  // namespace pelkotool
