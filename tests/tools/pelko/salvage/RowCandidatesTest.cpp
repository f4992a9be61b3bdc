#include "tools/pelko/salvage/RowCandidates.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace pelkotool;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

RowCandidate candidate(std::int64_t id, std::uint64_t values, std::uint32_t page, bool confirmed) {
    return {id, values, {page, 0}, confirmed, false};
}

std::vector<std::uint32_t> chosenPages(const std::vector<RowCandidate>& candidates) {
    std::vector<std::uint32_t> pages;
    for (const RowCandidate& one : chooseCandidates(candidates)) {
        pages.push_back(one.place.first);
    }
    return pages;
}

TEST(ChooseCandidates, TakesEachRowOnceInTheOrderOfPlaces) {
    EXPECT_THAT(chosenPages({}), IsEmpty());
    EXPECT_THAT(
        chosenPages({candidate(1, 10, 9, false), candidate(2, 20, 4, true), candidate(-3, 30, 7, false)}),
        ElementsAre(4, 7, 9));
    EXPECT_THAT(chosenPages({candidate(1, 10, 9, false), candidate(1, 10, 4, false)}), ElementsAre(4));
}

TEST(ChooseCandidates, TakesTheOneThatAloneIsConfirmed) {
    EXPECT_THAT(
        chosenPages({candidate(1, 10, 3, false), candidate(1, 11, 4, true), candidate(1, 12, 5, false)}),
        ElementsAre(4));
    EXPECT_THAT(
        chosenPages({candidate(1, 11, 4, true), candidate(1, 11, 6, true), candidate(1, 12, 5, false)}),
        ElementsAre(4));
}

TEST(ChooseCandidates, TakesNoneOfThoseThatContradict) {
    EXPECT_THAT(chosenPages({candidate(1, 10, 3, false), candidate(1, 11, 4, false)}), IsEmpty());
    EXPECT_THAT(chosenPages({candidate(1, 10, 3, true), candidate(1, 11, 4, true)}), IsEmpty());
    EXPECT_THAT(
        chosenPages({candidate(1, 10, 3, false), candidate(1, 11, 4, false), candidate(2, 1, 5, false)}),
        ElementsAre(5));
}

}  // namespace
