#ifndef PELKO_TESTS_SUPPORT_ENVIRONMENT_VARIABLE_H
#define PELKO_TESTS_SUPPORT_ENVIRONMENT_VARIABLE_H

#include <stdlib.h>  // setenv is POSIX's, not the standard library's

#include <optional>
#include <string>

namespace pelkotest {

/// Sets or unsets an environment variable, and puts back what was there.
class EnvironmentVariable {
public:
    EnvironmentVariable(const char* name, const char* value) : mName(name) {
        if (const char* const before = getenv(name)) {
            mBefore = before;
        }
        set(value);
    }
    ~EnvironmentVariable() { set(mBefore ? mBefore->c_str() : nullptr); }
    EnvironmentVariable(const EnvironmentVariable&) = delete;
    EnvironmentVariable& operator=(const EnvironmentVariable&) = delete;

private:
    void set(const char* value) {
        if (value != nullptr) {
            setenv(mName, value, 1);
        } else {
            unsetenv(mName);
        }
    }

    const char* mName;
    std::optional<std::string> mBefore;
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_SUPPORT_ENVIRONMENT_VARIABLE_H
