#ifndef PELKO_TESTS_RELIABILITY_SUPPORT_TEST_CODE_H
#define PELKO_TESTS_RELIABILITY_SUPPORT_TEST_CODE_H

namespace pelkotest {

/// While one of these lives, what is allocated is the test's own: a test that fails the allocations of the
/// store leaves it alone.
class TestCode {
public:
    TestCode() { ++depth; }
    ~TestCode() { --depth; }
    TestCode(const TestCode&) = delete;
    TestCode& operator=(const TestCode&) = delete;

    // cppcheck-suppress knownConditionTrueFalse ; the constructors change it
    static bool runs() { return depth > 0; }

private:
    static inline int depth = 0;
};

}  // namespace pelkotest

#endif  // PELKO_TESTS_RELIABILITY_SUPPORT_TEST_CODE_H
