#ifndef PELKO_TOOL_SALVAGE_ROW_CANDIDATES_H
#define PELKO_TOOL_SALVAGE_ROW_CANDIDATES_H

#include <cstdint>
#include <utility>
#include <vector>

namespace pelkotool {

/// A row's place in the file.
using RowPlace = std::pair<std::uint32_t, std::size_t>;  // page, offset

/// A row that was found where nothing vouches for it but itself.
struct RowCandidate {
    std::int64_t id = 0;
    std::uint64_t values = 0;  ///< their fingerprint
    RowPlace place;
    bool confirmed = false;  ///< by an index
    bool ambiguous = false;  ///< it may be a row of another table
};

/// At most one candidate for each row id, by place. Where some for the same row contradict each other, the
/// one that is confirmed, and none where that does not decide.
std::vector<RowCandidate> chooseCandidates(std::vector<RowCandidate> candidates);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_ROW_CANDIDATES_H
