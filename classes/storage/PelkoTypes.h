#ifndef PELKO_STORAGE_PELKO_TYPES_H
#define PELKO_STORAGE_PELKO_TYPES_H

namespace pelkoapi {

/// @addtogroup records
/// @{

using s64 = long long;      ///< message ids, row ids, room and group ids
using uint = unsigned int;  ///< counts and versions

/// @}

}  // namespace pelkoapi

#endif  // PELKO_STORAGE_PELKO_TYPES_H
