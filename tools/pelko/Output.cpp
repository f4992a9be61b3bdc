#include "tools/pelko/Output.h"

#include <algorithm>
#include <iostream>

#include "tools/pelko/Text.h"
#include "tools/pelko/ToolError.h"

namespace pelkotool {

void printLine(const std::string& line) {
    std::cout << visibleText(line) << '\n';
}

void printField(const std::string& name, const std::string& value) {
    constexpr std::size_t column = 16;
    if (!value.empty()) {
        printLine(name + std::string(column - std::min(column - 1, name.size()), ' ') + value);
    }
}

void printError(const std::string& line) {
    std::cerr << "pelko: " << visibleText(line) << '\n';
}

void printJson(const Json& json) {
    std::cout << json.dump(2, ' ', true, Json::error_handler_t::replace) << '\n';
}

void finishOutput() {
    if (!std::cout.flush()) {
        throw ToolError("cannot write all of the output; make room where it goes");
    }
}

std::string counted(long long number, const std::string& one, const std::string& many) {
    return std::to_string(number) + ' ' + (number == 1 ? one : many);
}

std::string counted(long long number, const std::string& one) {
    return counted(number, one, one + 's');
}

}  // namespace pelkotool
