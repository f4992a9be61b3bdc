#ifndef PELKO_TOOL_EXPORT_HTML_FOLDERS_H
#define PELKO_TOOL_EXPORT_HTML_FOLDERS_H

#include <cstddef>
#include <map>
#include <set>
#include <string>

#include "tools/pelko/file/Peers.h"

namespace pelkotool {

/// Names for the folders of conversations, which every file system takes and keeps apart.
class HtmlFolders {
public:
    /// "room-5001"; a name that had to be changed or cut, or that there is already, gets a number at its end.
    std::string nameFor(const Peer& peer);

private:
    bool take(const std::string& name);

    std::set<std::string> mTaken;  // in small letters: not every file system tells "Bob" from "bob"
    std::map<std::string, std::size_t> mLastNumbers;
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_HTML_FOLDERS_H
