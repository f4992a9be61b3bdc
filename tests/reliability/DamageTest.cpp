#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>
#include <vector>

#include "tests/reliability/support/Damage.h"
#include "tests/reliability/support/StoredRows.h"
#include "tests/reliability/support/WatchedStore.h"

// Every operation over files that have come to harm. WatchedStore checks each call.
//
// A long run: PELKO_DAMAGES=20000 gives the number of files. One damage again, by its number:
// PELKO_DAMAGES_FROM=1234 PELKO_DAMAGES=1.

namespace pelkotest {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int numberFromEnvironment(const char* name, int otherwise) {
    const char* const text = std::getenv(name);
    return text != nullptr ? std::atoi(text) : otherwise;
}

class DamageTest : public testing::Test {
protected:
    void SetUp() override {
        mSamples = makeSamples();
        mClosed.database = mSamples.database;
        mOpen.database = mSamples.underLog;
        mOpen.log = mSamples.log;
        mOutcomes = outcomesOver(mClosed);
        mOutcomesUnderLog = outcomesOver(mOpen);
        ASSERT_THAT(mStore.lines(), IsEmpty()) << "over the undamaged files";
        ASSERT_FALSE(difference(neutralOutcomes(), mOutcomes).empty());
    }

    void TearDown() override {
        // Whatever it has met, the manager works over a file that is in order.
        mStore.forget();
        EXPECT_EQ(difference(mOutcomes, outcomesOver(mClosed)), "");
        EXPECT_THAT(mStore.lines(), IsEmpty());
        std::cout << "counted: " << mCount << " damaged files\n";
    }

    /// Everything that the client can do with such a file: two runs of it.
    void useDamaged(const DamagedFile& file) {
        SCOPED_TRACE(file.what);
        ++mCount;
        mStore.forget();
        const std::vector<Outcome> outcomes = outcomesOver(file);
        ++(mStore.lines().empty() ? mSilent : mOpened ? mTold : mRefused);
        if (file.promise != Promise::Nothing) {
            EXPECT_THAT(mStore.lines(), IsEmpty());
            EXPECT_EQ(integrityOf(mStore.dbPath()), "ok");
        }
        if (file.promise == Promise::SameResults) {
            EXPECT_EQ(difference(file.log == mSamples.log ? mOutcomesUnderLog : mOutcomes, outcomes), "");
        }
        mStore.open();
        mStore.runTransaction();
        mStore.runAll();
        mStore.close();
    }

    /// A file that is no database: it is refused, and left as it is.
    void expectRefused(const Bytes& bytes, const std::string& reason) {
        SCOPED_TRACE(bytes.substr(0, 20));
        ++mCount;
        mStore.clear();
        mStore.forget();
        DamagedFile file;
        file.database = bytes;
        writeFiles(file, mStore.folder());
        EXPECT_FALSE(mStore.open());
        EXPECT_THAT(mStore.lines(), ElementsAre("setUp failed, exception in (" + reason + ")."));
        mStore.runAll();
        EXPECT_EQ(readBytes(mStore.dbPath()), bytes);
    }

    std::vector<Outcome> outcomesOver(const DamagedFile& file) {
        mStore.clear();
        writeFiles(file, mStore.folder());
        // Left behind when the program does not come to its end.
        std::ofstream(mStore.folder() / "damage") << file.what;
        mOpened = mStore.open();
        std::vector<Outcome> outcomes = mStore.runAll();
        mStore.close();
        return outcomes;
    }

    WatchedStore mStore;
    Samples mSamples;
    DamagedFile mClosed;
    DamagedFile mOpen;
    int mCount = 0;
    // Of these, by the first run over the file:
    int mRefused = 0;  ///< could not be opened
    int mTold = 0;     ///< could be opened, and something failed
    int mSilent = 0;   ///< nothing failed

private:
    bool mOpened = false;
    std::vector<Outcome> mOutcomes;
    std::vector<Outcome> mOutcomesUnderLog;
};

TEST_F(DamageTest, FilesDamagedAtRandom) {
    const int first = numberFromEnvironment("PELKO_DAMAGES_FROM", 0);
    const int count = numberFromEnvironment("PELKO_DAMAGES", 480);
    for (int i = 0; i < count && !HasFailure(); ++i) {
        useDamaged(damagedFile(mSamples, static_cast<std::uint32_t>(first + i)));
    }
    if (count >= 240) {
        EXPECT_GT(mRefused, count / 10) << "every way to end is met";
        EXPECT_GT(mTold, count / 10);
        EXPECT_GT(mSilent, count / 10);
    }
}

TEST_F(DamageTest, EachFieldOfTheHeader) {
    for (const DamagedFile& file : damagedHeaders(mSamples)) {
        useDamaged(file);
    }
}

TEST_F(DamageTest, FilesThatAreNoDatabase) {
    constexpr char reason[] = "file is not a database";
    expectRefused("xy", reason);
    expectRefused("SQLite format 3", reason);
    expectRefused("These are not the messages that you are looking for.\n", reason);
    expectRefused(std::string(50000, '\0'), reason);
    expectRefused(std::string(50000, 'x'), reason);
    expectRefused("SQLite format 3" + std::string(50000, '\0'), reason);
    expectRefused(mSamples.database.substr(1), reason);
    expectRefused(mSamples.log, reason);
    for (std::uint32_t seed = 0; seed < 10; ++seed) {
        std::string bytes(std::size_t{4096} * (seed + 1), '\0');
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            bytes[i] = static_cast<char>((i * i * (seed + 3) + i / 7) & 0xff);
        }
        expectRefused(bytes, reason);
    }
}

TEST_F(DamageTest, AnEmptyFileIsANewDatabase) {
    // SQLite takes a file of one byte for an empty one: on some systems it makes them itself.
    for (const Bytes& bytes : {Bytes(), Bytes("x")}) {
        SCOPED_TRACE(bytes);
        ++mCount;
        mStore.clear();
        mStore.forget();
        std::ofstream(mStore.dbPath()) << bytes;
        EXPECT_TRUE(mStore.open());
        fillStore(mStore.db());
        mStore.runAll();
        mStore.close();
        EXPECT_THAT(mStore.lines(), IsEmpty());
        EXPECT_EQ(integrityOf(mStore.dbPath()), "ok");
    }
}

TEST_F(DamageTest, ADirectoryInThePlaceOfTheFile) {
    ++mCount;
    mStore.clear();
    std::filesystem::create_directory(mStore.dbPath());
    EXPECT_FALSE(mStore.open());
    EXPECT_THAT(mStore.lines(), ElementsAre("setUp failed, exception in (unable to open database file)."));
    mStore.runAll();
    EXPECT_TRUE(std::filesystem::is_empty(mStore.dbPath()));
}

// What belongs to another database, and is in itself in order, is taken for the file's own.

TEST_F(DamageTest, TheLogOfAnotherDatabase) {
    DamagedFile file = mClosed;
    file.what = "a foreign log";
    file.log = mSamples.foreignLog;
    useDamaged(file);
}

TEST_F(DamageTest, TheJournalOfAnotherDatabase) {
    DamagedFile file = mClosed;
    file.what = "a foreign journal";
    file.journal = mSamples.foreignJournal;
    ASSERT_GT(file.journal.size(), 100000U) << "it holds pages";
    useDamaged(file);
}

}  // namespace

}  // namespace pelkotest
