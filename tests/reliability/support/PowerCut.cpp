#include "tests/reliability/support/PowerCut.h"

#include <sqlite3.h>

#include <algorithm>
#include <fstream>
#include <stdexcept>
#include <utility>

namespace pelkotest {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t sectorSize = 512;

bool endsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

std::string contentOf(const fs::path& file) {
    std::string content(static_cast<std::size_t>(fs::file_size(file)), '\0');
    std::ifstream in(file, std::ios::binary);
    if (!in.read(content.data(), static_cast<std::streamsize>(content.size()))) {
        throw std::runtime_error("cannot read " + file.string());
    }
    return content;
}

/// Puts the bytes at their place; what lies between the content's end and them is zero.
void put(std::string& content, std::size_t offset, const char* data, std::size_t size) {
    if (size != 0) {
        content.resize(std::max(content.size(), offset + size));
        content.replace(offset, size, data, size);
    }
}

}  // namespace

PowerCut::PowerCut(fs::path folder, unsigned seed) : mFolder(std::move(folder)), mDraw(seed) {
    for (const fs::directory_entry& entry : fs::directory_iterator(mFolder)) {
        if (!endsWith(entry.path().string(), "-shm")) {
            mNames[entry.path().string()] = {std::make_shared<File>(File{contentOf(entry.path()), {}})};
        }
    }
}

void PowerCut::failAtChange(unsigned n) {
    mCallsLeft = n;
    mCountDatabaseOnly = false;
}

void PowerCut::failAtChangeOfDatabase(unsigned n) {
    mCallsLeft = n;
    mCountDatabaseOnly = true;
}

int PowerCut::before(IoCall call, const std::string& path) noexcept {
    if (mFailed) {
        return SQLITE_IOERR;
    }
    const bool changes = call == IoCall::Open || call == IoCall::Delete || call == IoCall::Write ||
                         call == IoCall::Truncate || call == IoCall::Sync;
    const bool inDatabase = call != IoCall::Open && endsWith(path, "/db.dat");
    if (mCallsLeft != 0 && changes && (inDatabase || !mCountDatabaseOnly) && --mCallsLeft == 0) {
        mFailed = true;
        mFailedInDatabase = inDatabase;
        return SQLITE_IOERR;
    }
    return SQLITE_OK;
}

PowerCut::File* PowerCut::present(const std::string& path) {
    const auto found = mNames.find(path);
    return found == mNames.end() ? nullptr : found->second.back().get();
}

void PowerCut::opened(const std::string& path) noexcept {
    if (path.empty()) {
        return;  // a temporary file, which nobody finds again
    }
    if (present(path) == nullptr) {
        History& history = mNames[path];
        if (history.empty()) {
            history.push_back(nullptr);
        }
        history.push_back(std::make_shared<File>());
    }
    if (endsWith(path, "-wal") || endsWith(path, "-journal")) {
        mSyncFolderToo.insert(path);
    }
}

void PowerCut::deleted(const std::string& path, bool folderSynced_) noexcept {
    mNames[path].push_back(nullptr);
    if (folderSynced_) {
        folderSynced();
    }
}

void PowerCut::folderSynced() {
    for (auto& [path, history] : mNames) {
        history.erase(history.begin(), history.end() - 1);
    }
}

void PowerCut::truncated(const std::string& path, long long size) noexcept {
    if (File* const file = present(path)) {
        file->pending.push_back({true, static_cast<std::size_t>(size), {}});
    }
}

void PowerCut::writing(const std::string& path, const void* data, int size, long long offset) noexcept {
    File* const file = mFailed ? nullptr : present(path);
    if (file != nullptr) {
        file->pending.push_back(
            {false, static_cast<std::size_t>(offset),
             std::string(static_cast<const char*>(data), static_cast<std::size_t>(size))});
    }
}

void PowerCut::synced(const std::string& path) noexcept {
    if (File* const file = present(path)) {
        for (const Change& change : file->pending) {
            change.applyTo(file->safe);
        }
        file->pending.clear();
    }
    if (mSyncFolderToo.erase(path) != 0) {
        folderSynced();
    }
}

void PowerCut::Change::applyTo(std::string& content) const {
    if (truncates) {
        content.resize(offset);
    } else {
        put(content, offset, data.data(), data.size());
    }
}

bool PowerCut::tear(const Change& write, std::string& content) {
    // A sector is written entirely or not at all.
    const std::size_t first = write.offset / sectorSize;
    const std::size_t end = (write.offset + write.data.size() + sectorSize - 1) / sectorSize;
    const auto sectors = static_cast<unsigned>(end - first);
    if (write.truncates || sectors < 2) {
        return false;
    }
    const unsigned from = mDraw.below(sectors);
    const unsigned count = mDraw.between(1, std::min(sectors - from, sectors - 1));
    const std::size_t begin = std::max((first + from) * sectorSize, write.offset);
    const std::size_t stop = std::min((first + from + count) * sectorSize, write.offset + write.data.size());
    put(content, begin, write.data.data() + (begin - write.offset), stop - begin);
    return true;
}

std::string PowerCut::remains(const File& file, unsigned percentKept, Losses& losses) {
    std::string content = file.safe;
    for (const Change& change : file.pending) {
        if (mDraw.below(100) < percentKept) {
            change.applyTo(content);
        } else if (mDraw.oneIn(2) && tear(change, content)) {
            ++losses.torn;
        } else {
            ++losses.lost;
        }
    }
    return content;
}

PowerCut::Losses PowerCut::restore() {
    Losses losses;
    // Some cuts lose nearly everything, some hardly anything.
    const unsigned shares[] = {0, 10, 50, 90, 100};
    const unsigned percentKept = shares[mDraw.below(5)];
    for (const auto& [path, history] : mNames) {
        fs::remove(path);
        fs::remove(path + "-shm");
        const auto names = static_cast<unsigned>(history.size());
        const unsigned which = mDraw.oneIn(3) ? names - 1 : mDraw.below(names);
        losses.names += which + 1 == names ? 0 : 1;
        if (const File* const file = history[which].get()) {
            const std::string content = remains(*file, percentKept, losses);
            std::ofstream out(path, std::ios::binary);
            out.write(content.data(), static_cast<std::streamsize>(content.size()));
            if (!out.flush()) {
                throw std::runtime_error("cannot write " + path);
            }
        }
    }
    return losses;
}

}  // namespace pelkotest
