#include "tools/pelko/export/Attachments.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "classes/platform/Utf8Path.h"
#include "tools/pelko/Text.h"
#include "tools/pelko/ToolError.h"
#include "tools/pelko/export/PassiveFiles.h"
#include "tools/pelko/file/AccountFile.h"

namespace pelkotool {

namespace fs = std::filesystem;

using pelkoapi::pathOf;
using pelkoapi::utf8Of;

namespace {

constexpr char copiesFolder[] = "media";
constexpr std::size_t longestCopyName = 100;

bool mayStandInName(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
           c == '.' || c == '_';
}

bool liesBelow(const fs::path& file, const fs::path& root) {
    return std::mismatch(root.begin(), root.end(), file.begin(), file.end()).first == root.end();
}

fs::path withoutLinks(const fs::path& path) {
    std::error_code error;
    fs::path found = fs::canonical(path, error);
    return error ? fs::path() : found;
}

}  // namespace

std::string attachmentName(long long number, const std::string& originalName) {
    std::string name;
    for (const char c : originalName) {
        if (mayStandInName(c)) {
            name += c;
        } else if (name.empty() || name.back() != '_') {
            name += '_';
        }
    }
    std::string ending = ".bin";
    if (isPassiveFile(name)) {
        ending = name.substr(placeOfEnding(name));
        name.erase(placeOfEnding(name));
    }
    const std::string head = std::to_string(number) + '-';
    return head + name.substr(0, longestCopyName - head.size() - ending.size()) + ending;
}

Attachments::Attachments(const Account& account, Media media, fs::path folder, std::function<void()> copying)
    : mAccount(account),
      mMedia(media),
      mFolder(std::move(folder)),
      mCopying(std::move(copying)),
      mRoot(withoutLinks(account.dataRoot)) {
}

std::string Attachments::placeOf(const std::string& storedPath) {
    if (storedPath.empty() || mMedia == Media::none) {
        return {};
    }
    const auto known = mPlaces.find(storedPath);
    return known != mPlaces.end() ? known->second : mPlaces[storedPath] = take(storedPath);
}

std::string Attachments::take(const std::string& storedPath) {
    const std::optional<fs::path> original = originalOf(storedPath);
    if (!original) {
        return {};
    }
    if (mMedia == Media::link) {
        ++mCounts.linked;
        return original->string();
    }
    const auto known = mCopies.find(*original);
    return known != mCopies.end() ? known->second : mCopies[*original] = copyOf(*original);
}

/// The file, reached without a link or ".."; none where it is missing or must not be taken, which is counted.
std::optional<fs::path> Attachments::originalOf(const std::string& storedPath) {
    std::error_code error;
    // The system would take a path to end at its first NUL byte.
    const bool isPath = storedPath.find('\0') == std::string::npos;
    const fs::path place =
        isPath ? fs::weakly_canonical(attachmentPlace(mAccount, storedPath), error) : fs::path();
    if (place.empty() || !mAccount.dataRootIsKnown || !isOfTheAccount(place)) {
        ++mCounts.refused;
        return std::nullopt;
    }
    const fs::file_status status = fs::symlink_status(place, error);
    if (status.type() == fs::file_type::not_found || status.type() == fs::file_type::none) {
        ++mCounts.missing;
        return std::nullopt;
    }
    if (!fs::is_regular_file(status) || isDatabase(place)) {
        ++mCounts.refused;
        return std::nullopt;
    }
    return place;
}

/// Whether a file belongs to the account: it lies below the data folder, but not in another account's part of
/// it.
bool Attachments::isOfTheAccount(const fs::path& place) const {
    std::error_code error;
    const fs::path accounts = mRoot / "users";
    const fs::path own = fs::weakly_canonical(mAccount.folder, error);
    const bool isAmongAccounts = liesBelow(own, accounts) && liesBelow(place, accounts);
    return !mRoot.empty() && liesBelow(place, mRoot) && (!isAmongAccounts || liesBelow(place, own));
}

/// Whether it is a database, of this account or another, or belongs to one: their content is not for export.
bool Attachments::isDatabase(const fs::path& original) const {
    const std::string name = inSmallLetters(utf8Of(original.filename()));
    const std::string own = inSmallLetters(utf8Of(mAccount.database.filename()));
    if (name.rfind("db.dat", 0) == 0 || name.rfind(own, 0) == 0) {
        return true;  // with all that lies beside it: "db.dat-wal"
    }
    constexpr std::string_view magic = "SQLite format 3";
    std::array<char, magic.size()> start{};
    std::ifstream file(original, std::ios::binary);
    return file.read(start.data(), start.size()) && std::equal(magic.begin(), magic.end(), start.begin());
}

std::string Attachments::copyOf(const fs::path& original) {
    std::ifstream from(original, std::ios::binary);
    if (!from) {
        ++mCounts.missing;
        return {};
    }
    const fs::path folder = mFolder / copiesFolder;
    const std::string name = attachmentName(mCounts.copied + 1, utf8Of(original.filename()));
    std::error_code error;
    fs::create_directory(folder, error);
    const fs::path copy = folder / pathOf(name);
    std::ofstream to(copy, std::ios::binary | std::ios::trunc);
    constexpr std::size_t blockSize = std::size_t{1} << 18U;
    std::vector<char> block(blockSize);
    std::uintmax_t bytes = 0;
    while (to && from) {
        mCopying();
        from.read(block.data(), static_cast<std::streamsize>(block.size()));
        to.write(block.data(), from.gcount());
        bytes += static_cast<std::uintmax_t>(from.gcount());
    }
    to.close();
    if (!to) {
        throw ToolError("cannot write " + utf8Of(copy) + ": " + std::strerror(errno) +
                        "; make room there, or leave attachments out with --media none");
    }
    if (from.bad()) {  // a part of a file would be taken for the whole
        fs::remove(copy, error);
        ++mCounts.missing;
        return {};
    }
    ++mCounts.copied;
    mCounts.bytes += bytes;
    return std::string(copiesFolder) + '/' + name;
}

}  // namespace pelkotool
