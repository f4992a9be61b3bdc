#include "tools/pelko/file/Database.h"

#include <sys/stat.h>

#include <chrono>
#include <map>
#include <thread>

#include "tests/support/WithoutPrivileges.h"
#include "tests/tools/pelko/support/ToolTest.h"

using namespace pelkotest;
using pelkotool::besideDatabase;
using pelkotool::Database;
using pelkotool::isInLogMode;
using pelkotool::SqliteError;
using pelkotool::Statement;
using pelkotool::ToolError;
using testing::AllOf;
using testing::HasSubstr;

namespace {

/// A connection of another program.
class Other {
public:
    explicit Other(const fs::path& file) { EXPECT_EQ(sqlite3_open(file.c_str(), &mHandle), SQLITE_OK); }
    ~Other() { sqlite3_close(mHandle); }
    Other(const Other&) = delete;
    Other& operator=(const Other&) = delete;

    void run(const std::string& sql) const {
        EXPECT_EQ(sqlite3_exec(mHandle, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(mHandle);
    }

private:
    sqlite3* mHandle = nullptr;
};

class DatabaseTest : public testing::Test {
protected:
    fs::path in(const std::string& name) const { return mFolder.path() / name; }
    fs::path file() const { return in("db.dat"); }

    /// Makes the file with one row, 7, in table t.
    void make(const std::string& journalMode = "WAL") const {
        Other(file()).run("PRAGMA journal_mode = " + journalMode +
                          "; CREATE TABLE t (n); INSERT INTO t VALUES (7)");
    }

    /// Each file of the folder with its content.
    std::map<std::string, std::string> folder() const {
        std::map<std::string, std::string> files;
        for (const fs::directory_entry& entry : fs::directory_iterator(mFolder.path())) {
            files[entry.path().filename().string()] = contentOf(entry.path());
        }
        return files;
    }

    void allowWriting(bool allowed) const { fs::permissions(in(""), fs::perms(allowed ? 0755 : 0555)); }

    /// That opening fails with a line that names the file and matches.
    static void expectRefused(const fs::path& path, const testing::Matcher<std::string>& line) {
        try {
            Database::openToRead(path).number("SELECT count(*) FROM sqlite_master");
            ADD_FAILURE() << path << " was opened";
        } catch (const ToolError& error) {
            EXPECT_THAT(error.what(), AllOf(HasSubstr(path.string()), line));
        }
    }

private:
    TemporaryFolder mFolder;
};

using StatementTest = DatabaseTest;

TEST_F(DatabaseTest, RefusesToReadWhatIsNoFile) {
    expectRefused(in("nowhere"), AllOf(HasSubstr("there is no file"), HasSubstr("--file")));
    expectRefused(in("nowhere/db.dat"), HasSubstr("there is no file"));
    expectRefused(in(""), HasSubstr("is not a file"));
    ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
    expectRefused(file(), HasSubstr("is not a file"));
    expectRefused(in(std::string(5000, 'x')), HasSubstr("File name too long"));
}

TEST_F(DatabaseTest, RefusesToReadWhatIsNoDatabase) {
    for (const std::string& content : {std::string("xy"), std::string(8192, 'x'),
                                       std::string("SQLite format 3"), std::string(8192, '\2')}) {
        writeFile(file(), content);
        expectRefused(file(), AllOf(HasSubstr("file is not a database"), HasSubstr("'pelko salvage OUT'")));
        EXPECT_EQ(contentOf(file()), content);
    }
}

TEST_F(DatabaseTest, RefusesToReadWhatItMayNot) {
    make();
    fs::permissions(in(""), fs::perms(0755));
    fs::permissions(file(), fs::perms::none);
    const WithoutPrivileges anybody;
    expectRefused(file(), HasSubstr("cannot be read; make it readable"));
}

TEST_F(DatabaseTest, SaysSoOfAFileThatIsLocked) {
    make("DELETE");
    const Other other(file());
    other.run("BEGIN EXCLUSIVE");
    expectRefused(file(), AllOf(HasSubstr("database is locked"), HasSubstr("another program")));
}

TEST_F(DatabaseTest, ReadsWithoutAChange) {
    for (const char* const mode : {"WAL", "DELETE"}) {
        fs::remove(file());
        make(mode);
        const auto before = folder();
        {
            const Database database = Database::openToRead(file());
            EXPECT_EQ(database.number("SELECT n FROM t"), 7);
            EXPECT_EQ(folder(), before) << mode;
            EXPECT_NO_THROW(database.requireUnchanged());
        }
        EXPECT_EQ(folder(), before) << mode;
    }
}

TEST_F(DatabaseTest, WritesNothingToWhatItReads) {
    make();
    const Database database = Database::openToRead(file());
    try {
        database.execute("INSERT INTO t VALUES (8)");
        ADD_FAILURE() << "written";
    } catch (const SqliteError& error) {
        EXPECT_EQ(error.sqliteCode(), SQLITE_READONLY);
    }
}

TEST_F(DatabaseTest, ReadsWhatAClientHasCommittedWhileItWrites) {
    make();
    const Other client(file());
    client.run("INSERT INTO t VALUES (8); BEGIN IMMEDIATE; INSERT INTO t VALUES (9)");
    const auto before = folder();
    ASSERT_GT(before.at("db.dat-wal").size(), 0U);
    const Database database = Database::openToRead(file());
    EXPECT_EQ(database.number("SELECT sum(n) FROM t"), 15);
    EXPECT_EQ(folder().at("db.dat"), before.at("db.dat"));
    EXPECT_EQ(folder().at("db.dat-wal"), before.at("db.dat-wal"));
    EXPECT_NO_THROW(database.requireUnchanged());
    EXPECT_NO_THROW(client.run("COMMIT"));
}

TEST_F(DatabaseTest, ReadsInAFolderThatCannotBeWritten) {
    for (const char* const mode : {"WAL", "DELETE"}) {
        fs::remove(file());
        make(mode);
        fs::permissions(file(), fs::perms(0444));
        allowWriting(false);
        {
            const WithoutPrivileges anybody;
            ASSERT_EQ(access(file().c_str(), R_OK), 0) << "the temporary folder must be open to every user";
            ASSERT_NE(access(in("").c_str(), W_OK), 0);
            EXPECT_EQ(Database::openToRead(file()).number("SELECT n FROM t"), 7) << mode;
        }
        allowWriting(true);
    }
}

TEST_F(DatabaseTest, ReadsBesideAnEmptyLogInAFolderThatCannotBeWritten) {
    make();
    writeFile(in("db.dat-wal"), "");
    for (const char* const name : {"db.dat", "db.dat-wal"}) {
        fs::permissions(in(name), fs::perms(0444));
    }
    allowWriting(false);
    {
        const WithoutPrivileges anybody;
        EXPECT_EQ(Database::openToRead(file()).number("SELECT n FROM t"), 7);
    }
    allowWriting(true);
}

TEST_F(DatabaseTest, SaysSoOfChangesThatCannotBeTakenUp) {
    make();
    const fs::path copy = in("copy/db.dat");
    fs::create_directory(copy.parent_path());
    {
        const Other client(file());
        client.run("INSERT INTO t VALUES (8)");
        fs::copy(file(), copy);
        fs::copy(in("db.dat-wal"), in("copy/db.dat-wal"));
    }
    fs::permissions(in(""), fs::perms(0755));
    fs::permissions(copy, fs::perms(0444));
    fs::permissions(in("copy/db.dat-wal"), fs::perms(0444));
    fs::permissions(copy.parent_path(), fs::perms(0555));
    {
        const WithoutPrivileges anybody;
        expectRefused(copy, AllOf(HasSubstr("changes waiting"), HasSubstr("db.dat-wal")));
    }
    fs::permissions(copy.parent_path(), fs::perms(0755));
    EXPECT_EQ(Database::openToRead(copy).number("SELECT sum(n) FROM t"), 15);
}

TEST_F(DatabaseTest, TellsWhenAnotherProgramHasWrittenMeanwhile) {
    make();
    const Database database = Database::openToRead(file());
    EXPECT_EQ(database.number("SELECT n FROM t"), 7);
    const auto expectTold = [&] {
        try {
            database.requireUnchanged();
            ADD_FAILURE() << "not told";
        } catch (const ToolError& error) {
            EXPECT_THAT(error.what(), AllOf(HasSubstr(file().string()), HasSubstr("run the command again")));
        }
    };
    // A file's time moves in steps of some milliseconds: within one of them, nothing tells the two states
    // apart.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    {
        const Other client(file());
        client.run("INSERT INTO t VALUES (8)");
        expectTold();  // it stands in the log only
    }
    expectTold();  // it stands in the file
}

TEST_F(DatabaseTest, ReadsFilesOfAnyName) {
    make();
    for (const char* const name : {"100% #1?.dat", "a?mode=memory", "'; x", "\xff\xfe", "%41", "-x"}) {
        fs::rename(file(), in(name));
        EXPECT_EQ(Database::openToRead(in(name)).number("SELECT n FROM t"), 7) << name;
        fs::rename(in(name), file());
    }
}

TEST_F(DatabaseTest, TrustsNothingThatTheFileSays) {
    make();
    Other(file()).run(
        "CREATE VIEW v AS SELECT 1; CREATE TRIGGER r AFTER INSERT ON t BEGIN DELETE FROM t; END");
    const Database database = Database::openToWrite(file());
    EXPECT_THROW(database.number("SELECT * FROM v"), SqliteError);
    EXPECT_THROW(database.execute("ATTACH ':memory:' AS other"), SqliteError);
    EXPECT_THROW(database.execute("CREATE VIRTUAL TABLE w USING fts5(x)"), SqliteError);
    database.execute("INSERT INTO t VALUES (8)");
    EXPECT_EQ(database.number("SELECT count(*) FROM t"), 2);
}

TEST_F(DatabaseTest, WritesOnlyWhatIsThere) {
    EXPECT_THROW(Database::openToWrite(file()), ToolError);
    EXPECT_FALSE(fs::exists(file()));
    make();
    Database::openToWrite(file()).execute("INSERT INTO t VALUES (8)");
    EXPECT_EQ(rowsOf(file(), "SELECT n FROM t"), (Rows{{"7"}, {"8"}}));
}

TEST_F(DatabaseTest, CreatesOnlyWhatIsNotThere) {
    writeFile(file(), "precious");
    EXPECT_THROW(Database::create(file()), ToolError);
    EXPECT_EQ(contentOf(file()), "precious");
    EXPECT_THROW(Database::create(in("nowhere/db.dat")), SqliteError);
    Database::create(in("new.dat")).execute("CREATE TABLE t (n)");
    EXPECT_EQ(rowsOf(in("new.dat"), "SELECT count(*) FROM t"), (Rows{{"0"}}));
}

TEST_F(DatabaseTest, TellsWhatSqliteSaysWithTheFileAndTheCode) {
    make();
    const Database database = Database::openToWrite(file());
    const auto lineOf = [&](const std::string& sql, int code) -> std::string {
        try {
            database.execute(sql);
            ADD_FAILURE() << sql;
            return {};
        } catch (const SqliteError& error) {
            EXPECT_EQ(error.sqliteCode(), code) << sql;
            EXPECT_EQ(error.code(), pelkotool::ExitCode::failed);
            return error.what();
        }
    };
    EXPECT_EQ(lineOf("SELECT x FROM t", SQLITE_ERROR), file().string() + ": no such column: x");
    EXPECT_EQ(lineOf("SELECT * FROM u", SQLITE_ERROR), file().string() + ": no such table: u");
    database.execute("CREATE UNIQUE INDEX i ON t (n)");
    EXPECT_EQ(lineOf("INSERT INTO t VALUES (7)", SQLITE_CONSTRAINT),
              file().string() + ": UNIQUE constraint failed: t.n");
}

TEST_F(DatabaseTest, ANumberWithoutARowIsZero) {
    make();
    const Database database = Database::openToRead(file());
    EXPECT_EQ(database.number("SELECT n FROM t WHERE n > 7"), 0);
    EXPECT_EQ(database.number("SELECT NULL"), 0);
    EXPECT_EQ(database.number("SELECT -9223372036854775807 - 1"), -9223372036854775807 - 1);
}

TEST_F(DatabaseTest, KnowsAFileInLogMode) {
    make();
    EXPECT_TRUE(isInLogMode(file()));
    fs::remove(file());
    make("DELETE");
    EXPECT_FALSE(isInLogMode(file()));
    writeFile(in("short"), "SQLite");
    EXPECT_FALSE(isInLogMode(in("short")));
    EXPECT_FALSE(isInLogMode(in("nowhere")));
}

TEST_F(DatabaseTest, NamesTheFilesBesideIt) {
    EXPECT_EQ(besideDatabase("/a/db.dat", "-wal"), "/a/db.dat-wal");
}

TEST_F(StatementTest, ReadsValuesOfEveryKind) {
    make();
    const Database database = Database::openToRead(file());
    Statement row =
        database.prepare("SELECT 5, 'five', NULL, '', x'00ff00', CAST(x'610062' AS TEXT), 1.5, '12x'");
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.columnCount(), 8);
    EXPECT_EQ(row.integer(0), 5);
    EXPECT_EQ(row.text(0), "5");
    EXPECT_EQ(row.text(1), "five");
    EXPECT_EQ(row.integer(1), 0);
    EXPECT_TRUE(row.isNull(2));
    EXPECT_EQ(row.text(2), "");
    EXPECT_FALSE(row.isNull(3));
    EXPECT_EQ(row.text(3), "");
    EXPECT_EQ(row.text(4), std::string("\0\xff\0", 3));
    EXPECT_EQ(row.text(5), std::string("a\0b", 3));
    EXPECT_EQ(row.integer(6), 1);
    EXPECT_EQ(row.text(6), "1.5");
    EXPECT_EQ(row.integer(7), 12);
    EXPECT_FALSE(row.step());
}

TEST_F(StatementTest, ReadsTextsOfAFileInUtf16) {
    Other(file()).run(
        "PRAGMA encoding = 'UTF-16le'; CREATE TABLE t (n, m); INSERT INTO t VALUES ('Günther', x'c3')");
    const Database database = Database::openToRead(file());
    Statement row = database.prepare("SELECT n, m FROM t");
    ASSERT_TRUE(row.step());
    EXPECT_EQ(row.text(0), "Günther");
    EXPECT_EQ(row.text(1), "\xc3");
}

TEST_F(StatementTest, TakesBoundValuesAsTheyAre) {
    const Database database = Database::create(file());
    database.execute("CREATE TABLE t (n, m)");
    Statement insert = database.prepare("INSERT INTO t VALUES (?1, ?2)");
    const std::string withNul("a\0'b", 4);
    insert.bind(1, 9223372036854775807LL).bind(2, std::string_view(withNul)).run();
    insert.bind(1, -1LL).bind(2, std::string_view()).run();
    Statement rows = database.prepare("SELECT n, m FROM t ORDER BY rowid");
    ASSERT_TRUE(rows.step());
    EXPECT_EQ(rows.integer(0), 9223372036854775807LL);
    EXPECT_EQ(rows.text(1), withNul);
    ASSERT_TRUE(rows.step());
    EXPECT_EQ(rows.integer(0), -1);
    EXPECT_FALSE(rows.isNull(1)) << "an empty text, not a missing one";
    rows.reset();
    ASSERT_TRUE(rows.step());
    EXPECT_EQ(rows.integer(0), 9223372036854775807LL);
}

TEST_F(StatementTest, RefusesAParameterThatThereIsNot) {
    const Database database = Database::create(file());
    Statement statement = database.prepare("SELECT ?1");
    EXPECT_THROW(statement.bind(2, 1LL), SqliteError);
    EXPECT_THROW(statement.bind(0, std::string_view("x")), SqliteError);
}

TEST_F(StatementTest, TellsTheDamageThatItMeets) {
    make();
    Other(file()).run(
        "INSERT INTO t SELECT randomblob(3000) FROM (VALUES (1), (2), (3), (4), (5), (6), (7), (8))");
    std::string content = contentOf(file());
    const std::size_t last = content.size() - 4096;
    content.replace(last, 4096, 4096, '\xa5');
    writeFile(file(), content);
    const Database database = Database::openToRead(file());
    try {
        database.prepare("SELECT n FROM t").run();
        ADD_FAILURE() << "nothing was met";
    } catch (const SqliteError& error) {
        EXPECT_EQ(error.sqliteCode(), SQLITE_CORRUPT);
        EXPECT_THAT(error.what(), AllOf(HasSubstr(file().string()), HasSubstr("'pelko salvage OUT'")));
    }
}

}  // namespace
