#include "tools/pelko/help/Completion.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace pelkotool {

namespace {

/// In single quotes of a shell.
std::string shellWord(const std::string& text) {
    std::string word = "'";
    for (const char c : text) {
        word += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return word + '\'';
}

/// The options of the tool itself that every command takes.
CommandText takenByAll(const CommandText& tool) {
    CommandText taken;
    std::copy_if(tool.options.begin(), tool.options.end(), std::back_inserter(taken.options),
                 [](const OptionText& option) { return !option.value.empty(); });
    return taken;
}

std::string optionNames(const CommandText& command) {
    std::string names;
    for (const OptionText& option : command.options) {
        for (const std::string& name : option.names) {
            names += (names.empty() ? "" : " ") + name;
        }
    }
    return names;
}

std::string commandNames(const CommandText& command) {
    std::string names;
    for (const CommandText& below : command.commands) {
        names += (names.empty() ? "" : " ") + below.name;
    }
    return names;
}

/// What the first argument without a dash is: "path", "target" or nothing that could be completed.
const char* argumentKind(const CommandText& command) {
    if (command.arguments.empty()) {
        return "";
    }
    const std::string& name = command.arguments.front().names.front();
    return isPath(name) ? "path" : name == "TARGET" ? "target" : "";
}

/// Options whose value is a path, and all that take a value, as patterns of case.
struct OptionPatterns {
    std::string paths;
    std::string targets;
    std::string others;
};

void addPatterns(const CommandText& command, OptionPatterns& patterns) {
    for (const OptionText& option : command.options) {
        if (option.value.empty()) {
            continue;
        }
        std::string& which = isPath(option.value)       ? patterns.paths
                             : option.value == "TARGET" ? patterns.targets
                                                        : patterns.others;
        for (const std::string& name : option.names) {
            if (('|' + which + '|').find('|' + name + '|') == std::string::npos) {
                which += (which.empty() ? "" : "|") + name;
            }
        }
    }
    for (const CommandText& below : command.commands) {
        addPatterns(below, patterns);
    }
}

/// One line of case for a command and each below it: "'rooms add')" and so on.
template <typename Write>
void forEachCommand(const CommandText& command, const std::string& path, const Write& write) {
    write(command, path);
    for (const CommandText& below : command.commands) {
        forEachCommand(below, path.empty() ? below.name : path + ' ' + below.name, write);
    }
}

constexpr char targetKinds[] = "user: room: group: service:";

/// Walks the words before the one to complete, and knows then which command it belongs to. The same in both
/// shells; `word` runs over what they call their words.
std::string findingTheCommand(const OptionPatterns& patterns, const CommandText& tool) {
    std::ostringstream script;
    script << "    local command='' previous='' word below\n"
           << "    for word in \"${before[@]}\"; do\n"
           << "        case \"$previous\" in\n"
           << "            " << patterns.paths << '|' << patterns.targets << '|' << patterns.others
           << ") previous=''; continue ;;\n"
           << "        esac\n"
           << "        previous=$word\n"
           << "        case \"$command\" in\n";
    forEachCommand(tool, "", [&](const CommandText& command, const std::string& path) {
        if (!command.commands.empty()) {
            script << "            " << shellWord(path)
                   << ") below=" << shellWord(' ' + commandNames(command) + ' ') << " ;;\n";
        }
    });
    script << "            *) below='' ;;\n"
           << "        esac\n"
           << "        case \"$below\" in\n"
           << "            *\" $word \"*) command=${command:+$command }$word ;;\n"
           << "        esac\n"
           << "    done\n";
    return script.str();
}

}  // namespace

std::string bashCompletion(const CommandText& tool) {
    OptionPatterns patterns;
    addPatterns(tool, patterns);
    std::ostringstream script;
    script << "# bash completion of pelko; made by 'pelko completion bash'.\n"
           << "_pelko() {\n"
           << "    local current=${COMP_WORDS[COMP_CWORD]} words='' kind=''\n"
           << "    local before=(\"${COMP_WORDS[@]:1:COMP_CWORD-1}\")\n"
           << findingTheCommand(patterns, tool) << "    COMPREPLY=()\n"
           << "    case \"$previous\" in\n"
           << "        " << patterns.paths << ") kind=path ;;\n"
           << "        " << patterns.targets << ") kind=target ;;\n"
           << "        " << patterns.others << ") return ;;\n"
           << "        *)\n"
           << "            case \"$command\" in\n";
    forEachCommand(tool, "", [&](const CommandText& command, const std::string& path) {
        script << "                " << shellWord(path) << ") words=" << shellWord(commandNames(command))
               << " kind=" << shellWord(argumentKind(command)) << "\n"
               << "                    [[ $current != -* ]] || words="
               << shellWord(optionNames(command) + (path.empty() ? "" : ' ' + optionNames(takenByAll(tool))))
               << " ;;\n";
    });
    script << "            esac\n"
           << "            ;;\n"
           << "    esac\n"
           << "    [[ $kind != target || $current == -* ]] || words='" << targetKinds << "'\n"
           << "    if [[ $kind == path && $current != -* ]]; then\n"
           << "        local path\n"
           << "        while IFS= read -r path; do COMPREPLY+=(\"$path\"); done < <(compgen -f -- "
              "\"$current\")\n"
           << "        compopt -o filenames 2>/dev/null || :\n"
           << "    else\n"
           << "        local candidate\n"
           << "        for candidate in $words; do\n"
           << "            [[ $candidate != \"$current\"* ]] || COMPREPLY+=(\"$candidate\")\n"
           << "        done\n"
           << "    fi\n"
           << "    [[ ${COMPREPLY[0]-} != *: ]] || compopt -o nospace 2>/dev/null || :\n"
           << "}\n"
           << "complete -F _pelko pelko\n";
    return script.str();
}

namespace {

/// "name:description" as _describe takes it.
std::string described(const std::string& name, const std::string& description) {
    std::string escaped;
    for (const char c : name) {
        escaped += c == ':' ? "\\:" : std::string(1, c);
    }
    return shellWord(escaped + ':' + description.substr(0, description.find('\n')));
}

std::string describedOptions(const CommandText& command) {
    std::string list;
    for (const OptionText& option : command.options) {
        for (const std::string& name : option.names) {
            list += ' ' + described(name, option.description);
        }
    }
    return list;
}

}  // namespace

std::string zshCompletion(const CommandText& tool) {
    OptionPatterns patterns;
    addPatterns(tool, patterns);
    std::ostringstream script;
    script << "#compdef pelko\n"
           << "# zsh completion of pelko; made by 'pelko completion zsh'.\n"
           << "_pelko() {\n"
           << "    local current=${words[CURRENT]} kind=''\n"
           << "    local -a before commands options\n"
           << "    before=(\"${(@)words[2,CURRENT-1]}\")\n"
           << findingTheCommand(patterns, tool) << "    case \"$previous\" in\n"
           << "        " << patterns.paths << ") _files; return ;;\n"
           << "        " << patterns.targets << ") kind=target ;;\n"
           << "        " << patterns.others << ") return ;;\n"
           << "        *)\n"
           << "            case \"$command\" in\n";
    forEachCommand(tool, "", [&](const CommandText& command, const std::string& path) {
        script << "                " << shellWord(path) << ")\n"
               << "                    kind=" << shellWord(argumentKind(command)) << "\n"
               << "                    commands=(";
        for (const CommandText& below : command.commands) {
            script << ' ' << described(below.name, below.description);
        }
        script << " )\n"
               << "                    options=(" << describedOptions(command)
               << (path.empty() ? "" : describedOptions(takenByAll(tool))) << " )\n"
               << "                    ;;\n";
    });
    script << "            esac\n"
           << "            ;;\n"
           << "    esac\n"
           << "    if [[ $current == -* ]]; then\n"
           << "        _describe -o option options\n"
           << "    elif [[ $kind == path ]]; then\n"
           << "        _files\n"
           << "    elif [[ $kind == target ]]; then\n"
           << "        compadd -S '' -- " << targetKinds << "\n"
           << "    else\n"
           << "        _describe command commands\n"
           << "    fi\n"
           << "}\n"
           << "_pelko \"$@\"\n";
    return script.str();
}

}  // namespace pelkotool
