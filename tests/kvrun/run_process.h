// Runs a program with its standard streams redirected to files, and waits.
#pragma once

#include <string>
#include <vector>

// The path as the program under test is handed it (on Windows the native
// form, reached through drive Z: for an absolute POSIX path).
std::string native_path(const std::string &path);

// Runs program with args; standard input from in_file (empty: none),
// standard output and error into the two files. The exit status, or -1 when
// the program could not be started.
int run_process(const std::string &program, const std::vector<std::string> &args,
                const std::string &in_file, const std::string &out_file,
                const std::string &err_file);
