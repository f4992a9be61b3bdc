#include "tools/pelko/salvage/Record.h"

#include <cstring>

namespace pelkotool {

namespace {

/// How many bytes a value of that serial type takes; nothing for the two that are reserved.
std::optional<std::uint64_t> sizeOfSerial(std::int64_t type) {
    constexpr std::uint64_t sizes[] = {0, 1, 2, 3, 4, 6, 8, 8, 0, 0};
    if (type < 0 || type == 10 || type == 11) {
        return std::nullopt;
    }
    const auto number = static_cast<std::uint64_t>(type);
    return number < 10 ? sizes[number] : (number - 12) / 2;
}

std::uint64_t signedBigEndian(ByteView bytes) {
    // Numbers are signed, whatever their length.
    std::uint64_t value = bytes.size() > 0 && bytes.u8(0) >= 0x80 ? ~std::uint64_t{0} : 0;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        value = (value << 8U) | bytes.u8(i);
    }
    return value;
}

Value serialValue(std::int64_t type, ByteView bytes) {
    constexpr std::int64_t realType = 7;
    constexpr std::int64_t firstConstant = 8;  // 0, then 1
    constexpr std::int64_t firstBlob = 12;
    Value value;
    if (type >= firstBlob) {
        value.kind = type % 2 == 0 ? StorageClass::blob : StorageClass::text;
        value.bytes.assign(bytes.data(), bytes.data() + bytes.size());
    } else if (type >= firstConstant) {
        value = Value::ofInteger(type - firstConstant);
    } else if (type == realType) {
        const std::uint64_t bits = signedBigEndian(bytes);
        value.kind = StorageClass::real;
        std::memcpy(&value.real, &bits, sizeof bits);
    } else if (type > 0) {
        value = Value::ofInteger(static_cast<std::int64_t>(signedBigEndian(bytes)));
    }
    return value;
}

}  // namespace

std::optional<Record> parseRecord(ByteView payload) {
    const std::optional<Varint> headerSize = payload.varint(0);
    if (!headerSize || headerSize->value < static_cast<std::int64_t>(headerSize->size) ||
        static_cast<std::uint64_t>(headerSize->value) > payload.size()) {
        return std::nullopt;
    }
    const ByteView header = payload.part(0, static_cast<std::size_t>(headerSize->value));
    std::size_t body = header.size();
    Record record;
    for (std::size_t place = headerSize->size; place < header.size();) {
        const std::optional<Varint> type = header.varint(place);
        const std::optional<std::uint64_t> size = type ? sizeOfSerial(type->value) : std::nullopt;
        if (!size || !payload.holds(body, *size)) {
            return std::nullopt;
        }
        record.push_back(serialValue(type->value, payload.part(body, static_cast<std::size_t>(*size))));
        body += static_cast<std::size_t>(*size);
        place += type->size;
    }
    return body == payload.size() ? std::optional(std::move(record)) : std::nullopt;
}

std::uint64_t fingerprint(const Record& record) {
    // FNV-1a, 64 bits (Fowler, Noll, Vo).
    std::uint64_t hash = 14695981039346656037ULL;
    const auto add = [&hash](const void* data, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            hash = (hash ^ static_cast<const std::uint8_t*>(data)[i]) * 1099511628211ULL;
        }
    };
    for (const Value& value : record) {
        const std::uint64_t size = value.bytes.size();
        add(&value.kind, sizeof value.kind);
        add(&value.integer, sizeof value.integer);
        add(&value.real, sizeof value.real);
        add(&size, sizeof size);
        add(value.bytes.data(), value.bytes.size());
    }
    return hash;
}

}  // namespace pelkotool
