/*
 * Opening the log file of the message channel for one append. Only a
 * regular file is taken, and the open never waits: a name that is a pipe,
 * a device or a directory, or that cannot be opened at once, is ignored as
 * a file that cannot be opened is.
 */
#ifndef KVSUP_CORE_LOGFILE_H
#define KVSUP_CORE_LOGFILE_H

#include <stdio.h>

namespace korv {

/* The file opened for appending, or null. */
FILE *log_file_open(const char *path);

} // namespace korv

#endif
