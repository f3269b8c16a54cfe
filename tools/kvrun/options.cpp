#include "options.h"

#include <cstring>

namespace kvrun {

const char *usage_text()
{
    return "usage: kvrun [--quiet] FUNC [name=value ...] [: FUNC [name=value ...] ...]\n"
           "             INPUT OUTPUT\n"
           "       kvrun --list | --help | --version\n"
           "\n"
           "Runs an image through one processing function, or through a chain of\n"
           "functions separated by ':', in one streaming pass.\n"
           "\n"
           "  FUNC        a function name (\"invert\") or bundle!function (\"kvfx!invert\")\n"
           "  name=value  an argument of the function before it\n"
           "  INPUT       a PNM (P5/P6), PNG, image-ext or pixelstream image: a file,\n"
           "              '-' for standard input, or an http:// address\n"
           "  OUTPUT      a file; its extension chooses the format: .pgm .ppm .pnm\n"
           "              (PNM), .png, .kvi (image-ext), .kvp (pixelstream);\n"
           "              '-' writes image-ext to standard output\n"
           "\n"
           "  --list      list the bundles and their functions with documentation\n"
           "  --quiet     no progress bar\n"
           "  --help      this text\n"
           "  --version   the version of kvrun and of the library\n"
           "\n"
           "Exit status: 0 success, 1 bad usage, 2 bad input data or failed processing.\n";
}

namespace {

bool is_separator(const char *word) { return strcmp(word, ":") == 0; }

// A name=value word: the name is a non-empty run of letters, digits and '_'.
bool split_argument(const std::string &word, std::string &name, std::string &value)
{
    size_t eq = word.find('=');
    if (eq == std::string::npos || eq == 0)
        return false;
    for (size_t i = 0; i < eq; i++) {
        unsigned char c = static_cast<unsigned char>(word[i]);
        if (!(c == '_' || c == '-' || (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') ||
              (c >= 'A' && c <= 'Z')))
            return false;
    }
    name = word.substr(0, eq);
    value = word.substr(eq + 1);
    return true;
}

} // namespace

Status parse_command_line(int argc, char **argv, Request &request)
{
    std::vector<std::string> words;
    bool options_done = false;
    for (int i = 1; i < argc; i++) {
        const char *w = argv[i];
        if (!options_done && w[0] == '-' && w[1] == '-') {
            if (strcmp(w, "--") == 0) {
                options_done = true;
                continue;
            }
            if (strcmp(w, "--help") == 0)
                request.action = Request::kHelp;
            else if (strcmp(w, "--version") == 0)
                request.action = Request::kVersion;
            else if (strcmp(w, "--list") == 0)
                request.action = Request::kList;
            else if (strcmp(w, "--quiet") == 0)
                request.progress = false;
            else
                return fail(kExitUsage, "unknown option '%s' (see kvrun --help)", w);
            continue;
        }
        words.emplace_back(w);
    }
    if (request.action != Request::kRun) {
        if (!words.empty())
            return fail(kExitUsage, "'%s' given with an option that takes no operands",
                        words[0].c_str());
        return Status{};
    }
    if (words.empty())
        return fail(kExitUsage, "missing function and operands (see kvrun --help)");

    // Stages: a function name, then its name=value words, then ':' or the
    // operands. The operands are what is left after the last stage.
    size_t i = 0;
    for (;;) {
        // After ':' a function and the two operands must follow.
        if (i >= words.size() || is_separator(words[i].c_str()) ||
            (i > 0 && words.size() - i < 3))
            return fail(kExitUsage, "missing function name%s", i ? " after ':'" : "");
        StageRequest stage;
        stage.function = words[i++];
        if (stage.function.find('=') != std::string::npos)
            return fail(kExitUsage, "'%s' is an argument, not a function name",
                        stage.function.c_str());
        std::string name, value;
        while (i < words.size() && split_argument(words[i], name, value)) {
            for (auto &a : stage.args)
                if (a.first == name)
                    return fail(kExitUsage, "%s: argument '%s' given twice",
                                stage.function.c_str(), name.c_str());
            stage.args.emplace_back(name, value);
            i++;
        }
        request.stages.push_back(std::move(stage));
        if (i < words.size() && is_separator(words[i].c_str())) {
            i++;
            continue;
        }
        break;
    }
    size_t left = words.size() - i;
    if (left == 0)
        return fail(kExitUsage, "missing operands INPUT and OUTPUT");
    if (left == 1)
        return fail(kExitUsage, "missing operand OUTPUT after '%s'", words[i].c_str());
    if (left > 2)
        return fail(kExitUsage, "%s: malformed argument '%s' (expected name=value)",
                    request.stages.back().function.c_str(), words[i].c_str());
    request.input = words[i];
    request.output = words[i + 1];
    if (request.input.empty() || request.output.empty())
        return fail(kExitUsage, "empty operand");
    return Status{};
}

} // namespace kvrun
