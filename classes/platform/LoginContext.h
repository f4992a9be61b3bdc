#ifndef PELKO_PLATFORM_LOGIN_CONTEXT_H
#define PELKO_PLATFORM_LOGIN_CONTEXT_H

#include <string>

#include "classes/platform/Export.h"

namespace pelkoapi {

/// @addtogroup platform
/// @{

/// The client's login state, complete before the store is set up. A host links its own definitions, or takes
/// the ones of pelko_platform.
class PELKO_API LoginContext {
public:
    /// The one login state.
    static LoginContext* getInstance();

    /// The logged-in user's account name.
    const std::string& getUserName() const;
    /// Tells who is logged in.
    void setUserName(const std::string& userName);

private:
    std::string mUserName;
};

/// @}

}  // namespace pelkoapi

#endif  // PELKO_PLATFORM_LOGIN_CONTEXT_H
