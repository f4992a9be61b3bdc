#ifndef PELKO_TESTS_FUZZ_OPERATION_RUN_H
#define PELKO_TESTS_FUZZ_OPERATION_RUN_H

#include <exception>
#include <string>
#include <type_traits>
#include <vector>

#include "classes/storage/PelkoDBManager.h"
#include "tests/fuzz/FuzzInput.h"
#include "tests/fuzz/StoreModel.h"
#include "tests/reliability/support/RecordText.h"

namespace pelkotest {

/// A value of a call as text.
template <typename Value>
std::string told(const Value& value) {
    if constexpr (std::is_same_v<Value, bool>) {
        return value ? "true" : "false";
    } else if constexpr (std::is_enum_v<Value>) {
        return std::to_string(static_cast<int>(value));
    } else if constexpr (std::is_arithmetic_v<Value>) {
        return std::to_string(value);
    } else if constexpr (std::is_same_v<Value, std::string>) {
        return '"' + value + '"';
    } else {
        return recordText(value);
    }
}

template <typename Value>
std::string told(const std::vector<Value>& values) {
    std::string text = "[";
    for (const Value& value : values) {
        text += told(value) + "; ";
    }
    return text + ']';
}

template <typename First, typename... Others>
std::string told(const First& first, const Others&... others) {
    return (told(first) + ... + (", " + told(others)));
}

/// The calls of one input: each is made of the store and of the model, and what they do is compared.
class OperationRun {
public:
    /// The input's first bytes choose the file that the store begins with.
    explicit OperationRun(const FuzzInput& bytes);
    ~OperationRun();
    OperationRun(const OperationRun&) = delete;
    OperationRun& operator=(const OperationRun&) = delete;

    FuzzInput input;
    StoreModel model;

    /// @param arguments  for the account of a mismatch
    /// @param call       takes either of the two and gives all that the call gave back as text
    template <typename Call>
    void both(const char* name, const std::string& arguments, const Call& call) {
        begin(name, arguments);
        const std::string given = outcome([&] { return call(*mManager); });
        const std::string expected = outcome([&] { return call(model); });
        compare(given, expected);
    }

    /// Reads everything back through the public readers.
    void readBack();

private:
    template <typename Call>
    static std::string outcome(const Call& call) {
        try {
            return call();
        } catch (const std::exception&) {
            return "throws";
        }
    }

    void begin(const char* name, const std::string& arguments);
    void compare(const std::string& stored, const std::string& expected);
    /// Prints everything up to here and aborts.
    [[noreturn]] void tellMismatch(const char* what, const std::string& stored,
                                   const std::string& expected) const;

    void readMessagesBack();
    void readContactsBack();
    void readOthersBack();

    pelkoapi::PelkoDBManager* mManager;
    std::string mName;  // of the call
    std::string mNameBefore;
    std::vector<std::string> mAccount;
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_FUZZ_OPERATION_RUN_H
