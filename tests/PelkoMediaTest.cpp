#include "PelkoMedia.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <string>
#include <type_traits>
#include <vector>

namespace pelkoapi {

namespace {

static_assert(sizeof(PelkoMediaType) == 4 && sizeof(PelkoMediaStatus) == 4);
static_assert(std::is_same_v<decltype(PelkoMedia::tag), long long>);
static_assert(std::is_same_v<decltype(PelkoMedia::url), std::string>);
static_assert(std::is_same_v<decltype(PelkoMedia::path), std::string>);
static_assert(std::is_same_v<decltype(PelkoMedia::pathEx), std::string>);
static_assert(std::is_same_v<decltype(PelkoMedia::duration), unsigned int>);
static_assert(std::is_copy_constructible_v<PelkoMedia> && std::is_copy_assignable_v<PelkoMedia>);

void expectEmptyApartFromType(const PelkoMedia& media) {
    EXPECT_EQ(media.tag, 0);
    EXPECT_EQ(media.status, PelkoMediaStatusCreated);
    EXPECT_EQ(media.url, "");
    EXPECT_EQ(media.path, "");
    EXPECT_EQ(media.pathEx, "");
    EXPECT_EQ(media.duration, 0U);
}

TEST(PelkoMediaTest, KindsAndStatesHaveTheirStoredNumbers) {
    EXPECT_EQ(static_cast<int>(PelkoMediaTypeImage), 1);
    EXPECT_EQ(static_cast<int>(PelkoMediaTypeAudio), 2);
    EXPECT_EQ(static_cast<int>(PelkoMediaTypeUserData), 3);
    EXPECT_EQ(static_cast<int>(PelkoMediaTypeExtraData), 4);

    EXPECT_EQ(static_cast<int>(PelkoMediaStatusCreated), 0);
    EXPECT_EQ(static_cast<int>(PelkoMediaStatusDownloading), 1);
    EXPECT_EQ(static_cast<int>(PelkoMediaStatusDownloaded), 2);
    EXPECT_EQ(static_cast<int>(PelkoMediaStatusDownloadFailed), 3);
}

TEST(PelkoMediaTest, WithoutTypeItHoldsZero) {
    const PelkoMedia media;
    EXPECT_EQ(static_cast<int>(media.type), 0);
    expectEmptyApartFromType(media);
}

TEST(PelkoMediaTest, WithTypeEverythingElseIsEmpty) {
    for (const PelkoMediaType type :
         {PelkoMediaTypeImage, PelkoMediaTypeAudio, PelkoMediaTypeUserData, PelkoMediaTypeExtraData}) {
        const PelkoMedia media(type);
        EXPECT_EQ(media.type, type);
        expectEmptyApartFromType(media);
    }
}

TEST(PelkoMediaTest, FieldsLieInTheirOrder) {
    const PelkoMedia media;
    const std::vector<const void*> fields = {&media.tag,  &media.type,   &media.status,  &media.url,
                                             &media.path, &media.pathEx, &media.duration};
    EXPECT_TRUE(std::is_sorted(fields.begin(), fields.end(), std::less<>()));
}

TEST(PelkoMediaTest, CopiesEveryField) {
    PelkoMedia media(PelkoMediaTypeAudio);
    media.tag = 1LL << 40;
    media.status = PelkoMediaStatusDownloaded;
    media.url = "http://x/a.amr";
    media.path = "a.amr";
    media.pathEx = "b.amr";
    media.duration = 4000000000U;

    PelkoMedia copy;
    copy = media;
    media = PelkoMedia();

    EXPECT_EQ(copy.tag, 1LL << 40);
    EXPECT_EQ(copy.type, PelkoMediaTypeAudio);
    EXPECT_EQ(copy.status, PelkoMediaStatusDownloaded);
    EXPECT_EQ(copy.url, "http://x/a.amr");
    EXPECT_EQ(copy.path, "a.amr");
    EXPECT_EQ(copy.pathEx, "b.amr");
    EXPECT_EQ(copy.duration, 4000000000U);
}

}  // namespace

}  // namespace pelkoapi
