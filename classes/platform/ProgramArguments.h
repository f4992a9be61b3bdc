#ifndef PELKO_PLATFORM_PROGRAM_ARGUMENTS_H
#define PELKO_PLATFORM_PROGRAM_ARGUMENTS_H

#include <string>
#include <vector>

namespace pelkoapi {

/// What the program was called with, its name first, in UTF-8. On Windows main() gets it in a code page that
/// cannot hold every name of a file, and the system is asked again.
std::vector<std::string> utf8Arguments(int argc, const char* const* argv);

}  // namespace pelkoapi

#endif  // PELKO_PLATFORM_PROGRAM_ARGUMENTS_H
