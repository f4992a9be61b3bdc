#include "tools/pelko/export/LineFile.h"

#include "tests/tools/pelko/support/ToolTest.h"
#include "tools/pelko/ToolError.h"

using namespace pelkotest;
using pelkotool::LineFile;
using pelkotool::ToolError;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class Lines : public testing::Test {
protected:
    std::vector<std::string> linesOf(const std::string& content, std::size_t longest = 100) const {
        writeFile(path(), content);
        LineFile file(path(), longest);
        std::vector<std::string> lines;
        while (file.next()) {
            lines.push_back(file.line());
            EXPECT_EQ(file.number(), static_cast<long long>(lines.size()));
        }
        EXPECT_EQ(file.bytesRead(), content.size());
        EXPECT_EQ(file.size(), content.size());
        return lines;
    }

    fs::path path() const { return mFolder.path() / "lines"; }

    static std::string failureOf(const fs::path& path) {
        try {
            LineFile file(path, 100);
            file.next();
        } catch (const ToolError& error) {
            return error.what();
        }
        return "none";
    }

private:
    const TemporaryFolder mFolder;
};

TEST_F(Lines, ComeOneByOne) {
    EXPECT_THAT(linesOf(""), ElementsAre());
    EXPECT_THAT(linesOf("one\ntwo\n"), ElementsAre("one", "two"));
    EXPECT_THAT(linesOf("one\n\ntwo"), ElementsAre("one", "", "two"));
    EXPECT_THAT(linesOf(std::string("a\0b\r\n", 5)), ElementsAre(std::string("a\0b\r", 4)));
}

TEST_F(Lines, MayBeLongerThanWhatIsReadAtOnce) {
    const std::string first(1'000'000, 'x');
    const std::string second(300'000, 'y');
    EXPECT_THAT(linesOf(first + '\n' + second + "\nz", 1'000'000), ElementsAre(first, second, "z"));
}

TEST_F(Lines, AreRefusedWhenTooLong) {
    EXPECT_THAT(linesOf("1234\n12345\n", 5), ElementsAre("1234", "12345"));
    writeFile(path(), "1234\n123456\n");
    LineFile file(path(), 5);
    EXPECT_TRUE(file.next());
    try {
        file.next();
        FAIL() << "taken";
    } catch (const ToolError& error) {
        EXPECT_THAT(error.what(),
                    AllOf(HasSubstr(path().string() + " line 2"), HasSubstr("longer than 5 bytes")));
    }
    const std::string endless(1'000'000, 'x');
    EXPECT_THROW(linesOf(endless, 600'000), ToolError);
}

TEST_F(Lines, ComeFromAFileThatCanBeRead) {
    EXPECT_THAT(failureOf(path()), AllOf(HasSubstr("no file"), HasSubstr(path().string())));
    EXPECT_THAT(failureOf(path().parent_path()), HasSubstr("is not a file"));
    EXPECT_THAT(failureOf("/dev/zero"), HasSubstr("is not a file"));
    EXPECT_THAT(failureOf("/proc/self/mem"), HasSubstr("cannot read /proc/self/mem"));
}

}  // namespace
