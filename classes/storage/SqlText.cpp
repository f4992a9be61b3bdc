#include "classes/storage/SqlText.h"

namespace pelkoapi {

namespace {

// A digit run into letters is no token of SQL, in any version and any place outside a literal. The names tell
// whoever reads the log what was wrong.
constexpr char refusedText[] = "'0single_quote_in_an_unescaped_value";
constexpr char refusedNumber[] = "0not_a_number_where_one_must_stand";

std::string upToFirstNul(const std::string& value) {
    return value.substr(0, value.find('\0'));
}

bool isDecimal(const std::string& value) {
    const std::size_t first = value.find_first_not_of("+-") == 1 ? 1 : 0;
    return value.size() > first && value.find_first_not_of("0123456789", first) == std::string::npos;
}

}  // namespace

std::string unescapedText(const std::string& value) {
    std::string text = upToFirstNul(value);
    return text.find('\'') == std::string::npos ? text : refusedText;
}

std::string unquotedNumber(const std::string& value) {
    std::string number = upToFirstNul(value);
    return isDecimal(number) ? number : refusedNumber;
}

}  // namespace pelkoapi
