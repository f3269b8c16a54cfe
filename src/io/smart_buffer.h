/*
 * The smart buffer record: a FIFO of segments, each a memory block followed
 * in byte order by an optional temporary file.
 */
#ifndef KVSUP_IO_SMART_BUFFER_H
#define KVSUP_IO_SMART_BUFFER_H

#include "kvsup.h"

namespace korv::io {

struct SBSegment {
    char *read_pos;       // next unread byte of the block
    char *write_pos;      // end of the data in the block
    char *block;          // null when the segment has none
    uint64_t capacity;
    char *file_name;      // the segment's temporary file, if any
    uint16_t *wide_name;  // made when the file is mapped (Windows)
    int64_t file_read;    // bytes of the file already consumed
    int64_t file_length;  // bytes written into the file
    SBSegment *next;
};

// Copies count bytes at offset of the file part through a fresh mapping of
// the file at `length` bytes; false when a system call fails.
bool sb_map_copy(SBSegment *seg, int64_t length, int64_t offset, void *dst, uint64_t count);

} // namespace korv::io

struct KorvSmartBuffer {
    int32_t memory_only;
    uint64_t memory_limit;
    uint64_t file_limit;
    uint64_t block_size;
    int64_t available;
    int64_t in_memory;
    korv::io::SBSegment *head;
    korv::io::SBSegment *tail;
};

#endif
