#include "tools/pelko/help/ManPage.h"

#include <algorithm>
#include <sstream>

namespace pelkotool {

namespace {

constexpr char examples[] =
    "pelko replay logs/\n"
    "pelko sessions\n"
    "pelko show room:5001 -n 50\n"
    "pelko search \"see you\" --in user:alice --since 2024-03-01\n"
    "pelko inspect --file ~/from-a-phone/db.dat\n"
    "pelko export ~/chats --only room:5001 user:alice --until 2024-03-31\n"
    "pelko salvage rescued.dat --file broken/db.dat\n";

/// As roff prints it: no character of the text steers it.
std::string plain(const std::string& text) {
    std::string roff;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        const bool atStart = i == 0 || text[i - 1] == '\n';
        if (atStart && (c == '.' || c == '\'')) {
            roff += "\\&";
        }
        if (c == '\\') {
            roff += "\\e";
        } else if (c == '-') {
            roff += "\\-";
        } else if (c == '\'') {
            roff += "\\(aq";
        } else if (c == '^') {
            roff += "\\(ha";
        } else if (c == '~') {
            roff += "\\(ti";
        } else if (c == '`') {
            roff += "\\(ga";
        } else {
            roff += c;
        }
    }
    return roff;
}

std::string quoted(const std::string& text) {
    std::string word = plain(text);
    for (std::size_t at = 0; (at = word.find('"', at)) != std::string::npos; at += 4) {
        word.replace(at, 1, "\\(dq");
    }
    return '"' + word + '"';
}

std::string bold(const std::string& text) {
    return "\\fB" + plain(text) + "\\fR";
}

std::string italic(const std::string& text) {
    return "\\fI" + plain(text) + "\\fR";
}

/// Lines as they stand, indented.
void writeVerbatim(std::ostream& page, const std::string& text) {
    if (!text.empty()) {
        page << ".RS\n.nf\n" << plain(text) << (text.back() == '\n' ? "" : "\n") << ".fi\n.RE\n";
    }
}

void writeOption(std::ostream& page, const OptionText& option) {
    std::string head;
    for (const std::string& name : option.names) {
        head += (head.empty() ? "" : ", ") + bold(name);
    }
    head += option.value.empty() ? "" : ' ' + italic(option.value);
    page << ".TP\n" << head << '\n' << plain(option.description) << '\n';
}

/// Every command takes --help.
bool isOfItsOwn(const OptionText& option) {
    return option.names.back() != "--help";
}

void writeCommand(std::ostream& page, const CommandText& command, const std::string& above) {
    const std::string path = above.empty() ? command.name : above + ' ' + command.name;
    std::string usage = bold(path);
    for (const OptionText& argument : command.arguments) {
        const std::string word = italic(argument.names.front()) + (argument.repeated ? " ..." : "");
        usage += ' ' + (argument.required ? word : '[' + word + ']');
    }
    usage += std::any_of(command.options.begin(), command.options.end(), isOfItsOwn)
                 ? " [" + italic("options") + ']'
                 : "";
    page << ".TP\n" << usage << '\n' << plain(command.description) << ".\n.RS\n";
    for (const OptionText& argument : command.arguments) {
        OptionText asOption = argument;
        asOption.value.clear();
        writeOption(page, asOption);
    }
    for (const OptionText& option : command.options) {
        if (isOfItsOwn(option)) {
            writeOption(page, option);
        }
    }
    page << ".RE\n";
    if (!command.footer.empty()) {
        page << ".IP\n";
        writeVerbatim(page, command.footer);
    }
    for (const CommandText& below : command.commands) {
        writeCommand(page, below, path);
    }
}

}  // namespace

std::string manPage(const CommandText& tool, const std::string& version) {
    std::ostringstream page;
    page << ".\\\" Made by 'pelko manual'.\n"
         << ".TH PELKO 1 \"\" " << quoted("pelko " + version) << " \"User Commands\"\n"
         << ".SH NAME\npelko \\- look into the chat store of one account, and write to it\n"
         << ".SH SYNOPSIS\n"
         << ".B pelko\n[" << italic("options") << "] " << italic("COMMAND") << " [" << italic("arguments")
         << "]\n"
         << ".SH DESCRIPTION\n"
         << plain(tool.description) << ".PP\n";
    writeVerbatim(page, tool.footer);
    page << ".SH OPTIONS\nThey are taken by every command.\n";
    for (const OptionText& option : tool.options) {
        writeOption(page, option);
    }
    page << ".SH COMMANDS\nEvery command takes " << bold("--help") << ".\n";
    std::vector<std::string> headings;
    for (const CommandText& command : tool.commands) {
        if (std::find(headings.begin(), headings.end(), command.heading) == headings.end()) {
            headings.push_back(command.heading);
        }
    }
    for (const std::string& heading : headings) {
        page << ".SS " << quoted(heading) << '\n';
        for (const CommandText& command : tool.commands) {
            if (command.heading == heading) {
                writeCommand(page, command, "");
            }
        }
    }
    page << ".SH EXIT STATUS\n"
         << ".TP\n.B 0\ndone\n.TP\n.B 1\nfailed, or, from " << bold("check") << ", damaged\n"
         << ".TP\n.B 2\nwrong arguments\n.TP\n.B 130\ninterrupted\n"
         << ".SH ENVIRONMENT\n"
         << ".TP\n.B XDG_DATA_HOME\nThe folder in which pelko keeps the accounts' data, unless "
         << bold("--data-dir") << " names one; else " << plain("~/.local/share") << ".\n"
         << ".TP\n.B TZ\nThe time zone of the times that are shown and asked for.\n"
         << ".SH EXAMPLES\n";
    writeVerbatim(page, examples);
    return page.str();
}

}  // namespace pelkotool
