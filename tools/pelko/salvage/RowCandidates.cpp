#include "tools/pelko/salvage/RowCandidates.h"

#include <algorithm>
#include <tuple>

namespace pelkotool {

namespace {

using CandidateIterator = std::vector<RowCandidate>::const_iterator;

/// Whether the first of those for one row is the one to take. Confirmed ones come first.
bool decides(CandidateIterator first, CandidateIterator end) {
    return std::all_of(first, end, [&](const RowCandidate& other) {
        return other.values == first->values || (first->confirmed && !other.confirmed);
    });
}

}  // namespace

std::vector<RowCandidate> chooseCandidates(std::vector<RowCandidate> candidates) {
    std::sort(candidates.begin(), candidates.end(), [](const RowCandidate& a, const RowCandidate& b) {
        return std::tuple(a.id, !a.confirmed, a.place) < std::tuple(b.id, !b.confirmed, b.place);
    });
    std::vector<RowCandidate> chosen;
    for (CandidateIterator first = candidates.cbegin(); first != candidates.cend();) {
        const CandidateIterator end = std::find_if(
            first, candidates.cend(), [&](const RowCandidate& other) { return other.id != first->id; });
        if (decides(first, end)) {
            chosen.push_back(*first);
        }
        first = end;
    }
    std::sort(chosen.begin(), chosen.end(),
              [](const RowCandidate& a, const RowCandidate& b) { return a.place < b.place; });
    return chosen;
}

}  // namespace pelkotool
