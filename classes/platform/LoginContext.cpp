#include "classes/platform/LoginContext.h"

namespace pelkoapi {

LoginContext* LoginContext::getInstance() {
    static LoginContext instance;
    return &instance;
}

const std::string& LoginContext::getUserName() const {
    return mUserName;
}

void LoginContext::setUserName(const std::string& userName) {
    mUserName = userName;
}

}  // namespace pelkoapi
