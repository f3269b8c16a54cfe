// The manager registry, conversion through a manager, and the combined
// read and write calls with their debug messages.
#include <kvsup.h>

#include <gtest/gtest.h>

#include <string.h>
#include <string>
#include <vector>

namespace {

// A small test format "test-doc" "1": the raster width in "Raster"/"pixels".
uint32_t fake_create(KorvGenericHeader **header)
{
    *header = static_cast<KorvGenericHeader *>(korv_internal_calloc(1, sizeof **header));
    return KorvInitGenericHeader(*header);
}

uint32_t fake_to_header(KorvCMNode *tree, KorvGenericHeader **header)
{
    uint32_t n = 1;
    int32_t pixels = 0;
    if (!KVHdrGetHeaderInts(tree, "Raster", "pixels", &pixels, &n) || n != 1)
        return 0;
    fake_create(header);
    (*header)->pixels = static_cast<uint32_t>(pixels);
    (*header)->params = KVHdrDeleteHeaderSection(KorvUserCMDupData(tree), "ID");
    return 1;
}

uint32_t fake_from_header(KorvGenericHeader *header, KorvCMNode **tree)
{
    KorvCMNode *last;
    *tree = KorvMergeUserCMData(*tree, nullptr, "End", nullptr, &last);
    *tree = KVHdrSetHeaderParam(*tree, "ID", "format", "test-doc");
    *tree = KVHdrSetHeaderParam(*tree, "ID", "version", "1");
    int32_t pixels = static_cast<int32_t>(header->pixels);
    *tree = KVHdrSetHeaderInts(*tree, "Raster", "pixels", &pixels, 1, 1);
    return 1;
}

uint32_t failing_create(KorvGenericHeader **) { return 7; }
// Chunk entries that tell by their result which one ran, and with what.
uint32_t fake_load(KorvGenericHeader *, KorvIO *, KorvChunk *, uint32_t n) { return 100 + n; }
uint32_t fake_emit(KorvGenericHeader *, KorvIO *, KorvChunk *, uint32_t f) { return 200 + f; }
uint32_t other_emit(KorvGenericHeader *, KorvIO *, KorvChunk *, uint32_t f) { return 300 + f; }

const KVHdrManager kFake = {nullptr, nullptr, nullptr, nullptr, fake_to_header,
                            fake_load, fake_from_header, fake_emit, fake_create};

std::vector<std::string> g_log;
void capture(const char *text, int32_t, void *)
{
    g_log.emplace_back(text);
}

TEST(HeaderRegistry, BuiltinsByNameAndType)
{
    KVHdrManager a{}, b{};
    ASSERT_EQ(KVHdrGetManager_Str("IMAGE-EXT", "1.0", &a), 1u);
    EXPECT_EQ(a.toStruct, nullptr); // built-ins fill only the header entries
    EXPECT_NE(a.createHeader, nullptr);
    ASSERT_EQ(KVHdrGetManager_Type(11, &b), 1u);
    EXPECT_EQ(memcmp(&a, &b, sizeof a), 0);
    // Both spectral versions have type 9; the first one answers.
    ASSERT_EQ(KVHdrGetManager_Type(9, &a), 1u);
    ASSERT_EQ(KVHdrGetManager_Str("spectral", "1.0-binary", &b), 1u);
    EXPECT_EQ(a.toHeader, b.toHeader);
    EXPECT_NE(a.loadChunk, b.loadChunk);
    EXPECT_EQ(KVHdrGetManager_Str("image-ext", "1.1", &a), 0u);
    EXPECT_EQ(KVHdrGetManager_Str("", "", &a), 0u); // never a free entry
    EXPECT_EQ(KVHdrGetManager_Type(5, &a), 0u);
}

TEST(HeaderRegistry, ReplaceFillUnregister)
{
    KVHdrManager other = kFake, got{};
    other.emitChunk = other_emit;
    void *h[4] = {}, *again = nullptr;
    ASSERT_EQ(KVHdrRegisterManager("fmt-a", "1", &kFake, &h[0]), 1u);
    ASSERT_EQ(KVHdrRegisterManager("FMT-A", "1", &other, &again), 1u);
    EXPECT_EQ(again, h[0]); // replaced in place
    EXPECT_STREQ(static_cast<const char *>(h[0]), "FMT-A");
    ASSERT_EQ(KVHdrGetManager_Str("fmt-a", "1", &got), 1u);
    EXPECT_EQ(got.emitChunk, other_emit);

    // Three more new formats fill the free entries; a fifth one fails,
    // while replacing still works.
    for (int i = 1; i < 4; i++)
        ASSERT_EQ(KVHdrRegisterManager(("fmt-" + std::to_string(i)).c_str(), "1", &kFake, &h[i]), 1u);
    again = nullptr;
    EXPECT_EQ(KVHdrRegisterManager("fmt-fifth", "1", &kFake, &again), 0u);
    EXPECT_EQ(again, nullptr);
    EXPECT_EQ(KVHdrRegisterManager("fmt-1", "1", &other, &again), 1u);
    EXPECT_EQ(again, h[1]);
    // Registrations carry no type: -1 finds the built-in "internal" "2.0".
    EXPECT_EQ(KVHdrGetManager_Type(-1, &got), 1u);
    EXPECT_NE(got.emitChunk, other_emit);

    EXPECT_EQ(KVHdrUnregisterManager(h[0]), 1u);
    EXPECT_EQ(KVHdrGetManager_Str("fmt-a", "1", &got), 0u);
    EXPECT_EQ(KVHdrRegisterManager("fmt-fifth", "1", &kFake, &again), 1u);
    EXPECT_EQ(again, h[0]); // the freed entry is used again
    for (void *p : h)
        EXPECT_EQ(KVHdrUnregisterManager(p), 1u);
    int not_an_entry;
    EXPECT_EQ(KVHdrUnregisterManager(&not_an_entry), 0u);
}

TEST(HeaderRegistry, NamesAreSignificantTo32CharactersAndNeedAVersion)
{
    const std::string name = "fmt-format-name-that-is-forty-chars-long!";
    void *handle = nullptr;
    ASSERT_EQ(KVHdrRegisterManager(name.c_str(), "1", &kFake, &handle), 1u);
    EXPECT_EQ(memcmp(handle, name.data(), 32), 0);
    KVHdrManager got{};
    EXPECT_EQ(KVHdrGetManager_Str(name.c_str(), "1", &got), 1u);
    EXPECT_EQ(KVHdrGetManager_Str((name.substr(0, 32) + "zz").c_str(), "1", &got), 1u);
    EXPECT_EQ(KVHdrGetManager_Str(name.substr(0, 31).c_str(), "1", &got), 0u);
    KVHdrUnregisterManager(handle);

    KorvCMNode *tree = KVHdrSetHeaderParam(nullptr, "ID", "format", "image-ext");
    EXPECT_EQ(KVHdrGetManager(tree, &got), 0u); // a format without a version
    tree = KVHdrSetHeaderParam(tree, "ID", "version", "1.0");
    EXPECT_EQ(KVHdrGetManager(tree, &got), 1u);
    tree = KVHdrDeleteHeaderField(tree, "ID", "format");
    EXPECT_EQ(KVHdrGetManager(tree, &got), 0u);
    KVHdrFree(tree);
}

TEST(HeaderConvert, WriteAndReadThroughTheRegistry)
{
    void *handle = nullptr;
    ASSERT_EQ(KVHdrRegisterManager("test-doc", "1", &kFake, &handle), 1u);
    KorvGenericHeader *h = nullptr;
    ASSERT_EQ(KVHdrCreateHeader(&kFake, &h), 1u);
    EXPECT_EQ(h->emitChunk, fake_emit); // the entries travel with the header
    h->pixels = 640;
    h->params = KVHdrSetHeaderParam(h->params, "Extra", "note", "kept");

    KorvIO *io = KorvIO_Mem(0);
    ASSERT_EQ(KVHdrWrite_Header(h, nullptr, io), 1u); // the header's own entries
    io->write(io, "tail", 4);
    io->seek(io, 0, 0);
    // The header's parameters come first; "ID" moves to the front and
    // "End" to the back.
    const std::string doc = "[ID]\nformat: test-doc\nversion: 1\n\n[Extra]\nnote: kept\n\n"
                            "[Raster]\npixels: 640\n\n[End]\f\n";
    KVHdrManager found{};
    KorvGenericHeader *back = nullptr;
    void *block = nullptr;
    uint64_t size = 0;
    ASSERT_EQ(KVHdrNonDestructivRead_Header(io, &block, &size, &found, &back), 1u);
    EXPECT_EQ(std::string(static_cast<char *>(block), size), doc);
    korv_internal_free(block);
    EXPECT_EQ(found.fromHeader, fake_from_header);
    EXPECT_EQ(back->pixels, 640u);
    EXPECT_EQ(back->loadChunk, fake_load);
    EXPECT_STREQ(KVHdrGetHeaderParam(back->params, "Extra", "note"), "kept");

    // Chunks go through the header's entries first, then the manager's.
    auto *chunk = reinterpret_cast<KorvChunk *>(&found); // never looked at
    EXPECT_EQ(KVHdrToChunk(nullptr, back, io, chunk), 100u);
    EXPECT_EQ(KVHdrToChunkLines(nullptr, back, io, chunk, 5), 105u);
    EXPECT_EQ(KVHdrFromChunk(nullptr, back, io, chunk), 201u);
    KVHdrManager other = kFake;
    other.emitChunk = other_emit;
    back->emitChunk = nullptr;
    EXPECT_EQ(KVHdrFromChunk(&other, back, io, chunk), 301u);
    EXPECT_EQ(KVHdrFromChunk(nullptr, back, io, chunk), 0u);
    back->free(back);
    h->free(h);
    io->close(io);
    KVHdrUnregisterManager(handle);
}

TEST(HeaderConvert, FailuresAndTheirMessages)
{
    g_log.clear();
    KorvSetLoggingCallback(capture, nullptr);
    KorvSetDebug(1);
    KorvGenericHeader *h = nullptr;
    KVHdrManager empty{}, failing = kFake, found{}, no_convert = kFake;
    failing.createHeader = failing_create;
    no_convert.toHeader = nullptr;
    EXPECT_EQ(KVHdrCreateHeader(nullptr, nullptr), 0u);
    EXPECT_EQ(KVHdrCreateHeader(&empty, &h), 0u);
    EXPECT_EQ(KVHdrCreateHeader(&no_convert, &h), 0u);
    EXPECT_EQ(KVHdrCreateHeader(&kFake, nullptr), 0u);
    EXPECT_EQ(KVHdrCreateHeader(&failing, &h), 7u);
    for (std::string text : {"[Other]\n", "[ID]\nformat: nobody\nversion: 1\n[End]\f\n"}) {
        KorvIO *in = KorvIO_Str(text.data(), text.size());
        EXPECT_EQ(KVHdrRead_Header(in, &found, &h), 0u);
        in->close(in);
    }
    KorvSetDebug(0);
    KorvSetLoggingCallback(nullptr, nullptr);
    EXPECT_EQ(g_log, (std::vector<std::string>{
                         "KVHdrCreateHeader: both KVHdrManager and KorvHeaderStruct are NULL\n",
                         "KVHdrCreateHeader: NULL KVHdrManager\n",
                         "KVHdrCreateHeader: NULL KVHdrManager\n",
                         "KVHdrCreateHeader: NULL KorvHeaderStruct\n",
                         "KVHdrCreateHeader: createHeader method failed\n",
                         "KVHdrRead_Header: Failed call KVHdrRead()\n",
                         "KVHdrRead_Header: Failed call KVHdrGetManager()\n"}));
    EXPECT_EQ(h, nullptr);

    // Without a fromHeader entry the arranged copy of the parameters is
    // still handed back, with result 0.
    KorvGenericHeader plain{};
    plain.params = KVHdrSetHeaderParam(nullptr, "End", "x", "1");
    plain.params = KVHdrSetHeaderParam(plain.params, "ID", "format", "f");
    KorvCMNode *tree = nullptr;
    EXPECT_EQ(KVHdrFromHeader(&empty, &plain, &tree), 0u);
    ASSERT_NE(tree, nullptr);
    EXPECT_STREQ(tree->text, "ID");
    KVHdrFree(tree);
    KorvFreeUserCMData(plain.params);
}

// The record forms go through toStruct and fromStruct.
uint32_t pair_to(KorvCMNode *tree, void *record)
{
    uint32_t n = 2;
    return KVHdrGetHeaderInts(tree, "P", "ab", static_cast<int32_t *>(record), &n) && n == 2;
}

uint32_t pair_from(void *record, KorvCMNode **tree)
{
    *tree = KVHdrSetHeaderInts(*tree, "P", "ab", static_cast<int32_t *>(record), 2, 2);
    *tree = KVHdrSetHeaderParam(*tree, "ID", "format", "fmt-pair");
    *tree = KVHdrSetHeaderParam(*tree, "ID", "version", "2");
    KorvCMNode *last;
    *tree = KorvMergeUserCMData(*tree, nullptr, "End", nullptr, &last);
    return 1;
}

TEST(HeaderConvert, RecordForms)
{
    const KVHdrManager m = {pair_to, nullptr, pair_from, nullptr, nullptr,
                            nullptr, nullptr, nullptr, nullptr};
    void *handle = nullptr;
    ASSERT_EQ(KVHdrRegisterManager("fmt-pair", "2", &m, &handle), 1u);
    int32_t in[2] = {3, -4}, out[2] = {};
    KorvIO *io = KorvIO_Mem(0);
    ASSERT_EQ(KVHdrWrite_Struct(in, &m, io), 1u);
    io->seek(io, 0, 0);
    KVHdrManager found{};
    ASSERT_EQ(KVHdrRead_Struct(io, &found, out), 1u);
    EXPECT_EQ(out[1], -4);
    EXPECT_EQ(KVHdrLoadAll(&m, io, nullptr), 0u); // empty entries fail
    io->close(io);
    KVHdrUnregisterManager(handle);
}

} // namespace
