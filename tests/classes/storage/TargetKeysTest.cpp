#include <gmock/gmock.h>

#include <limits>
#include <string>

#include "tests/support/StoreTest.h"

using namespace pelkoapi;
using namespace pelkotest;
using testing::IsEmpty;
using Access = PelkoDBManagerTestAccess;

namespace {

PelkoChatTargetType kind(int number) {
    return static_cast<PelkoChatTargetType>(number);
}

class TargetKeysTest : public StoreTest {
protected:
    std::string idOf(const PelkoChatTarget& target) { return Access::getTargetUniqueID(db(), target); }
    PelkoChatTarget targetOf(PelkoChatTargetType type, const char* id) {
        return Access::targetFromTypeAndID(db(), type, id);
    }

    /// Everything but the key is as the kind's own constructor leaves it.
    static void expectTarget(const PelkoChatTarget& target, PelkoChatTargetType type, s64 id,
                             const std::string& name) {
        EXPECT_EQ(target.type, type);
        EXPECT_EQ(target.id, id);
        EXPECT_EQ(target.name, name);
        EXPECT_EQ(target.tag, 0U);
        EXPECT_EQ(target.info, "");
        EXPECT_FALSE(target.hasGotDetail);
        EXPECT_EQ(target.icon.type, 0);
        EXPECT_EQ(target.icon.status, PelkoMediaStatusCreated);
        EXPECT_EQ(target.icon.url + target.icon.path + target.icon.pathEx, "");
    }
};

// ---- the id string of a target

TEST_F(TargetKeysTest, UserGoesByItsNameWithQuotesDoubled) {
    EXPECT_EQ(idOf(PelkoUser("alice")), "alice");
    EXPECT_EQ(idOf(PelkoUser("o'brien")), "o''brien");
    EXPECT_EQ(idOf(PelkoUser("''")), "''''");
    EXPECT_EQ(idOf(PelkoUser("")), "");
    EXPECT_EQ(idOf(PelkoUser(" %d \\ J\xC3\xBCrgen ")), " %d \\ J\xC3\xBCrgen ");
    EXPECT_EQ(idOf(PelkoChatTarget()), "");
}

TEST_F(TargetKeysTest, AUsersNumberAndOthersNamesAreNotUsed) {
    PelkoChatTarget user("alice");
    user.id = 5;
    EXPECT_EQ(idOf(user), "alice");
    PelkoRoom room(5U);
    room.name = "lobby";
    EXPECT_EQ(idOf(room), "5");
}

TEST_F(TargetKeysTest, OtherKindsGoByTheirNumber) {
    for (const PelkoChatTargetType type :
         {PelkoChatTargetTypeRoom, PelkoChatTargetTypeGroup, PelkoChatTargetTypeCustomerService}) {
        EXPECT_EQ(idOf(PelkoChatTarget(77, type)), "77");
        EXPECT_EQ(idOf(PelkoChatTarget(0, type)), "0");
        EXPECT_EQ(idOf(PelkoChatTarget(-5, type)), "-5");
        EXPECT_EQ(idOf(PelkoChatTarget(9007199254740993, type)), "9007199254740993");
        EXPECT_EQ(idOf(PelkoChatTarget(std::numeric_limits<s64>::min(), type)), "-9223372036854775808");
    }
}

TEST_F(TargetKeysTest, UnknownKindHasTheEmptyId) {
    for (const int number : {9, 4, -1}) {
        PelkoChatTarget target(77, kind(number));
        target.name = "alice";
        EXPECT_EQ(idOf(target), "") << number;
    }
}

// ---- the target of a stored pair

TEST_F(TargetKeysTest, UserIdIsTheNameAsItStands) {
    expectTarget(targetOf(PelkoChatTargetTypeUser, "alice"), PelkoChatTargetTypeUser, 0, "alice");
    expectTarget(targetOf(PelkoChatTargetTypeUser, " 12 "), PelkoChatTargetTypeUser, 0, " 12 ");
    expectTarget(targetOf(PelkoChatTargetTypeUser, "o''brien"), PelkoChatTargetTypeUser, 0, "o''brien");
    expectTarget(targetOf(PelkoChatTargetTypeUser, ""), PelkoChatTargetTypeUser, 0, "");
}

TEST_F(TargetKeysTest, NameWithAQuoteComesBackDoubledFromItsIdString) {
    const std::string id = idOf(PelkoUser("o'brien"));
    EXPECT_EQ(targetOf(PelkoChatTargetTypeUser, id.c_str()).name, "o''brien");
}

TEST_F(TargetKeysTest, RoomIdIsReadAs32Bits) {
    expectTarget(targetOf(PelkoChatTargetTypeRoom, "5001"), PelkoChatTargetTypeRoom, 5001, "");
    expectTarget(targetOf(PelkoChatTargetTypeRoom, "abc"), PelkoChatTargetTypeRoom, 0, "");
    expectTarget(targetOf(PelkoChatTargetTypeRoom, ""), PelkoChatTargetTypeRoom, 0, "");
    expectTarget(targetOf(PelkoChatTargetTypeRoom, "2147483647"), PelkoChatTargetTypeRoom, 2147483647, "");
    // A room's id is unsigned, so the 32 bits of a negative number are a large one.
    expectTarget(targetOf(PelkoChatTargetTypeRoom, "-1"), PelkoChatTargetTypeRoom, 4294967295, "");
}

TEST_F(TargetKeysTest, GroupIdIsReadAs64Bits) {
    expectTarget(targetOf(PelkoChatTargetTypeGroup, "9007199254740993"), PelkoChatTargetTypeGroup,
                 9007199254740993, "");
    expectTarget(targetOf(PelkoChatTargetTypeGroup, "-9223372036854775808"), PelkoChatTargetTypeGroup,
                 std::numeric_limits<s64>::min(), "");
    expectTarget(targetOf(PelkoChatTargetTypeGroup, "abc"), PelkoChatTargetTypeGroup, 0, "");
}

TEST_F(TargetKeysTest, CustomerServiceIdIsReadAs32Bits) {
    expectTarget(targetOf(PelkoChatTargetTypeCustomerService, "9"), PelkoChatTargetTypeCustomerService, 9,
                 "");
    expectTarget(targetOf(PelkoChatTargetTypeCustomerService, "abc"), PelkoChatTargetTypeCustomerService, 0,
                 "");
    expectTarget(targetOf(PelkoChatTargetTypeCustomerService, "-1"), PelkoChatTargetTypeCustomerService,
                 4294967295, "");
}

TEST_F(TargetKeysTest, NumbersAreReadUpToTheFirstOtherCharacter) {
    for (const PelkoChatTargetType type :
         {PelkoChatTargetTypeRoom, PelkoChatTargetTypeGroup, PelkoChatTargetTypeCustomerService}) {
        EXPECT_EQ(targetOf(type, " 12abc").id, 12);
        EXPECT_EQ(targetOf(type, "+7").id, 7);
        EXPECT_EQ(targetOf(type, "0x10").id, 0);
        EXPECT_EQ(targetOf(type, "010").id, 10);
    }
}

TEST_F(TargetKeysTest, NumbersBeyondTheirRangeAreNoUndefinedBehaviour) {
    EXPECT_EQ(targetOf(PelkoChatTargetTypeRoom, "4294967297").id, 1);
    EXPECT_EQ(targetOf(PelkoChatTargetTypeCustomerService, "4294967297").id, 1);
    EXPECT_EQ(targetOf(PelkoChatTargetTypeGroup, "99999999999999999999").id, std::numeric_limits<s64>::max());
}

TEST_F(TargetKeysTest, UnknownKindGivesTheDefaultTarget) {
    for (const int number : {7, 4, -1, std::numeric_limits<int>::min()}) {
        SCOPED_TRACE(number);
        expectTarget(targetOf(kind(number), "alice"), PelkoChatTargetTypeUser, 0, "");
    }
}

// ---- both

TEST_F(TargetKeysTest, PairsComeBackAsTheSameTarget) {
    for (const PelkoChatTarget& target :
         {PelkoChatTarget("alice"), PelkoChatTarget(5001, PelkoChatTargetTypeRoom),
          PelkoChatTarget(9007199254740993, PelkoChatTargetTypeGroup),
          PelkoChatTarget(9, PelkoChatTargetTypeCustomerService)}) {
        EXPECT_EQ(targetOf(target.type, idOf(target).c_str()), target);
    }
}

TEST_F(TargetKeysTest, NeitherUsesTheDatabaseNorLogs) {
    const auto convertEachKind = [&] {
        for (int number = -1; number <= 4; ++number) {
            idOf(PelkoChatTarget(5, kind(number)));
            targetOf(kind(number), "5");
        }
    };
    convertEachKind();
    EXPECT_THAT(statements(), IsEmpty());
    expectNothingLogged();
    close();
    forget();
    convertEachKind();
    EXPECT_EQ(idOf(PelkoRoom(5U)), "5");
    expectNothingLogged();
}

}  // namespace
