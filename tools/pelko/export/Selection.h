#ifndef PELKO_TOOL_EXPORT_SELECTION_H
#define PELKO_TOOL_EXPORT_SELECTION_H

#include <optional>
#include <set>
#include <string>

#include "tools/pelko/DateRange.h"
#include "tools/pelko/file/Peers.h"

namespace pelkotool {

/// What an export is asked for.
struct Selection {
    std::string me;                      ///< the account's name, by which messages find their conversation
    std::optional<std::set<Peer>> only;  ///< the chosen conversations; none: all of them
    DateRange range;

    bool isChosen(const Peer& peer) const { return !only || only->count(peer) > 0; }
    bool takes(const Peer& peer, unsigned int date) const { return range.contains(date) && isChosen(peer); }
};

}  // namespace pelkotool

#endif  // PELKO_TOOL_EXPORT_SELECTION_H
