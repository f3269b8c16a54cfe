// The command line of kvrun.
//
//   kvrun --help | --version | --list
//   kvrun FUNC [name=value ...] [: FUNC [name=value ...] ...] INPUT OUTPUT
//
// Functions are named plainly ("invert") or with their bundle
// ("kvfx!invert"). A lone ':' separates the functions of a chain. The last
// two words are the operands: INPUT is a file, '-' for standard input or an
// http:// address; OUTPUT is a file whose extension names its format, or
// '-' for image-ext on standard output.
#pragma once

#include "report.h"

#include <string>
#include <utility>
#include <vector>

namespace kvrun {

struct StageRequest {
    std::string function;
    std::vector<std::pair<std::string, std::string>> args; // name, value text
};

struct Request {
    enum Action { kRun, kHelp, kVersion, kList } action = kRun;
    bool progress = true; // a progress bar when standard error is a terminal
    std::vector<StageRequest> stages;
    std::string input;
    std::string output;
};

// Parses argv[1..]; a failure is a usage error naming the word at fault.
Status parse_command_line(int argc, char **argv, Request &request);

// The text of --help.
const char *usage_text();

} // namespace kvrun
