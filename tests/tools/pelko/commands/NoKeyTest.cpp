#include <cstdlib>

#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using testing::AllOf;
using testing::HasSubstr;

// A key in the environment where the tool cannot encrypt.

namespace {

class NoKey : public ToolTest {
protected:
    void TearDown() override { unsetenv("PELKO_KEY"); }
};

TEST_F(NoKey, IsRefusedByEveryCommandThatOpensAFile) {
    runWell({"send", "user:bob", "hello"});
    const std::string before = contentOf(database());
    setenv("PELKO_KEY", "key", 1);
    const auto refusal = AllOf(HasSubstr("a key is set, and this build cannot encrypt"),
                               HasSubstr("unset PELKO_KEY"), HasSubstr("sqlcipher"));
    expectRefused(run({"send", "user:bob", "again"}), 1, refusal);
    expectRefused(run({"inspect"}), 1, refusal);
    expectRefused(run({"backup", (folder() / "copy.dat").string()}), 1, refusal);
    expectRefused(run({"salvage", (folder() / "copy.dat").string()}), 1, refusal);
    EXPECT_FALSE(fs::exists(folder() / "copy.dat"));
    EXPECT_TRUE(contentOf(database()) == before);
    EXPECT_EQ(run({"--help"}).exitCode, 0);
}

TEST_F(NoKey, AnEmptyOneIsNone) {
    setenv("PELKO_KEY", "", 1);
    runWell({"send", "user:bob", "hello"});
}

}  // namespace
