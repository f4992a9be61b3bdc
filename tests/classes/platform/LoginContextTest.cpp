#include "classes/platform/LoginContext.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

namespace pelkoapi {

namespace {

static_assert(
    std::is_same_v<decltype(&LoginContext::getUserName), const std::string& (LoginContext::*)() const>);

TEST(LoginContextTest, IsOneObject) {
    ASSERT_NE(LoginContext::getInstance(), nullptr);
    EXPECT_EQ(LoginContext::getInstance(), LoginContext::getInstance());
}

TEST(LoginContextTest, KeepsTheNameThatWasSetLast) {
    LoginContext& login = *LoginContext::getInstance();
    login.setUserName("alice");
    EXPECT_EQ(login.getUserName(), "alice");

    std::string name = "o'brien \xE6\x97\xA5";
    login.setUserName(name);
    name = "changed afterwards";
    EXPECT_EQ(LoginContext::getInstance()->getUserName(), "o'brien \xE6\x97\xA5");

    login.setUserName("");
    EXPECT_EQ(login.getUserName(), "");
}

}  // namespace

}  // namespace pelkoapi
