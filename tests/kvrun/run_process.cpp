#include "run_process.h"

#include <string>

#if defined(_WIN32)
#include <windows.h>

std::string native_path(const std::string &path)
{
    std::string p = path;
    for (auto &c : p)
        if (c == '/')
            c = '\\';
    if (!p.empty() && p[0] == '\\' && (p.size() < 2 || p[1] != '\\'))
        p = "Z:" + p;
    return p;
}

namespace {

std::wstring wide(const std::string &s)
{
    int n = MultiByteToWideChar(CP_UTF8, 0, s.c_str(), -1, nullptr, 0);
    std::wstring w(n > 0 ? n - 1 : 0, L'\0');
    if (n > 1)
        MultiByteToWideChar(CP_UTF8, 0, s.c_str(), -1, &w[0], n);
    return w;
}

std::wstring quoted(const std::string &arg)
{
    std::wstring w = wide(arg), out = L"\"";
    for (wchar_t c : w) {
        if (c == L'"')
            out += L'\\';
        out += c;
    }
    return out + L"\"";
}

HANDLE open_for(const std::string &name, bool write)
{
    SECURITY_ATTRIBUTES sa = {sizeof sa, nullptr, TRUE};
    return CreateFileW(wide(native_path(name)).c_str(), write ? GENERIC_WRITE : GENERIC_READ,
                       FILE_SHARE_READ | FILE_SHARE_WRITE, &sa,
                       write ? CREATE_ALWAYS : OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

} // namespace

int run_process(const std::string &program, const std::vector<std::string> &args,
                const std::string &in_file, const std::string &out_file,
                const std::string &err_file)
{
    std::wstring line = quoted(native_path(program));
    for (auto &a : args)
        line += L" " + quoted(a);
    HANDLE in = in_file.empty() ? INVALID_HANDLE_VALUE : open_for(in_file, false);
    HANDLE out = open_for(out_file, true), err = open_for(err_file, true);
    STARTUPINFOW si = {};
    si.cb = sizeof si;
    si.dwFlags = STARTF_USESTDHANDLES;
    si.hStdInput = in;
    si.hStdOutput = out;
    si.hStdError = err;
    PROCESS_INFORMATION pi = {};
    BOOL ok = CreateProcessW(nullptr, &line[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr, &si,
                             &pi);
    DWORD code = (DWORD)-1;
    if (ok) {
        WaitForSingleObject(pi.hProcess, INFINITE);
        GetExitCodeProcess(pi.hProcess, &code);
        CloseHandle(pi.hProcess);
        CloseHandle(pi.hThread);
    }
    if (in != INVALID_HANDLE_VALUE)
        CloseHandle(in);
    CloseHandle(out);
    CloseHandle(err);
    return ok ? (int)code : -1;
}

#else
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

std::string native_path(const std::string &path) { return path; }

int run_process(const std::string &program, const std::vector<std::string> &args,
                const std::string &in_file, const std::string &out_file,
                const std::string &err_file)
{
    std::vector<char *> argv;
    argv.push_back(const_cast<char *>(program.c_str()));
    for (auto &a : args)
        argv.push_back(const_cast<char *>(a.c_str()));
    argv.push_back(nullptr);
    pid_t pid = fork();
    if (pid < 0)
        return -1;
    if (pid == 0) {
        int in = open(in_file.empty() ? "/dev/null" : in_file.c_str(), O_RDONLY);
        int out = open(out_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        int err = open(err_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (in < 0 || out < 0 || err < 0)
            _exit(127);
        dup2(in, 0);
        dup2(out, 1);
        dup2(err, 2);
        execv(program.c_str(), argv.data());
        _exit(127);
    }
    int status = 0;
    if (waitpid(pid, &status, 0) != pid || !WIFEXITED(status))
        return -1;
    return WEXITSTATUS(status);
}
#endif
