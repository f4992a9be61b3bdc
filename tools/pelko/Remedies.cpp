#include "tools/pelko/Remedies.h"

#include <utility>

namespace pelkotool {

std::string remedyFor(const std::string& reason) {
    const std::pair<const char*, const char*> remedies[] = {
        {"not its key", "set PELKO_KEY to the key of this file, or unset it for one that is not encrypted"},
        {"cannot encrypt", "unset PELKO_KEY, or use a pelko that was built with PELKO_SQLITE=sqlcipher"},
        {"not a database",
         "'pelko salvage OUT' rescues what is left where it was one; else name another account with "
         "--user or --data-dir, or set PELKO_KEY if the file is encrypted"},
        {"malformed", "the file is damaged: 'pelko salvage OUT' rescues what is left"},
        {"locked", "another program is writing to it: try again when it has ended"},
        {"readonly", "make the file and its folder writable"},
        {"full", "make room on the disk"},
        {"disk I/O error", "check the disk, and make room on it"},
        {"unable to open", "check that the file and its folder can be read and written"},
    };
    for (const auto& [words, remedy] : remedies) {
        if (reason.find(words) != std::string::npos) {
            return std::string("; ") + remedy;
        }
    }
    return {};
}

}  // namespace pelkotool
