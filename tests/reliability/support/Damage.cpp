#include "tests/reliability/support/Damage.h"

#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>
#include <set>
#include <stdexcept>

#include "tests/reliability/support/SampleRecords.h"
#include "tests/reliability/support/WatchedStore.h"

// Offsets and numbers of this file are those of SQLite's file format, https://www.sqlite.org/fileformat2.html

namespace pelkotest {

namespace {

using namespace pelkoapi;

constexpr std::size_t pageSize = 4096;  // SQLite's, of a file of its own making

using Rng = std::mt19937;

/// From 0 to below the limit; 0 for a limit of 0.
std::size_t below(Rng& rng, std::size_t limit) {
    return limit == 0 ? 0 : rng() % limit;  // the same on every platform, unlike the standard distributions
}

char anyByte(Rng& rng) {
    return static_cast<char>(rng() & 0xffU);
}

Bytes randomBytes(Rng& rng, std::size_t size) {
    Bytes bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return anyByte(rng); });
    return bytes;
}

std::size_t number(const Bytes& bytes, std::size_t at, std::size_t size) {
    std::size_t value = 0;
    for (std::size_t i = 0; i < size; ++i) {
        value = value << 8 | static_cast<unsigned char>(bytes.at(at + i));
    }
    return value;
}

void setNumber(Bytes& bytes, std::size_t at, std::size_t size, std::size_t value) {
    for (std::size_t i = size; i-- > 0; value >>= 8) {
        bytes.at(at + i) = static_cast<char>(value & 0xff);
    }
}

std::size_t pagesOf(const Bytes& database) {
    return database.size() / pageSize;
}

Bytes::iterator page(Bytes& database, std::size_t index) {
    return database.begin() + static_cast<std::ptrdiff_t>(index * pageSize);
}

void changeBytes(Rng& rng, Bytes& bytes, std::size_t count) {
    for (std::size_t i = 0; i < count && !bytes.empty(); ++i) {
        bytes[below(rng, bytes.size())] = anyByte(rng);
    }
}

/// Where nothing is kept: what the header reserves, free pages, and the gap of each page of a table or index
/// between the list of its cells and the first of them.
std::vector<std::size_t> unusedBytes(const Bytes& database) {
    std::vector<std::size_t> places;
    const auto add = [&](std::size_t from, std::size_t to) {
        for (std::size_t at = from; at < to; ++at) {
            places.push_back(at);
        }
    };
    add(72, 92);
    for (std::size_t i = 0; i < pagesOf(database); ++i) {
        const std::size_t start = i * pageSize;
        const std::size_t header = i == 0 ? 100 : start;
        const std::size_t kind = number(database, header, 1);
        if (kind == 2 || kind == 5 || kind == 10 || kind == 13) {
            const std::size_t cells = number(database, header + 3, 2);
            add(header + (kind < 10 ? 12 : 8) + 2 * cells, start + number(database, header + 5, 2));
        }
    }
    for (std::size_t trunk = number(database, 32, 4); trunk != 0;
         trunk = number(database, (trunk - 1) * pageSize, 4)) {
        const std::size_t start = (trunk - 1) * pageSize;
        for (std::size_t i = 0; i < number(database, start + 4, 4); ++i) {
            const std::size_t leaf = (number(database, start + 8 + 4 * i, 4) - 1) * pageSize;
            add(leaf, leaf + pageSize);
        }
    }
    return places;
}

// ---- kinds of damage, of the database of a closed store

void oneBit(Rng& rng, DamagedFile& file) {
    char& byte = file.database[below(rng, file.database.size())];
    byte = static_cast<char>(byte ^ (1 << below(rng, 8)));
}

void oneByte(Rng& rng, DamagedFile& file) {
    changeBytes(rng, file.database, 1);
}

void someBytes(Rng& rng, DamagedFile& file) {
    changeBytes(rng, file.database, 16);
}

void manyBytes(Rng& rng, DamagedFile& file) {
    changeBytes(rng, file.database, 256);
}

void bytesEverywhere(Rng& rng, DamagedFile& file) {
    changeBytes(rng, file.database, 4096);
}

void bytesOfOnePage(Rng& rng, DamagedFile& file) {
    const auto start = page(file.database, below(rng, pagesOf(file.database)));
    Bytes bytes(start, start + pageSize);
    changeBytes(rng, bytes, 1 + below(rng, 32));
    std::copy(bytes.begin(), bytes.end(), start);
}

void pagesZeroed(Rng& rng, DamagedFile& file) {
    for (std::size_t i = 0; i <= below(rng, 4); ++i) {
        // The first page has no database without it, which other damage covers.
        const auto start = page(file.database, 1 + below(rng, pagesOf(file.database) - 1));
        std::fill(start, start + pageSize, '\0');
    }
}

void pagesOverwritten(Rng& rng, DamagedFile& file) {
    for (std::size_t i = 0; i <= below(rng, 4); ++i) {
        const Bytes bytes = randomBytes(rng, pageSize);
        std::copy(bytes.begin(), bytes.end(),
                  page(file.database, 1 + below(rng, pagesOf(file.database) - 1)));
    }
}

void pagesSwapped(Rng& rng, DamagedFile& file) {
    for (std::size_t i = 0; i <= below(rng, 3); ++i) {
        const auto one = page(file.database, 1 + below(rng, pagesOf(file.database) - 1));
        const auto other = page(file.database, 1 + below(rng, pagesOf(file.database) - 1));
        if (one != other) {
            std::swap_ranges(one, one + pageSize, other);
        }
    }
}

void tailCut(Rng& rng, DamagedFile& file) {
    file.database.resize(1 + below(rng, file.database.size() - 1));
}

void tailCutBetweenPages(Rng& rng, DamagedFile& file) {
    file.database.resize((1 + below(rng, pagesOf(file.database) - 1)) * pageSize);
}

/// As tailCutBetweenPages(), by somebody who tells the header.
void tailCutAndForgotten(Rng& rng, DamagedFile& file) {
    tailCutBetweenPages(rng, file);
    setNumber(file.database, 28, 4, pagesOf(file.database));
}

void tailAdded(Rng& rng, DamagedFile& file) {
    file.database += randomBytes(rng, 1 + below(rng, 3 * pageSize));
    file.promise = Promise::SameResults;  // the header tells where the database ends
}

void headerBytes(Rng& rng, DamagedFile& file) {
    const std::size_t at = below(rng, 100);
    file.database[at] = anyByte(rng);
    file.database[below(rng, 100)] = anyByte(rng);
}

/// Kind, number of cells, first cell and the list of cells of a page.
void headsOfPages(Rng& rng, DamagedFile& file) {
    for (std::size_t i = 0; i <= below(rng, 3); ++i) {
        const std::size_t index = below(rng, pagesOf(file.database));
        const std::size_t at = index * pageSize + (index == 0 ? 100 : 0) + below(rng, 32);
        file.database[at] = anyByte(rng);
    }
}

/// Numbers of other pages where one may stand: in the head of an inner page or of a link of a chain, and
/// anywhere in a page. They make rings, shared pages and endless chains.
void linksBetweenPages(Rng& rng, DamagedFile& file) {
    const std::size_t pages = pagesOf(file.database);
    for (std::size_t i = 0; i <= below(rng, 4); ++i) {
        const std::size_t index = 1 + below(rng, pages - 1);
        const std::size_t places[] = {0, 8, below(rng, pageSize - 4)};
        setNumber(file.database, index * pageSize + places[below(rng, 3)], 4, 1 + below(rng, pages));
    }
}

void statementsOfTheSchema(Rng& rng, DamagedFile& file) {
    std::vector<std::size_t> starts;
    for (std::size_t at = file.database.find("CREATE "); at != Bytes::npos;
         at = file.database.find("CREATE ", at + 1)) {
        starts.push_back(at);
    }
    for (std::size_t i = 0; i <= below(rng, 3); ++i) {
        const std::size_t at = starts[below(rng, starts.size())] + below(rng, 200);
        file.database.at(at) = static_cast<char>(' ' + below(rng, 95));
    }
}

void unused(Rng& rng, DamagedFile& file) {
    const std::vector<std::size_t> places = unusedBytes(file.database);
    for (int i = 0; i < 1000; ++i) {
        file.database[places[below(rng, places.size())]] = anyByte(rng);
    }
    file.promise = Promise::SameResults;
}

// ---- kinds of damage beside the database

void logOfRandomBytes(Rng& rng, DamagedFile& file) {
    file.log = randomBytes(rng, 1 + below(rng, 20 * pageSize));
    file.promise = Promise::SameResults;
}

void journalOfRandomBytes(Rng& rng, DamagedFile& file) {
    file.journal = randomBytes(rng, 1 + below(rng, 20 * pageSize));
    file.promise = Promise::SameResults;
}

// ---- kinds of damage of the files of an open store

void bytesOfTheLog(Rng& rng, DamagedFile& file) {
    changeBytes(rng, file.log, 1 + below(rng, 16));
    file.promise = Promise::Sound;  // what follows the first frame that is not as it was written is left out
}

void tailOfTheLogCut(Rng& rng, DamagedFile& file) {
    file.log.resize(below(rng, file.log.size()));
    file.promise = Promise::Sound;
}

// cppcheck-suppress constParameterCallback ; what draws random bytes changes it
void indexOfTheLog(Rng& rng, DamagedFile& file) {
    file.indexOfTheLog = randomBytes(rng, 1 + below(rng, std::size_t{3} * 32768));
    file.promise = Promise::SameResults;  // it is made anew
}

void bytesUnderTheLog(Rng& rng, DamagedFile& file) {
    changeBytes(rng, file.database, 64);
}

struct Kind {
    const char* what;
    void (*damage)(Rng&, DamagedFile&);
    bool open;  ///< of the files of an open store
};

constexpr Kind kinds[] = {
    {"one bit", oneBit, false},
    {"one byte", oneByte, false},
    {"16 bytes", someBytes, false},
    {"256 bytes", manyBytes, false},
    {"4096 bytes", bytesEverywhere, false},
    {"bytes of one page", bytesOfOnePage, false},
    {"pages zeroed", pagesZeroed, false},
    {"pages overwritten", pagesOverwritten, false},
    {"pages swapped", pagesSwapped, false},
    {"tail cut", tailCut, false},
    {"tail cut between pages", tailCutBetweenPages, false},
    {"tail cut and forgotten", tailCutAndForgotten, false},
    {"tail added", tailAdded, false},
    {"bytes of the header", headerBytes, false},
    {"heads of pages", headsOfPages, false},
    {"links between pages", linksBetweenPages, false},
    {"statements of the schema", statementsOfTheSchema, false},
    {"unused bytes", unused, false},
    {"a log of random bytes", logOfRandomBytes, false},
    {"a journal of random bytes", journalOfRandomBytes, false},
    {"bytes of the log", bytesOfTheLog, true},
    {"tail of the log cut", tailOfTheLogCut, true},
    {"index of the log", indexOfTheLog, true},
    {"bytes under the log", bytesUnderTheLog, true},
};

// ---- the header

struct HeaderField {
    const char* name;
    std::size_t at;
    std::size_t size;
    bool matters;  ///< false when no value of it changes what is read or written
};

constexpr HeaderField headerFields[] = {
    {"magic, begin", 0, 1, true},
    {"magic, end", 15, 1, true},
    {"page size", 16, 2, true},
    {"write version", 18, 1, true},
    {"read version", 19, 1, true},
    {"reserved at the end of pages", 20, 1, true},
    {"largest payload", 21, 1, true},
    {"smallest payload", 22, 1, true},
    {"leaf payload", 23, 1, true},
    {"change counter", 24, 4, false},
    {"page count", 28, 4, true},
    {"first free page", 32, 4, true},
    {"count of free pages", 36, 4, true},
    {"schema cookie", 40, 4, false},
    {"schema format", 44, 4, true},
    {"suggested cache size", 48, 4, false},
    {"largest root page", 52, 4, true},
    {"text encoding", 56, 4, true},
    {"user version", 60, 4, false},
    {"incremental vacuum", 64, 4, true},  // to the integrity check, which wants 0 here
    {"application id", 68, 4, false},
    {"reserved", 72, 4, false},
    {"version valid for", 92, 4, false},
    {"version of the library", 96, 4, false},
};

// ---- the samples

void addLongRows(PelkoDBManager& db, uint first) {
    std::vector<s64> freed;
    for (uint i = 0; i < 24; ++i) {
        PelkoMessage record = message(first + i, 300 + i, PelkoUser("bob"), PelkoUser("me"),
                                      std::string(1000 + 700 * i, 'x'), PelkoMessageStatusRead);
        db.insertMessage(&record);
        if (i % 3 == 0) {
            freed.push_back(record.dbID);
        }
    }
    db.deleteMessages(freed);
}

/// A journal as a killed process leaves it, which SQLite takes for one of the database beside it.
Bytes makeForeignJournal(const std::filesystem::path& folder) {
    const std::string path = (folder / "foreign.dat").string();
    sqlite3* raw = nullptr;
    sqlite3_open(path.c_str(), &raw);
    const std::unique_ptr<sqlite3, int (*)(sqlite3*)> connection(raw, sqlite3_close);
    // With so small a cache pages are written before the end of the transaction, the journal before them.
    const char* const statements =
        "PRAGMA cache_size = 1; CREATE TABLE t (a); INSERT INTO t WITH RECURSIVE n(i) AS (SELECT 1 UNION ALL "
        "SELECT i + 1 FROM n WHERE i < 100) SELECT zeroblob(2000) FROM n; BEGIN; UPDATE t SET a = 'x' || a";
    if (sqlite3_exec(raw, statements, nullptr, nullptr, nullptr) != SQLITE_OK) {
        throw std::runtime_error(sqlite3_errmsg(raw));
    }
    return readBytes(path + "-journal");
}

}  // namespace

Bytes readBytes(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        throw std::runtime_error("cannot read " + path.string());
    }
    return {std::istreambuf_iterator<char>(file), {}};
}

void writeFiles(const DamagedFile& file, const std::filesystem::path& folder) {
    const auto write = [&](const char* name, const Bytes& bytes) {
        if (!bytes.empty()) {
            std::ofstream(folder / name, std::ios::binary) << bytes;
        }
    };
    write("db.dat", file.database);
    write("db.dat-wal", file.log);
    write("db.dat-journal", file.journal);
    write("db.dat-shm", file.indexOfTheLog);
}

Samples makeSamples() {
    Samples samples;
    WatchedStore store;
    store.open();
    fillStore(store.db());
    addLongRows(store.db(), 3000);
    store.close();
    samples.database = readBytes(store.dbPath());

    store.open();
    addLongRows(store.db(), 4000);
    samples.underLog = readBytes(store.dbPath());
    samples.log = readBytes(store.dbPath() + "-wal");
    store.close();

    store.clear();
    store.open();
    fillStore(store.db());
    samples.foreignLog = readBytes(store.dbPath() + "-wal");
    samples.foreignJournal = makeForeignJournal(store.folder());
    return samples;
}

DamagedFile damagedFile(const Samples& samples, std::uint32_t number) {
    Rng rng(number);
    const Kind& kind = kinds[number % std::size(kinds)];
    DamagedFile file;
    file.what = "damage " + std::to_string(number) + ": " + kind.what;
    file.database = kind.open ? samples.underLog : samples.database;
    file.log = kind.open ? samples.log : "";
    kind.damage(rng, file);
    return file;
}

std::vector<DamagedFile> damagedHeaders(const Samples& samples) {
    std::vector<DamagedFile> files;
    for (const HeaderField& field : headerFields) {
        const std::size_t stored = number(samples.database, field.at, field.size);
        const std::size_t greatest = field.size == 4 ? 0xffffffffU : (1U << (8 * field.size)) - 1;
        const std::set<std::size_t> values = {0,
                                              1,
                                              2,
                                              3,
                                              4,
                                              0x80,
                                              0x200,
                                              0x8000,
                                              stored - 1,
                                              stored + 1,
                                              greatest,
                                              greatest / 2,
                                              greatest / 2 + 1};
        for (const std::size_t value : values) {
            if (value > greatest || value == stored) {
                continue;
            }
            DamagedFile file;
            file.what = std::string(field.name) + " = " + std::to_string(value);
            file.promise = field.matters ? Promise::Nothing : Promise::SameResults;
            file.database = samples.database;
            setNumber(file.database, field.at, field.size, value);
            files.push_back(std::move(file));
        }
    }
    return files;
}

}  // namespace pelkotest
