#include "tools/pelko/salvage/Payloads.h"

#include <algorithm>

namespace pelkotool {

namespace {

struct Payload {
    Bytes bytes;
    bool endsInEmptyPage = false;
};

bool isEmpty(const Bytes& page) {
    return std::all_of(page.begin(), page.end(), [](std::uint8_t byte) { return byte == 0; });
}

bool mayContinueOn(const PageMap& map, std::uint32_t page, Purpose purpose) {
    if (page < 2 || !map.has(page) || map.at(page).free) {
        return false;
    }
    const PageUse use = map.at(page).use;
    return use == PageUse::unknown || (use == PageUse::overflow && purpose == Purpose::look);
}

/// Follows the chain of pages: each begins with the number of the next one, and the last one with 0.
std::optional<Payload> payloadOf(PageFile& file, PageMap& map, ByteView page, const Cell& cell,
                                 Purpose purpose) {
    constexpr std::uint64_t longest = 128ULL * 1024 * 1024;  // the store takes no longer rows
    if (cell.payloadSize > longest) {
        return std::nullopt;
    }
    const ByteView local = page.part(cell.localOffset, cell.localSize);
    Payload payload;
    payload.bytes.assign(local.data(), local.data() + local.size());
    std::vector<std::uint32_t> chain;
    Bytes bytes;
    std::uint32_t next = cell.overflow;
    while (payload.bytes.size() < cell.payloadSize) {
        if (!mayContinueOn(map, next, purpose) || !map.mayFollow() || !file.read(next, bytes)) {
            return std::nullopt;
        }
        chain.push_back(next);
        const ByteView view(bytes);
        next = view.u32(0);
        const std::size_t size = static_cast<std::size_t>(
            std::min<std::uint64_t>(file.bounds().usableSize - 4, cell.payloadSize - payload.bytes.size()));
        const ByteView part = view.part(4, size);
        payload.bytes.insert(payload.bytes.end(), part.data(), part.data() + size);
    }
    payload.endsInEmptyPage = !chain.empty() && isEmpty(bytes);
    // A chain is as long as the payload says, so that it ends; but no page may have come twice.
    std::vector<std::uint32_t> sorted = chain;
    std::sort(sorted.begin(), sorted.end());
    if (next != 0 || std::adjacent_find(sorted.begin(), sorted.end()) != sorted.end()) {
        return std::nullopt;
    }
    if (purpose == Purpose::use) {
        for (const std::uint32_t used : chain) {
            map.use(used, PageUse::overflow);
        }
    }
    return payload;
}

std::optional<Record> recordOf(const Payload& payload) {
    std::optional<Record> record = parseRecord(ByteView(payload.bytes));
    // A page of nothing but zeros is what a lost write leaves; only a blob can be meant to end so.
    const auto isBlob = [](const Value& value) { return value.kind == StorageClass::blob; };
    if (record && payload.endsInEmptyPage && std::none_of(record->begin(), record->end(), isBlob)) {
        return std::nullopt;
    }
    return record;
}

}  // namespace

void forEachRecord(PageFile& file, PageMap& map, std::uint32_t number, Purpose purpose,
                   const std::function<void(const Cell&, std::optional<Record>)>& visit) {
    Bytes bytes;
    if (!file.read(number, bytes)) {
        return;
    }
    const ByteView view(bytes);
    const BTreePage page = parsePage(view, number, file.bounds());
    for (const Cell& cell : page.cells) {
        const std::optional<Payload> payload = payloadOf(file, map, view, cell, purpose);
        visit(cell, payload ? recordOf(*payload) : std::nullopt);
    }
}

}  // namespace pelkotool
