// The output of kvrun: standard output, or a file that appears only when the
// whole image has been written. The bytes go to a temporary name beside the
// output; commit renames it into place, and any failure removes it.
#pragma once

#include "report.h"

#include <kvsup.h>

#include <string>

namespace kvrun {

class OutputFile {
public:
    ~OutputFile(); // an output never committed is removed
    Status open(const std::string &name);
    KorvIO *stream() const { return io_; }
    const std::string &shown_name() const { return shown_; }
    Status commit();
    void discard();

private:
    std::string name_;
    std::string shown_;
    std::string temp_;
    KorvIO *io_ = nullptr;
    bool to_stdout_ = false;
};

} // namespace kvrun
