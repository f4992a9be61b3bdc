#ifndef PELKO_TOOL_SALVAGE_BYTES_H
#define PELKO_TOOL_SALVAGE_BYTES_H

#include <cstddef>
#include <cstdint>
#include <fstream>
#include <optional>
#include <stdexcept>
#include <vector>

namespace pelkotool {

using Bytes = std::vector<std::uint8_t>;

/// A number of SQLite's variable length, and how many bytes it takes.
struct Varint {
    std::int64_t value = 0;
    std::size_t size = 0;
};

/// A look at bytes that may hold anything. No access leaves them: one that would throws std::out_of_range.
class ByteView {
public:
    ByteView(const std::uint8_t* bytes, std::size_t size) : mBytes(bytes), mSize(size) {}
    explicit ByteView(const Bytes& bytes) : ByteView(bytes.data(), bytes.size()) {}

    const std::uint8_t* data() const { return mBytes; }
    std::size_t size() const { return mSize; }
    /// In 64 bits, whatever the machine: lengths in a file are not cut before they are compared.
    bool holds(std::uint64_t offset, std::uint64_t size) const {
        return offset <= mSize && size <= mSize - offset;
    }
    ByteView part(std::size_t offset, std::size_t size) const {
        require(offset, size);
        return {mBytes + offset, size};
    }

    std::uint8_t u8(std::size_t offset) const {
        require(offset, 1);
        return mBytes[offset];
    }
    std::uint32_t u16(std::size_t offset) const {
        return static_cast<std::uint32_t>(u8(offset) << 8U) | u8(offset + 1);
    }
    std::uint32_t u32(std::size_t offset) const { return (u16(offset) << 16U) | u16(offset + 2); }

    /// Nothing when it would reach beyond the end.
    std::optional<Varint> varint(std::size_t offset) const {
        constexpr std::size_t longest = 9;
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < longest; ++i) {
            if (!holds(offset + i, 1)) {
                return std::nullopt;
            }
            const std::uint8_t byte = mBytes[offset + i];
            if (i + 1 == longest) {
                return Varint{static_cast<std::int64_t>((value << 8U) | byte), longest};
            }
            value = (value << 7U) | (byte & 0x7fU);
            if ((byte & 0x80U) == 0) {
                return Varint{static_cast<std::int64_t>(value), i + 1};
            }
        }
        return std::nullopt;
    }

private:
    void require(std::size_t offset, std::size_t size) const {
        if (!holds(offset, size)) {
            throw std::out_of_range("bytes beyond the end were asked for");
        }
    }

    const std::uint8_t* mBytes;
    std::size_t mSize;
};

/// Fills the bytes from that place of a file. @return whether all of them could be read
bool readAt(std::ifstream& stream, std::uint64_t place, Bytes& bytes);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_BYTES_H
