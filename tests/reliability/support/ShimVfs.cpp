#include "tests/reliability/support/ShimVfs.h"

#include <sqlite3.h>

#include <new>
#include <stdexcept>

namespace pelkotest {

namespace {

/// Our part of an open file; the system's own lies behind it in the same memory.
struct ShimFile {
    sqlite3_file base;
    std::string* name;  // empty for a temporary file
    sqlite3_file* real() { return reinterpret_cast<sqlite3_file*>(this + 1); }
};

sqlite3_vfs* realVfs = nullptr;
IoObserver* currentObserver = nullptr;
long long waitedMicroseconds = 0;

ShimFile* shim(sqlite3_file* file) {
    return reinterpret_cast<ShimFile*>(file);
}

sqlite3_file* real(sqlite3_file* file) {
    return shim(file)->real();
}

int before(IoCall call, sqlite3_file* file) {
    return currentObserver->before(call, *shim(file)->name);
}

int closeFile(sqlite3_file* file) {
    const int result = real(file)->pMethods->xClose(real(file));
    delete shim(file)->name;
    return result;
}

int readFile(sqlite3_file* file, void* data, int size, sqlite3_int64 offset) {
    const int refused = before(IoCall::Read, file);
    return refused != SQLITE_OK ? refused : real(file)->pMethods->xRead(real(file), data, size, offset);
}

int writeFile(sqlite3_file* file, const void* data, int size, sqlite3_int64 offset) {
    currentObserver->writing(*shim(file)->name, data, size, offset);
    const int refused = before(IoCall::Write, file);
    return refused != SQLITE_OK ? refused : real(file)->pMethods->xWrite(real(file), data, size, offset);
}

int truncateFile(sqlite3_file* file, sqlite3_int64 size) {
    int result = before(IoCall::Truncate, file);
    if (result == SQLITE_OK) {
        result = real(file)->pMethods->xTruncate(real(file), size);
    }
    if (result == SQLITE_OK) {
        currentObserver->truncated(*shim(file)->name, size);
    }
    return result;
}

int syncFile(sqlite3_file* file, int flags) {
    int result = before(IoCall::Sync, file);
    if (result == SQLITE_OK) {
        result = real(file)->pMethods->xSync(real(file), flags);
    }
    if (result == SQLITE_OK) {
        currentObserver->synced(*shim(file)->name);
    }
    return result;
}

int fileSize(sqlite3_file* file, sqlite3_int64* size) {
    const int refused = before(IoCall::FileSize, file);
    return refused != SQLITE_OK ? refused : real(file)->pMethods->xFileSize(real(file), size);
}

int lockFile(sqlite3_file* file, int level) {
    const int refused = before(IoCall::Lock, file);
    return refused != SQLITE_OK ? refused : real(file)->pMethods->xLock(real(file), level);
}

int unlockFile(sqlite3_file* file, int level) {
    return real(file)->pMethods->xUnlock(real(file), level);
}

int checkReservedLock(sqlite3_file* file, int* reserved) {
    return real(file)->pMethods->xCheckReservedLock(real(file), reserved);
}

int fileControl(sqlite3_file* file, int operation, void* argument) {
    return real(file)->pMethods->xFileControl(real(file), operation, argument);
}

int sectorSize(sqlite3_file* file) {
    return real(file)->pMethods->xSectorSize(real(file));
}

int deviceCharacteristics(sqlite3_file* file) {
    return real(file)->pMethods->xDeviceCharacteristics(real(file));
}

int shmMap(sqlite3_file* file, int page, int pageSize, int extend, void volatile** memory) {
    const int refused = before(IoCall::ShmMap, file);
    if (refused != SQLITE_OK) {
        *memory = nullptr;
        return refused;
    }
    return real(file)->pMethods->xShmMap(real(file), page, pageSize, extend, memory);
}

int shmLock(sqlite3_file* file, int offset, int count, int flags) {
    const int refused = (flags & SQLITE_SHM_LOCK) != 0 ? before(IoCall::ShmLock, file) : SQLITE_OK;
    return refused != SQLITE_OK ? refused : real(file)->pMethods->xShmLock(real(file), offset, count, flags);
}

void shmBarrier(sqlite3_file* file) {
    real(file)->pMethods->xShmBarrier(real(file));
}

int shmUnmap(sqlite3_file* file, int deleteFlag) {
    return real(file)->pMethods->xShmUnmap(real(file), deleteFlag);
}

constexpr sqlite3_io_methods ioMethods = {2,
                                          closeFile,
                                          readFile,
                                          writeFile,
                                          truncateFile,
                                          syncFile,
                                          fileSize,
                                          lockFile,
                                          unlockFile,
                                          checkReservedLock,
                                          fileControl,
                                          sectorSize,
                                          deviceCharacteristics,
                                          shmMap,
                                          shmLock,
                                          shmBarrier,
                                          shmUnmap,
                                          nullptr,
                                          nullptr};

int openFile(sqlite3_vfs*, const char* path, sqlite3_file* file, int flags, int* outFlags) {
    file->pMethods = nullptr;  // SQLite closes nothing when the opening fails
    auto* const name = new (std::nothrow) std::string(path != nullptr ? path : "");
    if (name == nullptr) {
        return SQLITE_NOMEM;
    }
    int result = currentObserver->before(IoCall::Open, *name);
    if (result == SQLITE_OK) {
        result = realVfs->xOpen(realVfs, path, real(file), flags, outFlags);
    }
    if (result != SQLITE_OK) {
        delete name;
        return result;
    }
    shim(file)->name = name;
    file->pMethods = &ioMethods;
    currentObserver->opened(*name);
    return SQLITE_OK;
}

int deleteFile(sqlite3_vfs*, const char* path, int syncFolder) {
    int result = currentObserver->before(IoCall::Delete, path);
    if (result == SQLITE_OK) {
        result = realVfs->xDelete(realVfs, path, syncFolder);
    }
    if (result == SQLITE_OK) {
        currentObserver->deleted(path, syncFolder != 0);
    }
    return result;
}

int accessFile(sqlite3_vfs*, const char* path, int flags, int* result) {
    const int refused = currentObserver->before(IoCall::Access, path);
    return refused != SQLITE_OK ? refused : realVfs->xAccess(realVfs, path, flags, result);
}

int fullPathname(sqlite3_vfs*, const char* path, int size, char* out) {
    return realVfs->xFullPathname(realVfs, path, size, out);
}

int randomness(sqlite3_vfs*, int size, char* out) {
    return realVfs->xRandomness(realVfs, size, out);
}

int sleepNot(sqlite3_vfs*, int microseconds) {
    waitedMicroseconds += microseconds;
    return microseconds;
}

int currentTime(sqlite3_vfs*, double* time) {
    return realVfs->xCurrentTime(realVfs, time);
}

int lastError(sqlite3_vfs*, int size, char* out) {
    return realVfs->xGetLastError != nullptr ? realVfs->xGetLastError(realVfs, size, out) : 0;
}

sqlite3_vfs shimVfs = {};

}  // namespace

ShimVfs::ShimVfs(IoObserver& observer) {
    if (currentObserver != nullptr) {
        throw std::logic_error("there is a ShimVfs already");
    }
    currentObserver = &observer;
    realVfs = sqlite3_vfs_find(nullptr);
    waitedMicroseconds = 0;
    shimVfs = {};
    shimVfs.iVersion = 1;
    shimVfs.szOsFile = static_cast<int>(sizeof(ShimFile)) + realVfs->szOsFile;
    shimVfs.mxPathname = realVfs->mxPathname;
    shimVfs.zName = "pelko-shim";
    shimVfs.xOpen = openFile;
    shimVfs.xDelete = deleteFile;
    shimVfs.xAccess = accessFile;
    shimVfs.xFullPathname = fullPathname;
    shimVfs.xRandomness = randomness;
    shimVfs.xSleep = sleepNot;
    shimVfs.xCurrentTime = currentTime;
    shimVfs.xGetLastError = lastError;
    sqlite3_vfs_register(&shimVfs, 1);
}

long long ShimVfs::waited() {
    return waitedMicroseconds;
}

ShimVfs::~ShimVfs() {
    sqlite3_vfs_unregister(&shimVfs);
    sqlite3_vfs_register(realVfs, 1);
    currentObserver = nullptr;
}

}  // namespace pelkotest
