#include <gtest/gtest.h>
#include <string>
#include <kvsup.h>

TEST(Hash, ByteChecksum)
{
    const unsigned char zeros[2] = {0, 0};
    EXPECT_EQ(KorvHashBytes(zeros, 0), 0);
    EXPECT_EQ(KorvHashBytes(zeros, 1), 1);
    EXPECT_EQ(KorvHashBytes(zeros, 2), 4);
    // The weight wraps back to 1 after 253: byte 128 of 0xFF bytes weighs 1.
    std::string ff(200, '\xFF');
    uint32_t sum = 0, w = 1;
    for (int i = 0; i < 200; i++) {
        sum += (511u * w) & 0xFF;
        w = w + 2 >= 255 ? 1 : w + 2;
    }
    EXPECT_EQ(KorvHashBytes(ff.data(), 200), (uint16_t)sum);
}

TEST(Hash, StringHashTakesBytesAsSigned)
{
    EXPECT_EQ(KorvHashString(""), 5381u);
    EXPECT_EQ(KorvHashString("a"), 177670u);
    EXPECT_EQ(KorvHashString("\x80"), 5381u * 33u - 128u);
}

TEST(Hash, FnvStartsFromTheSeed)
{
    EXPECT_EQ(KorvFNVHashBytes("", 0, 1234), 1234u);
    // With the FNV-1 basis as seed this is standard FNV-1 ("a" -> 0x050c5d7e).
    EXPECT_EQ(KorvFNVHashBytes("a", 1, 2166136261u), 0x050c5d7eu);
}

namespace {

std::string md5_hex(const std::string &text, size_t piece)
{
    KorvMD5Context context;
    KorvMD5Init(&context);
    for (size_t at = 0; at < text.size(); at += piece)
        KorvMD5Update(&context, text.data() + at, (uint32_t)std::min(piece, text.size() - at));
    unsigned char digest[16];
    KorvMD5Final(digest, &context);
    EXPECT_EQ(context.state[0], 0u); // cleared
    char hex[33];
    for (int i = 0; i < 16; i++)
        snprintf(hex + 2 * i, 3, "%02x", digest[i]);
    return hex;
}

} // namespace

TEST(Hash, Md5Vectors)
{
    EXPECT_EQ(md5_hex("", 1), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5_hex("abc", 1), "900150983cd24fb0d6963f7d28e17f72");
    std::string digits;
    for (int i = 0; i < 8; i++)
        digits += "1234567890";
    EXPECT_EQ(md5_hex(digits, 7), "57edf4a22be3c955ac49da2e2107b67a");
    EXPECT_EQ(md5_hex(digits, 80), "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(ByteOrder, SwabsInPlace)
{
    unsigned char v4[4] = {1, 2, 3, 4};
    KorvSwabLong(v4);
    EXPECT_EQ(memcmp(v4, "\x04\x03\x02\x01", 4), 0);
    unsigned char v2[4] = {1, 2, 3, 4};
    KorvSwabShortArray(v2, 2);
    EXPECT_EQ(memcmp(v2, "\x02\x01\x04\x03", 4), 0);
    KorvSwabShort(v2);
    EXPECT_EQ(memcmp(v2, "\x01\x02\x04\x03", 4), 0);
    unsigned char v8[16];
    for (int i = 0; i < 16; i++)
        v8[i] = (unsigned char)i;
    KorvSwabDoubleArray(v8, 2);
    EXPECT_EQ(v8[0], 7);
    EXPECT_EQ(v8[8], 15);
    KorvSwabDouble(v8);
    EXPECT_EQ(v8[0], 0);
    unsigned char l8[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    KorvSwabLongArray(l8, 2);
    EXPECT_EQ(memcmp(l8, "\x04\x03\x02\x01\x08\x07\x06\x05", 8), 0);
}

TEST(SystemInfo, ProcessorsAndMemory)
{
    EXPECT_GE(KorvIdentifyProcessorCount(), 1u);
    EXPECT_GT(KorvIdentifyMemory(0), 0u);
    EXPECT_LE(KorvIdentifyMemory(1), KorvIdentifyMemory(0));
    EXPECT_GT(KorvIdentifyMemory(2), 0u);
    EXPECT_EQ(KorvIdentifyMemory(4), 0u);
}
