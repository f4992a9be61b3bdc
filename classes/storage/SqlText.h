#ifndef PELKO_STORAGE_SQL_TEXT_H
#define PELKO_STORAGE_SQL_TEXT_H

#include <string>
#include <vector>

// What may be pasted into a statement's text. Every value of a statement goes through one of three doors:
//
//  - a number, through a printf conversion;
//  - an escaped text, through PelkoDBManager::transStringQuote (or getTargetUniqueID, which uses it);
//  - a text that the interface leaves unescaped, through one of the functions here.
//
// An unescaped text that would end its literal early must make its statement fail, wherever the statement is
// run and whatever follows in it. The text is therefore replaced by one that the SQL tokenizer itself
// refuses: the statement reaches SQLite, is rejected before anything runs, and the operation that ran it logs
// the failure under its own name.

namespace pelkoapi {

/// A value for a place between two single quotes of a statement's template that is not escaped there.
/// @return the value as it stands, up to its first NUL byte; for a value with a single quote before that, a
///         text that makes the statement fail with "unrecognized token"
std::string unescapedText(const std::string& value);

/// A value for a place outside quotes, where only a decimal number with an optional sign may stand.
/// @return the value as it stands, up to its first NUL byte; for anything but a number, a text that makes the
///         statement fail with "unrecognized token"
std::string unquotedNumber(const std::string& value);

/// The numbers as a list for IN: "(7, 9, 12)"; "()" for none.
template <typename Number>
std::string numberList(const std::vector<Number>& numbers) {
    std::string list = "(";
    for (const Number number : numbers) {
        if (list.size() > 1) {
            list += ", ";
        }
        list += std::to_string(number);
    }
    return list += ')';
}

}  // namespace pelkoapi

#endif  // PELKO_STORAGE_SQL_TEXT_H
