// The tool's commands and their options: the one list that parsing, help,
// the manual page and the README's synopses are all made from.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "args.hpp"

namespace zelvora {

struct CommandDef {
    std::string_view name;      // "convert", "lsc calibrate"
    std::string_view operands;  // "IN... [OUT]"
    std::span<const OptionDef> options;
    std::string_view description;  // paragraphs separated by blank lines
    int (*run)(std::span<const std::string> words);
};

std::span<const CommandDef> commandDefs();
// By name; throws UsageError naming the unknown command.
const CommandDef& commandDef(std::string_view name);

// "zelvora convert IN... [OUT] --format NAME --size WxH [--stride BYTES] ...",
// one line, options in the list's order.
std::string synopsis(const CommandDef& command);

// What `zelvora help` prints: every synopsis, wrapped, with its description.
std::string usageText();
// What `zelvora help CMD` and `zelvora CMD --help` print.
std::string commandHelp(const CommandDef& command);
// The manual page zelvora.1, in roff.
std::string manualPage();

// "zelvora 0.1.0 (libZelvora 0.1.0)".
std::string versionText();

// Runs the command line after the program name and returns the exit status;
// errors end as one line on standard error. A bare `zelvora` prints the usage
// to standard error and returns 2.
int runCommandLine(std::span<const std::string> words);

}  // namespace zelvora
