#include "classes/platform/ProgramArguments.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

TEST(Utf8Arguments, AreThoseOfMain) {
    const char* const argv[] = {"pelko", "show", "", "größe 日本語", "not given"};
    EXPECT_THAT(pelkoapi::utf8Arguments(4, argv), testing::ElementsAre("pelko", "show", "", "größe 日本語"));
}

TEST(Utf8Arguments, AreNoneOfAProgramWithoutAny) {
    const char* const argv[] = {nullptr};
    EXPECT_THAT(pelkoapi::utf8Arguments(0, argv), testing::IsEmpty());
}

}  // namespace
