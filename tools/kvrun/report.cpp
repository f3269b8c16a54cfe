#include "report.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace kvrun {

Status fail(int code, const char *format, ...)
{
    va_list ap;
    va_start(ap, format);
    va_list again;
    va_copy(again, ap);
    int n = vsnprintf(nullptr, 0, format, ap);
    va_end(ap);
    std::string text;
    if (n > 0) {
        std::vector<char> buf(static_cast<size_t>(n) + 1);
        vsnprintf(buf.data(), buf.size(), format, again);
        text.assign(buf.data(), static_cast<size_t>(n));
    }
    va_end(again);
    return Status{code, text};
}

std::string trim_message(const char *text)
{
    std::string s = text ? text : "";
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r' || s.back() == ' ' ||
                          s.back() == '\t'))
        s.pop_back();
    return s;
}

void print_error(const Status &status)
{
    std::string line = trim_message(status.message.c_str());
    std::string out;
    for (size_t i = 0; i < line.size(); i++) {
        if (line[i] == '\r')
            continue;
        if (line[i] == '\n') {
            out += "; ";
            continue;
        }
        out += line[i];
    }
    if (out.empty())
        out = "failed";
    fprintf(stderr, "kvrun: %s\n", out.c_str());
    fflush(stderr);
}

} // namespace kvrun
