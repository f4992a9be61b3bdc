#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using nlohmann::json;
using testing::AllOf;
using testing::HasSubstr;

namespace {

class PinCommand : public ToolTest {
protected:
    Rows stored() const { return rows("SELECT last_msg_id, is_top, priority FROM tbl_session"); }
};

TEST_F(PinCommand, PinsAndUnpinsASession) {
    runWell({"send", "user:o'brien", "hi"});
    EXPECT_EQ(runWell({"pin", "user:o'brien", "--priority", "2147483647"}).out,
              "user:o'brien is pinned with priority 2147483647.\n");
    EXPECT_EQ(stored(), (Rows{{"1", "1", "2147483647"}}));
    EXPECT_EQ(runWell({"sessions", "--json"}).json()[0]["pinned"], true);
    EXPECT_EQ(runWell({"pin", "user:o'brien", "--json"}).json(),
              (json{{"target", "user:o'brien"}, {"pinned", true}, {"priority", 0}}));
    EXPECT_EQ(stored(), (Rows{{"1", "1", "0"}}));
    EXPECT_EQ(runWell({"unpin", "user:o'brien"}).out, "user:o'brien is not pinned.\n");
    EXPECT_EQ(stored(), (Rows{{"1", "0", "0"}}));
    EXPECT_EQ(runWell({"unpin", "user:o'brien", "--json"}).json()["pinned"], false);
}

TEST_F(PinCommand, RefusesWhatCannotBePinned) {
    runWell({"send", "user:bob", "hi"});
    for (const char* const command : {"pin", "unpin"}) {
        expectRefused(run({command, "room:5"}), 1,
                      AllOf(HasSubstr("no session of room:5"), HasSubstr("pelko sessions")));
        expectRefused(run({command, "bob"}), 2, HasSubstr("'bob' is no target"));
    }
    for (const char* const priority : {"-1", "2147483648", "x", ""}) {
        expectRefused(run({"pin", "user:bob", "--priority", priority}), 2, HasSubstr("--priority '"));
    }
    EXPECT_EQ(stored(), (Rows{{"1", "0", "0"}}));
}

}  // namespace
