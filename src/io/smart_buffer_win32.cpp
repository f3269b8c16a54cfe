// The file part of a smart buffer segment, read through a mapping.
#include "smart_buffer.h"

#include <string.h>
#include <windows.h>

namespace korv::io {

// Emptied through the segment's own handle and mapped at the recorded
// length, which extends it with zeros: the part reads back as that many
// zero bytes.
bool sb_map_copy(SBSegment *seg, int64_t length, int64_t offset, void *dst, uint64_t count) {
    HANDLE file = seg->file;
    LARGE_INTEGER start;
    start.QuadPart = 0;
    if (!SetFilePointerEx(file, start, nullptr, FILE_BEGIN) || !SetEndOfFile(file)) return false;
    HANDLE map = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0,
                                    static_cast<DWORD>(length), nullptr);
    if (!map) return false;
    void *view = MapViewOfFile(map, FILE_MAP_WRITE, 0, 0, static_cast<SIZE_T>(length));
    CloseHandle(map);
    if (!view) return false;
    memcpy(dst, static_cast<char *>(view) + offset, count);
    UnmapViewOfFile(view);
    return true;
}

// The file was made to go when its handle is closed.
void sb_close_file(SBSegment *seg) { CloseHandle(seg->file); }

} // namespace korv::io
