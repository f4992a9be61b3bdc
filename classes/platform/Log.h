#ifndef PELKO_PLATFORM_LOG_H
#define PELKO_PLATFORM_LOG_H

#include "classes/platform/Export.h"

// The client's two log channels, each behind a switch that is asked before every line. A host links its own
// definitions, or takes the ones of pelko_platform. A line is passed without a line end.

namespace pelkoapi {

/// @addtogroup platform
/// @{

/// Whether lines go to the console.
PELKO_API bool log_error();
/// Whether lines go to the log file.
PELKO_API bool log_file();
/// Writes one line, printf-style, to the console.
[[gnu::format(printf, 1, 2)]] PELKO_API void c_ns_log(const char* fmt, ...);
/// Writes one line, printf-style, to the log file.
[[gnu::format(printf, 1, 2)]] PELKO_API void log_file(const char* fmt, ...);

/// @}

}  // namespace pelkoapi

#endif  // PELKO_PLATFORM_LOG_H
