#include "tests/fuzz/FileDamage.h"

#include <algorithm>
#include <cstdint>
#include <utility>

namespace pelkotest {

namespace {

constexpr std::size_t pageSize = 4096;  // SQLite's own, which the store leaves as it is
constexpr int maxSteps = 64;

/// A number below the limit, which is not 0.
std::size_t below(FuzzInput& input, std::size_t limit) {
    std::size_t number = 0;
    for (int i = 0; i < 3; ++i) {
        number = number << 8 | input.byte();
    }
    return number % limit;
}

std::size_t pageCount(const std::string& file) {
    return std::max<std::size_t>(1, file.size() / pageSize);
}

/// Changes one to eight bytes in a row.
void patch(std::string& bytes, std::size_t offset, FuzzInput& input) {
    for (unsigned length = input.below(8) + 1; length > 0; --length, ++offset) {
        const char value = static_cast<char>(input.byte());
        if (offset < bytes.size()) {
            bytes[offset] = value;
        }
    }
}

/// Where a page's head is: behind the file's own in the first one.
std::size_t headOf(std::size_t page) {
    return page * pageSize + (page == 0 ? 100 : 0);
}

void swapPages(std::string& file, std::size_t first, std::size_t second) {
    if ((std::max(first, second) + 1) * pageSize <= file.size()) {
        std::swap_ranges(file.begin() + static_cast<std::ptrdiff_t>(first * pageSize),
                         file.begin() + static_cast<std::ptrdiff_t>((first + 1) * pageSize),
                         file.begin() + static_cast<std::ptrdiff_t>(second * pageSize));
    }
}

/// A write-ahead log in SQLite's format, with check sums that hold.
class WriteAheadLog {
public:
    WriteAheadLog() {
        add(0x377f0682);  // check sums over numbers with the lower byte first
        add(3007000);
        add(pageSize);
        add(0);  // checkpoints so far
        addSalt();
        sum(0, mBytes.size());
        addSums();
    }

    /// The page, numbered from 1, as the last of a transaction that leaves a file of `pages` pages.
    void addPage(std::size_t number, std::size_t pages, std::string content) {
        content.resize(pageSize);
        const std::size_t frame = mBytes.size();
        add(number);
        add(pages);
        sum(frame, mBytes.size());
        addSalt();
        const std::size_t sums = mBytes.size();
        mBytes += content;
        sum(sums, mBytes.size());
        mBytes.resize(sums);
        addSums();
        mBytes += content;
    }

    const std::string& bytes() const { return mBytes; }

private:
    void add(std::size_t number) {
        for (const unsigned shift : {24U, 16U, 8U, 0U}) {
            mBytes += static_cast<char>(number >> shift & 0xff);
        }
    }
    void addSalt() {
        add(0x12345678);
        add(0x9abcdef0);
    }
    void addSums() {
        add(mFirst);
        add(mSecond);
    }
    std::uint32_t wordAt(std::size_t offset) const {
        std::uint32_t word = 0;
        for (std::size_t i = 4; i > 0; --i) {
            word = word << 8 | static_cast<unsigned char>(mBytes[offset + i - 1]);
        }
        return word;
    }
    void sum(std::size_t begin, std::size_t end) {
        for (std::size_t offset = begin; offset < end; offset += 8) {
            mFirst += wordAt(offset) + mSecond;
            mSecond += wordAt(offset + 4) + mFirst;
        }
    }

    std::string mBytes;
    std::uint32_t mFirst = 0;
    std::uint32_t mSecond = 0;
};

/// A log that writes one to four pages anew, each the file's own with some bytes changed or another page's.
std::string logOfChangedPages(const std::string& file, FuzzInput& input) {
    WriteAheadLog log;
    for (unsigned count = input.below(4) + 1; count > 0; --count) {
        const std::size_t number = below(input, pageCount(file));
        const std::size_t source = input.flag() ? number : below(input, pageCount(file));
        std::string page = file.substr(std::min(file.size(), source * pageSize), pageSize);
        for (unsigned patches = input.below(4); patches > 0; --patches) {
            patch(page, below(input, pageSize), input);
        }
        log.addPage(number + 1, pageCount(file) - input.below(2), page);
    }
    return log.bytes();
}

}  // namespace

DatabaseBytes damaged(const std::string& sound, FuzzInput input) {
    DatabaseBytes bytes{sound, ""};
    std::string& file = bytes.database;
    for (int step = 0; step < maxSteps && !input.atEnd(); ++step) {
        switch (input.below(8)) {
            case 0:
                patch(file, below(input, file.size() + 1), input);
                break;
            case 1: {
                const std::size_t page = below(input, pageCount(file));
                patch(file, headOf(page) + input.byte(), input);
                break;
            }
            case 2: {
                const std::size_t page = below(input, pageCount(file));
                std::fill_n(
                    file.begin() + static_cast<std::ptrdiff_t>(std::min(file.size(), page * pageSize)),
                    std::min(pageSize, file.size() - std::min(file.size(), page * pageSize)), '\0');
                break;
            }
            case 3: {
                const std::size_t first = below(input, pageCount(file));
                swapPages(file, first, below(input, pageCount(file)));
                break;
            }
            case 4:
                file.resize(below(input, file.size() + 1));
                break;
            case 5:
                bytes.log = logOfChangedPages(file, input);
                break;
            case 6:
                patch(bytes.log, below(input, bytes.log.size() + 1), input);
                break;
            default:
                file.clear();
                while (!input.atEnd()) {
                    file += static_cast<char>(input.byte());
                }
        }
    }
    return bytes;
}

}  // namespace pelkotest
