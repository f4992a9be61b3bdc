#include "tools/pelko/export/HtmlFolders.h"

#include <algorithm>
#include <string_view>

#include "tools/pelko/Text.h"

namespace pelkotool {

namespace {

constexpr std::size_t longestFolderName = 60;

bool isSafeInNames(char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' || c == '_';
}

}  // namespace

bool HtmlFolders::take(const std::string& name) {
    return mTaken.insert(inSmallLetters(name)).second;
}

std::string HtmlFolders::nameFor(const Peer& peer) {
    std::string wanted = peerText(peer);
    if (const std::size_t colon = wanted.find(':'); colon != std::string::npos) {
        wanted[colon] = '-';
    }
    std::string name = wanted.substr(0, longestFolderName);
    std::replace_if(
        name.begin(), name.end(), [](char c) { return !isSafeInNames(c); }, '_');
    if (name == wanted && !peer.id.empty() && take(name)) {
        return name;
    }
    std::size_t& number = mLastNumbers[inSmallLetters(name)];
    std::string numbered;
    do {
        numbered = name + '-' + std::to_string(++number);
    } while (!take(numbered));
    return numbered;
}

}  // namespace pelkotool
