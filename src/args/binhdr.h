/*
 * Layout of a binary header: a fixed head of 556 bytes whose 32-bit fields
 * are in the byte order named by byte 2, then the parameter area of nested
 * size-prefixed records (sections, parameters, values).
 */
#ifndef KVSUP_ARGS_BINHDR_H
#define KVSUP_ARGS_BINHDR_H

#include "kvsup.h"

#include <stddef.h>
#include <stdint.h>
#include <string.h>

namespace kvbinhdr {

constexpr size_t kHeadSize = KORV_BINHDR_HEAD_SIZE;
constexpr size_t kOffKind = 4;
constexpr size_t kOffDimensions = 8;
constexpr size_t kOffSizes = 12;
constexpr size_t kOffImageParts = 140;
constexpr size_t kOffBits = 152;
constexpr size_t kOffBytesPerLine = 280;
constexpr size_t kOffSampleFormat = 408;
constexpr size_t kOffInterleave = 536;
constexpr size_t kOffAlignment = 540;
constexpr size_t kOffMinimum = 544;
constexpr size_t kOffPreferred = 548;
constexpr size_t kOffParamSize = 552;

/* Separations the head has room for, and sizes (pixels, scanlines, blobs). */
constexpr uint32_t kMaxSeparations = 32;
constexpr uint32_t kMaxSizes = 3;

/* Flag bits of a value's length word: set by the reader's rule for binary
 * data, and the one the writer sets for it. */
constexpr uint32_t kReadBinaryFlag = 0x80000000u;
constexpr uint32_t kWriteBinaryFlag = 0x08000000u;

constexpr unsigned char kLittle = 'L';
constexpr unsigned char kBig = 'B';

/* Bytes from a name's length byte on: the byte, the name, its NUL and
 * zeros up to a multiple of 4. */
constexpr uint64_t padded_name(uint64_t n)
{
    return 4 * ((n + 5) / 4);
}

/* A whole value record: length word, text, NUL, zeros to a multiple of 4. */
constexpr uint64_t value_record(uint64_t length)
{
    return 4 + 4 * ((length + 4) / 4);
}

inline void put32(unsigned char *at, uint32_t value, bool swap)
{
    if (swap)
        KorvSwabLong(&value);
    memcpy(at, &value, 4);
}

inline uint32_t get32(const unsigned char *at, bool swap)
{
    uint32_t value;
    memcpy(&value, at, 4);
    if (swap)
        KorvSwabLong(&value);
    return value;
}

/* The block byte of an order code, and whether fields in it need swapping
 * on this machine. */
inline bool swap_for(unsigned char order_byte)
{
    uint32_t order = order_byte == kLittle ? KORV_ENDIAN_LITTLE : KORV_ENDIAN_BIG;
    return order != KorvIdentifyEndian();
}

/* Separations stored in a head: exactly one for a table of entries, else
 * the image parts, as many as the head has room for. */
uint32_t stored_separations(const KorvGenericHeader *header);

} // namespace kvbinhdr

#endif
