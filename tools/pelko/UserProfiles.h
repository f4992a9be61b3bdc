#ifndef PELKO_TOOL_USER_PROFILES_H
#define PELKO_TOOL_USER_PROFILES_H

#include <string>
#include <vector>

#include "PelkoChatTarget.h"
#include "tools/pelko/Store.h"

namespace pelkotool {

/// The user with profile and relations; a name with a single quote, which the store cannot look for, comes
/// back bare.
pelkoapi::PelkoUser readUser(Store& store, const std::string& name);

bool hasProfile(Store& store, const std::string& name);

/// Users as a table or as JSON. @param none  the line for people when there are none
void printUsers(Store& store, const std::vector<pelkoapi::PelkoUser>& users, const std::string& none,
                bool json);

void printUser(Store& store, const pelkoapi::PelkoUser& user, bool json);

}  // namespace pelkotool

#endif  // PELKO_TOOL_USER_PROFILES_H
