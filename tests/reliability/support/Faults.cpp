#include "tests/reliability/support/Faults.h"

#include <sqlite3.h>

#include <cstdlib>
#include <new>
#include <ostream>
#include <stdexcept>

#include "tests/reliability/support/TestCode.h"

namespace pelkotest {

namespace {

// Read by operator new, so there before any constructor runs.
bool armed = false;
FaultPlan plan = {FaultKind::SqliteMemory, false, 0};
long calls = 0;
long hits = 0;
long live = 0;
sqlite3* preparedOn = nullptr;
sqlite3_mem_methods realMemory = {};

/// Counts a call of that kind. @return whether it is to fail
bool fails(FaultKind kind) noexcept {
    if (!armed || plan.kind != kind) {
        return false;
    }
    ++calls;
    const bool hit = plan.lasting ? calls >= plan.n : calls == plan.n;
    hits += hit ? 1 : 0;
    return hit;
}

/// Every code in turn that a caller of SQLite must reckon with, another one for the first call when all fail.
int codeOfTurn() {
    constexpr int codes[] = {SQLITE_BUSY,    SQLITE_IOERR, SQLITE_NOMEM,
                             SQLITE_CORRUPT, SQLITE_ERROR, SQLITE_FULL};
    const long turn = calls - 1 + (plan.lasting ? 1 : 0);
    return codes[static_cast<unsigned long>(turn) % (sizeof codes / sizeof codes[0])];
}

void* sqliteMalloc(int size) {
    return fails(FaultKind::SqliteMemory) ? nullptr : realMemory.xMalloc(size);
}

void* sqliteRealloc(void* block, int size) {
    return fails(FaultKind::SqliteMemory) ? nullptr : realMemory.xRealloc(block, size);
}

int ioErrorOf(IoCall call) {
    switch (call) {
        case IoCall::Delete:
            return SQLITE_IOERR_DELETE;
        case IoCall::Access:
            return SQLITE_IOERR_ACCESS;
        case IoCall::Read:
            return SQLITE_IOERR_READ;
        case IoCall::Write:
            return SQLITE_IOERR_WRITE;
        case IoCall::Truncate:
            return SQLITE_IOERR_TRUNCATE;
        case IoCall::Sync:
            return SQLITE_IOERR_FSYNC;
        case IoCall::FileSize:
            return SQLITE_IOERR_FSTAT;
        case IoCall::Lock:
            return SQLITE_IOERR_LOCK;
        case IoCall::ShmMap:
            return SQLITE_IOERR_SHMMAP;
        case IoCall::ShmLock:
            return SQLITE_IOERR_SHMLOCK;
        case IoCall::Open:
            break;
    }
    return SQLITE_OK;
}

class FaultyFiles : public IoObserver {
public:
    int before(IoCall call, const std::string&) noexcept override {
        const bool grows = call == IoCall::Write || call == IoCall::ShmMap;
        const bool locks = call == IoCall::Lock || call == IoCall::ShmLock;
        if (call != IoCall::Open && fails(FaultKind::IoError)) {
            return ioErrorOf(call);
        }
        if (grows && fails(FaultKind::DiskFull)) {
            return SQLITE_FULL;
        }
        if (call == IoCall::Open && fails(FaultKind::CannotOpen)) {
            return SQLITE_CANTOPEN;
        }
        return locks && fails(FaultKind::Busy) ? SQLITE_BUSY : SQLITE_OK;
    }
};

void* allocate(std::size_t size) noexcept {
    // cppcheck-suppress knownConditionTrueFalse ; as in TestCode
    if (!TestCode::runs() && fails(FaultKind::OwnMemory)) {
        return nullptr;
    }
    void* const block = std::malloc(size != 0 ? size : 1);
    live += block != nullptr ? 1 : 0;
    return block;
}

void* allocateOrThrow(std::size_t size) {
    void* const block = allocate(size);
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    return block;
}

void release(void* block) noexcept {
    live -= block != nullptr ? 1 : 0;
    std::free(block);
}

}  // namespace

const std::vector<FaultKind>& allFaultKinds() {
    static const std::vector<FaultKind> all = {
        FaultKind::SqliteMemory, FaultKind::OwnMemory, FaultKind::Prepare,    FaultKind::Step,
        FaultKind::IoError,      FaultKind::DiskFull,  FaultKind::CannotOpen, FaultKind::Busy};
    return all;
}

std::string nameOf(FaultKind kind) {
    switch (kind) {
        case FaultKind::SqliteMemory:
            return "SqliteMemory";
        case FaultKind::OwnMemory:
            return "OwnMemory";
        case FaultKind::Prepare:
            return "Prepare";
        case FaultKind::Step:
            return "Step";
        case FaultKind::IoError:
            return "IoError";
        case FaultKind::DiskFull:
            return "DiskFull";
        case FaultKind::CannotOpen:
            return "CannotOpen";
        case FaultKind::Busy:
            return "Busy";
    }
    return {};
}

void PrintTo(FaultKind kind, std::ostream* out) {
    *out << nameOf(kind);
}

bool isOfFiles(FaultKind kind) {
    return kind == FaultKind::IoError || kind == FaultKind::DiskFull || kind == FaultKind::CannotOpen ||
           kind == FaultKind::Busy;
}

std::ostream& operator<<(std::ostream& out, const FaultPlan& faultPlan) {
    return out << nameOf(faultPlan.kind) << " " << faultPlan.n
               << (faultPlan.lasting ? " and all after it" : "");
}

void installFaultLayers() {
    static bool installed = false;
    if (installed) {
        return;
    }
    installed = true;
    sqlite3_shutdown();
    bool accepted = sqlite3_config(SQLITE_CONFIG_GETMALLOC, &realMemory) == SQLITE_OK;
    static sqlite3_mem_methods failing = realMemory;
    failing.xMalloc = sqliteMalloc;
    failing.xRealloc = sqliteRealloc;
    accepted = accepted && sqlite3_config(SQLITE_CONFIG_MALLOC, &failing) == SQLITE_OK &&
               sqlite3_config(SQLITE_CONFIG_MEMSTATUS, 1) == SQLITE_OK &&
               sqlite3_config(SQLITE_CONFIG_LOOKASIDE, 0, 0) == SQLITE_OK;
    if (!accepted || sqlite3_initialize() != SQLITE_OK) {
        throw std::runtime_error("SQLite does not take another allocator");
    }
}

IoObserver& faultyFiles() {
    static FaultyFiles files;
    return files;
}

ArmedFault::ArmedFault(const FaultPlan& faultPlan) {
    plan = faultPlan;
    calls = 0;
    pelkotest::hits = 0;
    armed = true;
}

ArmedFault::~ArmedFault() {
    armed = false;
}

long ArmedFault::hits() const {
    return pelkotest::hits;
}

sqlite3* lastPreparedOn() {
    return preparedOn;
}

long liveAllocations() {
    return live;
}

}  // namespace pelkotest

// The linker puts these in the places of SQLite's functions; the names are its convention.
extern "C" {

int __real_sqlite3_prepare_v2(sqlite3* db, const char* sql, int size, sqlite3_stmt** statement,
                              const char** tail);
int __real_sqlite3_step(sqlite3_stmt* statement);

int __wrap_sqlite3_prepare_v2(sqlite3* db, const char* sql, int size, sqlite3_stmt** statement,
                              const char** tail) {
    pelkotest::preparedOn = db;
    if (pelkotest::fails(pelkotest::FaultKind::Prepare)) {
        *statement = nullptr;
        return pelkotest::codeOfTurn();
    }
    return __real_sqlite3_prepare_v2(db, sql, size, statement, tail);
}

int __wrap_sqlite3_step(sqlite3_stmt* statement) {
    return pelkotest::fails(pelkotest::FaultKind::Step) ? pelkotest::codeOfTurn()
                                                        : __real_sqlite3_step(statement);
}

}  // extern "C"

void* operator new(std::size_t size) {
    return pelkotest::allocateOrThrow(size);
}

void* operator new[](std::size_t size) {
    return pelkotest::allocateOrThrow(size);
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return pelkotest::allocate(size);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return pelkotest::allocate(size);
}

void operator delete(void* block) noexcept {
    pelkotest::release(block);
}

void operator delete[](void* block) noexcept {
    pelkotest::release(block);
}

void operator delete(void* block, std::size_t) noexcept {
    pelkotest::release(block);
}

void operator delete[](void* block, std::size_t) noexcept {
    pelkotest::release(block);
}

void operator delete(void* block, const std::nothrow_t&) noexcept {
    pelkotest::release(block);
}

void operator delete[](void* block, const std::nothrow_t&) noexcept {
    pelkotest::release(block);
}
