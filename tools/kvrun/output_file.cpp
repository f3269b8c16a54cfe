#include "output_file.h"

#include "console.h"

#include <cstdio>

namespace kvrun {

OutputFile::~OutputFile() { discard(); }

Status OutputFile::open(const std::string &name)
{
    name_ = name;
    if (name == "-") {
        shown_ = "standard output";
        to_stdout_ = true;
        console_binary_stdio();
        io_ = KorvIO_FD(1);
        if (!io_)
            return fail(kExitData, "standard output: cannot open");
        return Status{};
    }
    shown_ = name;
    if (KorvIdentifyFile(name.c_str()) == 1)
        return fail(kExitData, "%s: is a directory", name.c_str());
    char suffix[48];
    snprintf(suffix, sizeof suffix, ".kvrun-%lu.part", console_process_id());
    temp_ = name + suffix;
    io_ = KorvIO_FileName(temp_.c_str(), "w");
    if (!io_) {
        temp_.clear();
        return fail(kExitData, "%s: cannot create the file", name.c_str());
    }
    return Status{};
}

Status OutputFile::commit()
{
    if (!io_)
        return fail(kExitData, "%s: not open", shown_.c_str());
    if (to_stdout_) {
        if (io_->flush)
            io_->flush(io_);
        io_->close(io_);
        io_ = nullptr;
        return Status{};
    }
    io_->close(io_);
    io_ = nullptr;
    // Renaming onto an existing file fails on some systems: the old output
    // is removed first then.
    if (KorvRenameFile(temp_.c_str(), name_.c_str()) != 1) {
        KorvDeleteFile(name_.c_str());
        if (KorvRenameFile(temp_.c_str(), name_.c_str()) != 1) {
            discard();
            return fail(kExitData, "%s: cannot put the output in place", name_.c_str());
        }
    }
    temp_.clear();
    return Status{};
}

void OutputFile::discard()
{
    if (io_) {
        io_->close(io_);
        io_ = nullptr;
    }
    if (!temp_.empty()) {
        KorvDeleteFile(temp_.c_str());
        temp_.clear();
    }
}

} // namespace kvrun
