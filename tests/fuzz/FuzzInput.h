#ifndef PELKO_TESTS_FUZZ_FUZZ_INPUT_H
#define PELKO_TESTS_FUZZ_FUZZ_INPUT_H

#include <cstddef>
#include <cstdint>
#include <string>

#include "PelkoChatTarget.h"
#include "PelkoMessage.h"
#include "PelkoNotify.h"
#include "classes/storage/PelkoSession.h"

namespace pelkotest {

/// Takes values out of the bytes of a fuzzer's input. Most come from small tables, so that calls meet the
/// same rows and the corners of the types are hit often; one choice of each table takes raw bytes. Past the
/// end every byte is 0.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : mData(data), mSize(size) {}

    bool atEnd() const { return mNext >= mSize; }
    std::uint8_t byte() { return atEnd() ? std::uint8_t{0} : mData[mNext++]; }
    /// Chooses the four ids and names that are used most.
    void chooseNeighbours(std::uint8_t choice) { mFirstNeighbour = choice; }
    bool flag() { return (byte() & 1) != 0; }
    /// A number below the limit, which is at most 256.
    unsigned below(unsigned limit) { return byte() % limit; }

    /// An id, count or mark, up to the ends of its type.
    long long id();
    /// The row id of a message.
    long long rowId();
    long notificationId() { return static_cast<long>(rowId()); }
    /// Up to the ends of its type.
    unsigned number();
    /// The value of an enumeration: one of its own, 0 to `last`, or any other.
    int enumerator(int last);

    /// A user's name. One that reads as a decimal number has at most 18 digits: a setting stored under a
    /// longer one is rewritten in floating point, whose last digits differ between versions of SQLite.
    std::string name();
    std::string text();
    /// The path of a file, under the application's folder or elsewhere.
    std::string path();

    pelkoapi::PelkoChatTarget target();
    pelkoapi::PelkoMedia media();
    pelkoapi::PelkoMessage message();
    pelkoapi::PelkoSession session();
    pelkoapi::PelkoUser user();
    pelkoapi::PelkoRoom room();
    pelkoapi::PelkoGroup group();
    pelkoapi::PelkoNotify notification();

private:
    std::string rawText();
    long long rawNumber();
    unsigned choiceOf(unsigned count);
    static pelkoapi::PelkoChatTarget me();

    const std::uint8_t* mData;
    std::size_t mSize;
    std::size_t mNext = 0;
    unsigned mFirstNeighbour = 0;
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_FUZZ_FUZZ_INPUT_H
