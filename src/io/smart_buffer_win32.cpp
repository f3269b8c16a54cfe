// The file part of a smart buffer segment, read through a mapping.
#include "smart_buffer.h"

#include <string.h>
#include <windows.h>

namespace korv::io {

// The file is reopened with a disposition that always creates, which empties
// it, and is then mapped at its recorded length: the part reads back as that
// many zero bytes.
bool sb_map_copy(SBSegment *seg, int64_t length, int64_t offset, void *dst, uint64_t count) {
    if (!seg->wide_name) seg->wide_name = KorvUTF8ConvertToUTF16(seg->file_name);
    if (!seg->wide_name) return false;
    HANDLE file = CreateFileW(reinterpret_cast<const wchar_t *>(seg->wide_name),
                              GENERIC_READ | GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                              FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    HANDLE map = CreateFileMappingA(file, nullptr, PAGE_READWRITE, 0,
                                    static_cast<DWORD>(length), nullptr);
    CloseHandle(file);
    if (!map) return false;
    void *view = MapViewOfFile(map, FILE_MAP_WRITE, 0, 0, static_cast<SIZE_T>(length));
    CloseHandle(map);
    if (!view) return false;
    memcpy(dst, static_cast<char *>(view) + offset, count);
    UnmapViewOfFile(view);
    return true;
}

} // namespace korv::io
