#ifndef PELKO_TOOL_SALVAGE_PAYLOADS_H
#define PELKO_TOOL_SALVAGE_PAYLOADS_H

#include <functional>
#include <optional>

#include "tools/pelko/salvage/PageMap.h"
#include "tools/pelko/salvage/Record.h"

namespace pelkotool {

/// What a record is read for: to find out what it is, or to be used. A payload that is used has the pages to
/// itself on which it goes on.
enum class Purpose { look, use };

/// Calls back with each cell of the page, and its record where the whole of it could be read.
void forEachRecord(PageFile& file, PageMap& map, std::uint32_t number, Purpose purpose,
                   const std::function<void(const Cell&, std::optional<Record>)>& visit);

}  // namespace pelkotool

#endif  // PELKO_TOOL_SALVAGE_PAYLOADS_H
