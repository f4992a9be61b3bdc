#include "PelkoChatTarget.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <string>
#include <type_traits>
#include <vector>

namespace pelkoapi {

namespace {

template <typename Record>
constexpr bool isValue = std::is_copy_constructible_v<Record>&& std::is_copy_assignable_v<Record>&&
    std::is_default_constructible_v<Record>;

static_assert(sizeof(PelkoChatTargetType) == 4 && sizeof(PelkoUserGender) == 4 &&
              sizeof(PelkoGroupType) == 4);
static_assert(std::is_same_v<decltype(PelkoChatTarget::id), long long>);
static_assert(std::is_same_v<decltype(PelkoChatTarget::tag), unsigned int>);
static_assert(std::is_same_v<decltype(PelkoRoom::capacity), unsigned int>);
static_assert(std::is_same_v<decltype(PelkoRoom::onlineNumber), unsigned int>);
static_assert(std::is_same_v<decltype(PelkoGroup::capacity), unsigned int>);
static_assert(std::is_same_v<decltype(PelkoCustomerService::creater), PelkoCustomerServiceCreater*>);
static_assert(isValue<PelkoChatTarget> && isValue<PelkoUser> && isValue<PelkoRoom> && isValue<PelkoGroup> &&
              isValue<PelkoCustomerService> && isValue<PelkoCustomerServiceCreater>);
static_assert(std::is_base_of_v<PelkoChatTarget, PelkoUser> &&
              std::is_base_of_v<PelkoChatTarget, PelkoRoom> &&
              std::is_base_of_v<PelkoChatTarget, PelkoGroup> &&
              std::is_base_of_v<PelkoChatTarget, PelkoCustomerService> &&
              std::is_base_of_v<PelkoChatTarget, PelkoCustomerServiceCreater>);

void expectTarget(const PelkoChatTarget& target, PelkoChatTargetType type, long long id,
                  const std::string& name) {
    EXPECT_EQ(target.type, type);
    EXPECT_EQ(target.id, id);
    EXPECT_EQ(target.name, name);
    EXPECT_EQ(target.info, "");
    EXPECT_FALSE(target.hasGotDetail);
    EXPECT_EQ(static_cast<int>(target.icon.type), 0);
    EXPECT_EQ(target.icon.url, "");
    EXPECT_EQ(target.icon.path, "");
}

TEST(PelkoChatTargetTest, KindsHaveTheirStoredNumbers) {
    EXPECT_EQ(static_cast<int>(PelkoChatTargetTypeUser), 0);
    EXPECT_EQ(static_cast<int>(PelkoChatTargetTypeRoom), 1);
    EXPECT_EQ(static_cast<int>(PelkoChatTargetTypeGroup), 2);
    EXPECT_EQ(static_cast<int>(PelkoChatTargetTypeCustomerService), 3);

    EXPECT_EQ(static_cast<int>(PelkoUserGenderMale), 0);
    EXPECT_EQ(static_cast<int>(PelkoUserGenderFemale), 1);
    EXPECT_EQ(static_cast<int>(PelkoUserGenderNotSet), 2);

    EXPECT_EQ(static_cast<int>(PelkoGroupTypePublic), 0);
    EXPECT_EQ(static_cast<int>(PelkoGroupTypePrivate), 1);
}

TEST(PelkoChatTargetTest, DefaultIsAUserWithoutName) {
    const PelkoChatTarget none;
    expectTarget(none, PelkoChatTargetTypeUser, 0, "");
    EXPECT_EQ(none.tag, 0U);
}

TEST(PelkoChatTargetTest, NameMakesAUser) {
    const PelkoChatTarget fromText("alice");
    const PelkoChatTarget fromString(std::string("alice"));
    const char* const nothing = nullptr;
    const PelkoChatTarget fromNull(nothing);
    expectTarget(fromText, PelkoChatTargetTypeUser, 0, "alice");
    expectTarget(fromString, PelkoChatTargetTypeUser, 0, "alice");
    expectTarget(fromNull, PelkoChatTargetTypeUser, 0, "");
}

TEST(PelkoChatTargetTest, IdAndKindAreTaken) {
    constexpr long long large = std::numeric_limits<long long>::max();
    const PelkoChatTarget group(large, PelkoChatTargetTypeGroup);
    const PelkoChatTarget negative(-3, PelkoChatTargetTypeRoom);
    expectTarget(group, PelkoChatTargetTypeGroup, large, "");
    expectTarget(negative, PelkoChatTargetTypeRoom, -3, "");
    EXPECT_EQ(group.tag, 0U);
}

TEST(PelkoChatTargetTest, UsersAreEqualByNameAlone) {
    PelkoChatTarget alice("alice");
    alice.id = 7;
    alice.tag = 7;
    alice.info = "here";
    alice.hasGotDetail = true;
    alice.icon.url = "http://x";
    EXPECT_TRUE(alice == PelkoChatTarget("alice"));
    EXPECT_FALSE(alice == PelkoChatTarget("Alice"));
    EXPECT_FALSE(alice == PelkoChatTarget(""));
    EXPECT_TRUE(PelkoChatTarget() == PelkoChatTarget(""));
}

TEST(PelkoChatTargetTest, OtherKindsAreEqualByIdAlone) {
    for (const PelkoChatTargetType type :
         {PelkoChatTargetTypeRoom, PelkoChatTargetTypeGroup, PelkoChatTargetTypeCustomerService}) {
        PelkoChatTarget target(5, type);
        target.name = "the lounge";
        EXPECT_TRUE(target == PelkoChatTarget(5, type));
        EXPECT_FALSE(target == PelkoChatTarget(5 + (1LL << 32), type)) << "ids have 64 bits";
        EXPECT_FALSE(target == PelkoChatTarget(6, type));
    }
}

TEST(PelkoChatTargetTest, TargetsOfDifferentKindAreNeverEqual) {
    const PelkoChatTarget user(5, PelkoChatTargetTypeUser);
    const PelkoChatTarget room(5, PelkoChatTargetTypeRoom);
    const PelkoChatTarget group(5, PelkoChatTargetTypeGroup);
    EXPECT_FALSE(room == group);
    EXPECT_FALSE(user == room);
    EXPECT_FALSE(group == PelkoChatTarget(5, PelkoChatTargetTypeCustomerService));
}

TEST(PelkoUserTest, TakesItsNameFromTheArgument) {
    expectTarget(PelkoUser(), PelkoChatTargetTypeUser, 0, "");
    expectTarget(PelkoUser("bob"), PelkoChatTargetTypeUser, 0, "bob");
    expectTarget(PelkoUser(std::string("bob")), PelkoChatTargetTypeUser, 0, "bob");

    const PelkoUser bob("bob");
    EXPECT_EQ(bob.nickname, "");
    EXPECT_EQ(bob.gender, PelkoUserGenderMale);
    EXPECT_FALSE(bob.isBlocked);
    EXPECT_FALSE(bob.isFriend);
}

TEST(PelkoUserTest, EqualityLooksAtTheNameOnly) {
    PelkoUser bob("bob");
    bob.nickname = "Bobby";
    bob.gender = PelkoUserGenderFemale;
    bob.isFriend = true;
    EXPECT_TRUE(bob == PelkoUser("bob"));
    EXPECT_FALSE(bob == PelkoUser("bobby"));
}

TEST(PelkoUserTest, ServesAsATarget) {
    PelkoUser bob("bob");
    bob.info = "away";
    bob.nickname = "Bobby";
    const PelkoChatTarget target = bob;
    EXPECT_EQ(target.name, "bob");
    EXPECT_EQ(target.info, "away");
}

TEST(PelkoRoomTest, TakesItsIdAs32Bits) {
    expectTarget(PelkoRoom(), PelkoChatTargetTypeRoom, 0, "");
    expectTarget(PelkoRoom(5001), PelkoChatTargetTypeRoom, 5001, "");
    expectTarget(PelkoRoom(4294967295U), PelkoChatTargetTypeRoom, 4294967295LL, "");

    constexpr long long wide = (1LL << 32) + 9;
    expectTarget(PelkoRoom(static_cast<unsigned int>(wide)), PelkoChatTargetTypeRoom, 9, "");

    const PelkoRoom room(5001);
    EXPECT_FALSE(room.isTop);
    EXPECT_EQ(room.capacity, 0U);
    EXPECT_EQ(room.onlineNumber, 0U);
}

TEST(PelkoRoomTest, EqualityLooksAtTheIdOnly) {
    PelkoRoom room(5001);
    room.name = "#lounge";
    room.isTop = true;
    room.capacity = 50;
    EXPECT_TRUE(room == PelkoRoom(5001));
    EXPECT_FALSE(room == PelkoRoom(5002));
}

TEST(PelkoGroupTest, TakesItsIdAs64Bits) {
    expectTarget(PelkoGroup(), PelkoChatTargetTypeGroup, 0, "");
    expectTarget(PelkoGroup((1LL << 32) + 77), PelkoChatTargetTypeGroup, (1LL << 32) + 77, "");

    const PelkoGroup group(77);
    EXPECT_EQ(group.ownerType, PelkoGroupTypePublic);
    EXPECT_EQ(group.ownerAccount, "");
    EXPECT_FALSE(group.needAuthentication);
    EXPECT_EQ(group.capacity, 0U);
}

TEST(PelkoGroupTest, EqualityLooksAtTheIdOnly) {
    PelkoGroup group(77);
    group.name = "team";
    group.ownerAccount = "boss";
    EXPECT_TRUE(group == PelkoGroup(77));
    EXPECT_FALSE(group == PelkoGroup(77 + (1LL << 32)));
}

TEST(PelkoCustomerServiceTest, TakesItsIdAndTag) {
    expectTarget(PelkoCustomerService(), PelkoChatTargetTypeCustomerService, 0, "");
    expectTarget(PelkoCustomerService(9U), PelkoChatTargetTypeCustomerService, 9, "");
    expectTarget(PelkoCustomerService((1LL << 32) + 9, 4U), PelkoChatTargetTypeCustomerService,
                 (1LL << 32) + 9, "");

    const PelkoCustomerService service(9U);
    EXPECT_EQ(service.tag, 0U);
    EXPECT_EQ(service.nickname, "");
    EXPECT_EQ(service.creater, nullptr);
    EXPECT_EQ(PelkoCustomerService(9, 4U).tag, 4U);
}

TEST(PelkoCustomerServiceTest, EqualityLooksAtTheIdOnly) {
    EXPECT_TRUE(PelkoCustomerService(9U) == PelkoCustomerService(9, 4U));
    EXPECT_FALSE(PelkoCustomerService(9U) == PelkoCustomerService(10U));
}

TEST(PelkoCustomerServiceTest, DoesNotOwnItsCreater) {
    PelkoCustomerServiceCreater creater;
    EXPECT_EQ(creater.email, "");
    EXPECT_EQ(creater.phone, "");
    EXPECT_EQ(creater.nickname, "");
    EXPECT_EQ(creater.gender, PelkoUserGenderMale);
    {
        PelkoCustomerService service(9U);
        service.creater = &creater;
        const PelkoCustomerService copy(service);
        EXPECT_EQ(copy.creater, &creater);
    }
    creater.email = "help@example.org";
    EXPECT_EQ(creater.email, "help@example.org");
}

TEST(PelkoChatTargetTest, CopiesEveryField) {
    PelkoChatTarget target(12, PelkoChatTargetTypeGroup);
    target.name = "team";
    target.tag = 3;
    target.info = "we";
    target.hasGotDetail = true;
    target.icon = PelkoMedia(PelkoMediaTypeImage);
    target.icon.path = "team.png";

    PelkoChatTarget copy;
    copy = target;
    target = PelkoChatTarget();

    EXPECT_EQ(copy.type, PelkoChatTargetTypeGroup);
    EXPECT_EQ(copy.id, 12);
    EXPECT_EQ(copy.name, "team");
    EXPECT_EQ(copy.tag, 3U);
    EXPECT_EQ(copy.info, "we");
    EXPECT_TRUE(copy.hasGotDetail);
    EXPECT_EQ(copy.icon.type, PelkoMediaTypeImage);
    EXPECT_EQ(copy.icon.path, "team.png");
}

TEST(PelkoUserTest, CopiesEveryField) {
    PelkoUser user("bob");
    user.info = "away";
    user.nickname = "Bobby";
    user.gender = PelkoUserGenderNotSet;
    user.isBlocked = true;
    user.isFriend = true;

    const PelkoUser constructed(user);
    PelkoUser assigned;
    assigned = user;
    user = PelkoUser();

    for (const PelkoUser& copy : {constructed, assigned}) {
        EXPECT_EQ(copy.name, "bob");
        EXPECT_EQ(copy.info, "away");
        EXPECT_EQ(copy.nickname, "Bobby");
        EXPECT_EQ(copy.gender, PelkoUserGenderNotSet);
        EXPECT_TRUE(copy.isBlocked);
        EXPECT_TRUE(copy.isFriend);
    }
}

TEST(PelkoRoomTest, CopiesEveryField) {
    PelkoRoom room(5001);
    room.info = "no smoking";
    room.isTop = true;
    room.capacity = 50;
    room.onlineNumber = 3;

    const PelkoRoom constructed(room);
    PelkoRoom assigned;
    assigned = room;
    room = PelkoRoom();

    for (const PelkoRoom& copy : {constructed, assigned}) {
        EXPECT_EQ(copy.id, 5001);
        EXPECT_EQ(copy.info, "no smoking");
        EXPECT_TRUE(copy.isTop);
        EXPECT_EQ(copy.capacity, 50U);
        EXPECT_EQ(copy.onlineNumber, 3U);
    }
}

TEST(PelkoGroupTest, CopiesEveryField) {
    PelkoGroup group(77);
    group.info = "we";
    group.ownerType = PelkoGroupTypePrivate;
    group.ownerAccount = "boss";
    group.needAuthentication = true;
    group.capacity = 200;

    const PelkoGroup constructed(group);
    PelkoGroup assigned;
    assigned = group;
    group = PelkoGroup();

    for (const PelkoGroup& copy : {constructed, assigned}) {
        EXPECT_EQ(copy.id, 77);
        EXPECT_EQ(copy.info, "we");
        EXPECT_EQ(copy.ownerType, PelkoGroupTypePrivate);
        EXPECT_EQ(copy.ownerAccount, "boss");
        EXPECT_TRUE(copy.needAuthentication);
        EXPECT_EQ(copy.capacity, 200U);
    }
}

TEST(PelkoCustomerServiceTest, CopiesEveryField) {
    PelkoCustomerServiceCreater creater;
    creater.name = "shop";
    creater.email = "help@example.org";
    creater.phone = "112";
    creater.nickname = "The Shop";
    creater.gender = PelkoUserGenderFemale;
    PelkoCustomerServiceCreater otherCreater;
    otherCreater = creater;
    PelkoCustomerService service(9, 4U);
    service.nickname = "Help";
    service.creater = &creater;

    const PelkoCustomerService constructed(service);
    PelkoCustomerService assigned;
    assigned = service;
    service = PelkoCustomerService();

    for (const PelkoCustomerService& copy : {constructed, assigned}) {
        EXPECT_EQ(copy.id, 9);
        EXPECT_EQ(copy.tag, 4U);
        EXPECT_EQ(copy.nickname, "Help");
        EXPECT_EQ(copy.creater, &creater);
    }
    for (const PelkoCustomerServiceCreater& copy : {PelkoCustomerServiceCreater(creater), otherCreater}) {
        EXPECT_EQ(copy.name, "shop");
        EXPECT_EQ(copy.email, "help@example.org");
        EXPECT_EQ(copy.phone, "112");
        EXPECT_EQ(copy.nickname, "The Shop");
        EXPECT_EQ(copy.gender, PelkoUserGenderFemale);
    }
}

// ---- the order of the fields, those of the base first

void expectInOrder(const std::vector<const void*>& fields) {
    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end(), std::less<>()));
}

TEST(PelkoChatTargetTest, FieldsLieInTheirOrder) {
    const PelkoChatTarget target;
    expectInOrder({&target.type, &target.id, &target.name, &target.tag, &target.info, &target.hasGotDetail,
                   &target.icon});
}

TEST(PelkoUserTest, FieldsLieInTheirOrder) {
    const PelkoUser user;
    expectInOrder({&user.icon, &user.nickname, &user.gender, &user.isBlocked, &user.isFriend});
}

TEST(PelkoRoomTest, FieldsLieInTheirOrder) {
    const PelkoRoom room;
    expectInOrder({&room.icon, &room.isTop, &room.capacity, &room.onlineNumber});
}

TEST(PelkoGroupTest, FieldsLieInTheirOrder) {
    const PelkoGroup group;
    expectInOrder(
        {&group.icon, &group.ownerType, &group.ownerAccount, &group.needAuthentication, &group.capacity});
}

TEST(PelkoCustomerServiceTest, FieldsLieInTheirOrder) {
    const PelkoCustomerService service;
    expectInOrder({&service.icon, &service.nickname, &service.creater});
    const PelkoCustomerServiceCreater creater;
    expectInOrder({&creater.icon, &creater.email, &creater.phone, &creater.nickname, &creater.gender});
}

}  // namespace

}  // namespace pelkoapi
