#ifndef PELKO_TOOL_OUTPUT_H
#define PELKO_TOOL_OUTPUT_H

#include <nlohmann/json.hpp>
#include <string>

namespace pelkotool {

// Keys in the order in which they are put in.
using Json = nlohmann::ordered_json;

/// One line for people on stdout; what would steer the terminal is made visible.
void printLine(const std::string& line);

/// One field of a record for people, "name         bob"; one without a value is left out.
void printField(const std::string& name, const std::string& value);

/// One line on stderr, behind the tool's name.
void printError(const std::string& line);

/// JSON on stdout, in ASCII, so that nothing in it steers a terminal; bytes that are no UTF-8 become U+FFFD.
void printJson(const Json& json);

/// @throws ToolError when not all of stdout could be written
void finishOutput();

/// "1 message", "2 messages"
std::string counted(long long number, const std::string& one, const std::string& many);
/// The same for things whose plural takes an s.
std::string counted(long long number, const std::string& one);

}  // namespace pelkotool

#endif  // PELKO_TOOL_OUTPUT_H
