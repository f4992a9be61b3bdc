#include "tools/pelko/salvage/Bytes.h"

namespace pelkotool {

bool readAt(std::ifstream& stream, std::uint64_t place, Bytes& bytes) {
    stream.clear();  // what failed before says nothing about this place
    stream.seekg(static_cast<std::streamoff>(place));
    return static_cast<bool>(
        stream.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size())));
}

}  // namespace pelkotool
