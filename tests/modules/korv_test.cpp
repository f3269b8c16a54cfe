// The default library korv as a bundle: its functions driven strip by strip
// through the loader and the processing drivers.
#include "modules/modules_test_util.h"

#include <algorithm>
#include <cstdlib>


namespace {

struct Image {
    KorvGenericHeader header{};
    KorvGenericHeader *inputs[2] = {&header, nullptr};
    std::vector<unsigned char> bytes;

    Image(uint32_t width, uint32_t height, uint32_t channels, uint32_t bits) {
        KorvInitGenericHeader(&header);
        header.kind = KORV_KIND_PIXELS;
        header.dimensions = 2;
        header.pixels = width;
        header.scanlines = height;
        header.imageParts[0] = channels;
        for (uint32_t i = 0; i < channels; i++) header.bitsPerSample[i] = bits;
        header.interleave = KORV_INTERLEAVE_PIXEL;
        KorvHeaderFillInBytes(&header);
        bytes.resize(size_t(header.bytesPerLine[0]) * height);
        for (size_t i = 0; i < bytes.size(); i++) bytes[i] = (unsigned char)(i * 37 + 11);
    }
    ~Image() { KorvFreeUserCMData(header.params); }
    uint32_t line() const { return header.bytesPerLine[0]; }
};

// Runs the function over img in strips of `lines` lines; the bytes out.
std::vector<unsigned char> run(KorvModule *m, Image &img, uint32_t lines) {
    KorvArgWord args[] = {(KorvArgWord) "input:h", (KorvArgWord)img.inputs, KORV_ARG_NULL,
                          KORV_ARG_END};
    KorvState *state = nullptr;
    EXPECT_EQ(KorvCallInit(m->init, args, &state), 1u);
    if (!state) return {};
    KorvGenericHeader *out = state->getOutputHeader(state, 0);
    EXPECT_NE(out, nullptr);
    if (out) EXPECT_EQ(out->bytesPerLine[0], img.line());
    EXPECT_EQ(state->getOutputHeader(state, 1), nullptr);
    std::vector<unsigned char> result;
    uint32_t height = img.header.scanlines;
    for (uint32_t y = 0; y < height; y += lines) {
        uint32_t n = std::min(lines, height - y);
        void *data = nullptr;
        uint32_t size = 0, aux = 0;
        EXPECT_EQ(KorvProcessSISO(state, img.bytes.data() + size_t(y) * img.line(), n * img.line(), n,
                                  &data, &size, &aux), 1u);
        EXPECT_EQ(size, n * img.line());
        EXPECT_EQ(aux, n);
        result.insert(result.end(), (unsigned char *)data, (unsigned char *)data + size);
    }
    void *data = nullptr;
    uint32_t size = 7, aux = 7;
    EXPECT_EQ(KorvProcessSISO(state, nullptr, 0, 0, &data, &size, &aux), 1u);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(KorvCallEnd(state), 1u);
    return result;
}

} // namespace

TEST(KorvBundle, EntriesCopyAndInvertStripByStrip) {
    KorvModLoader *l = nullptr;
    ASSERT_EQ(KorvBasicModLoaderCreate(&l), 1u);
    ASSERT_EQ(KorvBasicModLoaderAddLibrary(l, "korv"), 1u);
    KorvModule *copy = l->findModule(l, "copy");
    KorvModule *invert = l->findModule(l, "invert");
    ASSERT_NE(copy, nullptr);
    ASSERT_NE(invert, nullptr);
    // The bundle's entries are the default library's own init functions.
    void *init = nullptr;
    EXPECT_EQ(KorvRetrieveInit("korv!KorvInvertInit", &init), 1u);
    EXPECT_EQ(init, reinterpret_cast<void *>(invert->init));
    EXPECT_EQ(KorvRetrieveInit("KorvCopyInit", &init), 1u);
    EXPECT_EQ(init, reinterpret_cast<void *>(copy->init));
    EXPECT_EQ(KorvRetrieveInit("KorvNoSuchInit", &init), 0u);
    EXPECT_EQ(init, nullptr);
    EXPECT_NE(invert->descriptor, nullptr);
    for (uint32_t bits : {8u, 16u}) {
        Image img(13, 7, 3, bits);
        std::vector<unsigned char> inverted(img.bytes);
        for (auto &b : inverted) b = (unsigned char)~b;
        for (uint32_t lines : {1u, 3u, 7u}) {
            EXPECT_EQ(run(copy, img, lines), img.bytes) << bits << " " << lines;
            EXPECT_EQ(run(invert, img, lines), inverted) << bits << " " << lines;
        }
    }
    // Without an input header the init fails with a state that says why.
    KorvArgWord none[] = {KORV_ARG_END};
    KorvState *state = nullptr;
    EXPECT_EQ(KorvCallInit(invert->init, none, &state), 0u);
    ASSERT_NE(state, nullptr);
    EXPECT_STREQ(KorvGetErrorMsg(state), "invert: no input header");
    EXPECT_EQ(KorvCallEnd(state), 1u);

    l->releaseModule(l, copy);
    l->releaseModule(l, invert);
    l->release(l);
}

TEST(KorvBundle, DescriptorsNameTheirInitEntries) {
    const char *tests = std::getenv("KV_TEST_BINARY_DIR");
    ASSERT_NE(tests, nullptr);
    // The descriptors sit in data/korv of the staged tree.
    std::string dir = std::string(tests) + "/../stage/share/kvsup/data/korv";
    Image img(4, 2, 1, 8);
    KorvArgWord args[] = {(KorvArgWord) "input:h", (KorvArgWord)img.inputs, KORV_ARG_NULL,
                          KORV_ARG_END};
    for (const char *name : {"copy", "invert"}) {
        char *found = KorvFindFile((std::string("korv_") + name).c_str(), "dot", dir.c_str());
        ASSERT_NE(found, nullptr) << name;
        KorvIO *io = KorvIO_FileName(found, "r");
        korv_internal_free(found);
        ASSERT_NE(io, nullptr);
        KorvFuncDesc *desc = KorvAllocFuncDesc();
        EXPECT_EQ(KorvReadFuncDesc(io, desc), 1u);
        io->close(io);
        EXPECT_STREQ(desc->name, name);
        // The init text resolves in the default library.
        KorvState *state = nullptr;
        EXPECT_EQ(KorvCallModuleInit(desc, args, &state), 1u) << name;
        if (state) EXPECT_EQ(KorvCallEnd(state), 1u);
        desc->free(desc);
    }
}

