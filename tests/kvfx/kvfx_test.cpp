// The kvfx bundle, loaded as a front end loads it and driven strip by strip
// through the call drivers, against references computed here.
#include <gtest/gtest.h>
#include <math.h>
#include <string.h>
#include <string>
#include <utility>
#include <vector>
#include <kvsup.h>

namespace {

using Args = std::vector<std::pair<std::string, std::string>>;

std::string stage_path(const char *rel)
{
    std::string p = std::string(KorvGetExecutablePath()) + "/" KVFX_STAGE_REL "/" + rel;
    for (char &c : p)
        if (c == '/')
            c = KORV_PATH_SEP;
    return p;
}

struct Image {
    uint32_t w = 0, h = 0, c = 0, bits = 8;
    std::vector<uint32_t> v; // samples, row by row
    uint32_t &at(uint32_t x, uint32_t y, uint32_t k) { return v[((size_t)y * w + x) * c + k]; }
    uint32_t max() const { return bits == 8 ? 255 : 65535; }
    bool operator==(const Image &o) const
    {
        return w == o.w && h == o.h && c == o.c && bits == o.bits && v == o.v;
    }
};

Image make(uint32_t w, uint32_t h, uint32_t c, uint32_t bits, uint32_t seed = 1)
{
    Image im{w, h, c, bits, {}};
    uint32_t x = seed * 2654435761u + 12345;
    for (size_t i = 0; i < (size_t)w * h * c; i++) {
        x = x * 1664525u + 1013904223u;
        im.v.push_back((x >> 8) % (im.max() + 1));
    }
    return im;
}

std::vector<unsigned char> bytes_of(const Image &im)
{
    std::vector<unsigned char> b(im.v.size() * (im.bits / 8));
    for (size_t i = 0; i < im.v.size(); i++) {
        if (im.bits == 8) {
            b[i] = (unsigned char)im.v[i];
        } else {
            uint16_t s = (uint16_t)im.v[i];
            memcpy(&b[2 * i], &s, 2);
        }
    }
    return b;
}

struct Outcome {
    bool ok = false;
    std::string message;
    Image out;
    std::vector<uint32_t> strips; // lines of each output strip
};

// The input header list of an image (samples of `bits`, or the image's own).
KorvGenericHeader **headers_of(const Image &in, uint32_t bits = 0)
{
    KorvGenericHeader **headers = nullptr;
    KorvAllocHeaders(&headers, 1, sizeof(KorvGenericHeader));
    KorvGenericHeader *hd = headers[0];
    hd->kind = KORV_KIND_PIXELS;
    hd->dimensions = 2;
    hd->pixels = in.w;
    hd->scanlines = in.h;
    hd->imageParts[0] = in.c;
    for (uint32_t k = 0; k < in.c; k++)
        hd->bitsPerSample[k] = bits ? bits : in.bits;
    hd->interleave = KORV_INTERLEAVE_PIXEL;
    hd->colorSpace = KorvGetDefaultColor(in.c);
    KorvHeaderFillInBytes(hd);
    return headers;
}

std::string message_of(KorvState *st)
{
    return KorvGetErrorMsg(st) ? KorvGetErrorMsg(st) : "";
}

class Kvfx : public ::testing::Test {
protected:
    static KorvLibrary lib;
    static KorvBundleModuleFn module;

    static void SetUpTestSuite()
    {
        std::string path = stage_path("lib/kvsup/bundles/kvfx" KVFX_SUFFIX);
        ASSERT_EQ(KorvDLOpen(path.c_str(), &lib), 1u) << path;
        void *fn = nullptr;
        ASSERT_EQ(KorvDLSymbolLookup(lib, "KorvaneBundleGetModule_kvfx", &fn), 1u);
        module = reinterpret_cast<KorvBundleModuleFn>(fn);
    }
    static void TearDownTestSuite() { KorvDLClose(lib); }

    // Runs one function over `in` fed in strips of `lines` lines (0: whole).
    Outcome run(const char *name, const Args &args, const Image &in, uint32_t lines = 0,
                uint32_t bits = 0)
    {
        Outcome o;
        KorvGenericHeader **headers = headers_of(in, bits);
        std::vector<KorvArgWord> list;
        for (auto &a : args)
            list.insert(list.end(), {(KorvArgWord)a.first.c_str(), (KorvArgWord)a.second.c_str(),
                                     KORV_ARG_NULL});
        list.insert(list.end(), {(KorvArgWord) "input:h", (KorvArgWord)headers, KORV_ARG_NULL,
                                 KORV_ARG_END});
        KorvState *st = nullptr;
        KorvModule *m = module(name);
        EXPECT_NE(m, nullptr) << name;
        uint32_t r = m ? KorvCallInit(m->init, list.data(), &st) : 0;
        KorvFreeArray(reinterpret_cast<void **>(headers));
        if (r != 1) {
            EXPECT_EQ(r, 0u);
            if (st) {
                o.message = message_of(st);
                EXPECT_EQ(KorvCallEnd(st), 1u);
            }
            return o;
        }
        KorvGenericHeader *oh = st->outputHeaders[0];
        EXPECT_EQ(st->outputHeaders[1], nullptr);
        o.out = {oh->pixels, oh->scanlines,
                 oh->imageParts[0] + oh->imageParts[1] + oh->imageParts[2], oh->bitsPerSample[0], {}};
        const uint32_t outLine = KorvHeaderGetTotalBytes(oh);
        EXPECT_EQ(outLine, o.out.w * o.out.c * o.out.bits / 8);
        std::vector<unsigned char> data = bytes_of(in), got;
        const uint32_t inLine = in.w * in.c * in.bits / 8;
        const uint32_t step = lines ? lines : in.h;
        // Strips while input lasts, then ends until the state says it is done.
        bool failed = false;
        for (uint32_t y = 0, calls = 0; calls < 100000; y += step, calls++) {
            const bool end = y >= in.h;
            const uint32_t n = end ? 0 : std::min(step, in.h - y);
            void *d = nullptr;
            uint32_t size = 0, outN = 0;
            r = KorvProcessSISO(st, end ? nullptr : &data[(size_t)y * inLine], n * inLine, n, &d,
                                &size, &outN);
            failed = r != 1 && !(end && r == 2);
            if (failed)
                break;
            EXPECT_EQ(size, outN * outLine);
            if (outN)
                got.insert(got.end(), (unsigned char *)d, (unsigned char *)d + size);
            o.strips.push_back(outN);
            if (end && r == 1)
                break;
        }
        o.ok = !failed && r == 1;
        if (!o.ok)
            o.message = message_of(st);
        EXPECT_EQ(KorvCallEnd(st), 1u);
        for (size_t i = 0; o.ok && i < got.size(); i += o.out.bits / 8) {
            uint16_t s = got[i];
            if (o.out.bits == 16)
                memcpy(&s, &got[i], 2);
            o.out.v.push_back(s);
        }
        EXPECT_EQ(o.out.v.size(), o.ok ? (size_t)o.out.w * o.out.h * o.out.c : 0);
        return o;
    }

    // The same function over strips of several sizes gives one result.
    Image run_all(const char *name, const Args &args, const Image &in)
    {
        Outcome whole = run(name, args, in);
        EXPECT_TRUE(whole.ok) << name << ": " << whole.message;
        for (uint32_t lines : {1u, 2u, 3u, 7u}) {
            Outcome o = run(name, args, in, lines);
            EXPECT_TRUE(o.ok) << o.message;
            EXPECT_TRUE(o.out == whole.out) << name << " in strips of " << lines;
        }
        return whole.out;
    }

    std::string error(const char *name, const Args &args, const Image &in, uint32_t bits = 0)
    {
        Outcome o = run(name, args, in, 0, bits);
        EXPECT_FALSE(o.ok);
        return o.message;
    }
};
KorvLibrary Kvfx::lib = nullptr;
KorvBundleModuleFn Kvfx::module = nullptr;

// Maps every sample through f, per channel.
template <typename F>
Image map(const Image &in, F f)
{
    Image out = in;
    for (size_t i = 0; i < in.v.size(); i++)
        out.v[i] = f(in.v[i], (uint32_t)(i % in.c));
    return out;
}

uint32_t rounded(double x, uint32_t max)
{
    return !(x > 0) ? 0 : x >= max ? max : (uint32_t)(x + 0.5);
}

TEST_F(Kvfx, BundleEntriesDescriptorsAndRegistry)
{
    void *fn = nullptr;
    ASSERT_EQ(KorvDLSymbolLookup(lib, "KorvaneBundleGetVersion_kvfx", &fn), 1u);
    EXPECT_EQ(*reinterpret_cast<KorvBundleVersionFn>(fn)(), 5);
    ASSERT_EQ(KorvDLSymbolLookup(lib, "KorvaneBundleGetList_kvfx", &fn), 1u);
    KorvModule **list = reinterpret_cast<KorvBundleListFn>(fn)();
    ASSERT_EQ(KorvGetArraySize(reinterpret_cast<void **>(list)), 8u);
    EXPECT_EQ(module("FLIP"), module("flip"));
    EXPECT_EQ(module("blur"), nullptr);

    // Each function's descriptor is found through KV_RELEASE and names the
    // exported init entry that the module hands out.
    std::string release = stage_path("share/kvsup");
    KorvSetenv("KV_RELEASE", release.c_str());
    for (KorvModule **m = list; *m; m++) {
        EXPECT_STREQ((*m)->bundle, "kvfx");
        char *file = KorvFuncDescFileName((*m)->descriptor);
        ASSERT_NE(file, nullptr) << (*m)->name;
        KorvIO *io = KorvIO_FileName(file, "r");
        ASSERT_NE(io, nullptr);
        KorvFuncDesc *d = KorvAllocFuncDesc();
        EXPECT_EQ(KorvReadFuncDesc(io, d), 1u);
        io->close(io);
        EXPECT_STREQ(d->name, (*m)->name);
        ASSERT_NE(d->init, nullptr);
        ASSERT_EQ(strncmp(d->init, "kvfx!", 5), 0) << d->init;
        EXPECT_EQ(KorvDLSymbolLookup(lib, d->init + 5, &fn), 1u) << d->init;
        EXPECT_EQ(fn, reinterpret_cast<void *>((*m)->init));
        EXPECT_EQ(d->interleaves, 2u);
        KorvFreeFuncDesc(d);
        korv_internal_free(file);
    }

    // The registry file of the build names the bundle.
    KorvModLoader *loader = nullptr;
    ASSERT_EQ(KorvBasicModLoaderCreate(&loader), 1u);
    std::string reg = stage_path("share/kvsup/data/korv/kvsup.reg");
    EXPECT_EQ(KorvBasicModLoaderAddRegistryFile(loader, reg.c_str()), 1u);
    KorvModule *found = loader->findModule(loader, "boxblur");
    ASSERT_NE(found, nullptr);
    EXPECT_STREQ(found->name, "boxblur");
    loader->releaseModule(loader, found);
    loader->release(loader);
    KorvSetenv("KV_RELEASE", nullptr);
}

TEST_F(Kvfx, PointFunctionsMatchTheirDefinitions)
{
    for (uint32_t bits : {8u, 16u}) {
        for (uint32_t c = 1; c <= 4; c++) {
            SCOPED_TRACE("bits " + std::to_string(bits) + ", channels " + std::to_string(c));
            Image in = make(5, 9, c, bits, c);
            const uint32_t max = in.max();
            EXPECT_TRUE(run_all("invert", {}, in) == map(in, [&](uint32_t v, uint32_t) {
                            return max - v;
                        }));
            uint32_t mid = (max + 1) / 2;
            EXPECT_TRUE(run_all("threshold", {}, in) == map(in, [&](uint32_t v, uint32_t) {
                            return v >= mid ? max : 0;
                        }));
            EXPECT_TRUE(run_all("threshold", {{"level:s", "99.5"}}, in) ==
                        map(in, [&](uint32_t v, uint32_t) { return v >= 100 ? max : 0; }));
            // One gain for all channels, one offset per channel.
            const char *offsets[] = {"", "7", "7,-3", "7 -3 0", "7 -3 0 1e2"};
            double off[] = {7, -3, 0, 100};
            EXPECT_TRUE(run_all("levels", {{"gain:s", "1.3"}, {"offset:s", offsets[c]}}, in) ==
                        map(in, [&](uint32_t v, uint32_t k) {
                            return rounded(v * 1.3 + off[c == 1 ? 0 : k], max);
                        }));
            Image conv = map(in, [&](uint32_t v, uint32_t) {
                return bits == 8 ? v * 257 : (v * 255 + 32767) / 65535;
            });
            conv.bits = bits == 8 ? 16 : 8;
            EXPECT_TRUE(run_all("convert", {{"bits:s", bits == 8 ? "16" : "8"}}, in) == conv);
            if (c >= 3) {
                Image grey = run_all("grey", {{"weights:s", "0.5 0.25 0.25"}}, in);
                Image want{in.w, in.h, 1, bits, {}};
                for (size_t i = 0; i < in.v.size(); i += c)
                    want.v.push_back(rounded(0.5 * in.v[i] + 0.25 * in.v[i + 1] +
                                             0.25 * in.v[i + 2], max));
                EXPECT_TRUE(grey == want);
            }
        }
    }
    // 8 to 16 and back is the identity; the ends of the range map to the ends.
    Image in = make(16, 16, 1, 8);
    in.v[0] = 0;
    in.v[1] = 255;
    Image wide = run_all("convert", {{"bits:s", "16"}}, in);
    EXPECT_EQ(wide.v[1], 65535u);
    EXPECT_TRUE(run_all("convert", {{"bits:s", "8"}}, wide) == in);
    // A gain with many digits is used at full precision.
    Image g = make(4, 3, 1, 16);
    EXPECT_TRUE(run_all("levels", {{"gain:s", "0.123456789"}}, g) ==
                map(g, [](uint32_t v, uint32_t) { return rounded(v * 0.123456789, 65535); }));
}

TEST_F(Kvfx, CropKeepsTheClippedWindow)
{
    Image in = make(9, 7, 3, 16);
    auto window = [&](int32_t x0, int32_t y0, uint32_t w, uint32_t h) {
        Image out{w, h, in.c, in.bits, {}};
        for (uint32_t y = 0; y < h; y++)
            for (uint32_t x = 0; x < w; x++)
                for (uint32_t k = 0; k < in.c; k++)
                    out.v.push_back(in.at(x0 + x, y0 + y, k));
        return out;
    };
    EXPECT_TRUE(run_all("crop", {{"x:s", "2"}, {"y:s", "3"}, {"width:s", "4"}, {"height:s", "2"}},
                        in) == window(2, 3, 4, 2));
    EXPECT_TRUE(run_all("crop", {{"x:s", "-2"}, {"y:s", "5"}, {"width:s", "5"}, {"height:s", "9"}},
                        in) == window(0, 5, 3, 2));
    EXPECT_TRUE(run_all("crop", {{"x:s", "0x8"}}, in) == window(8, 0, 1, 7));
    EXPECT_EQ(error("crop", {{"x:s", "9"}}, in),
              "crop: the window 9,0 0x7 keeps nothing of the 9x7 image");
    EXPECT_EQ(error("crop", {{"width:s", "0"}}, in), "crop: argument 'width' must be 1 or more: '0'");
}

TEST_F(Kvfx, FlipInMemoryAndSpilled)
{
    for (uint32_t bits : {8u, 16u}) {
        Image in = make(7, 11, 3, bits);
        Image h = in, v = in, hv = in;
        for (uint32_t y = 0; y < in.h; y++)
            for (uint32_t x = 0; x < in.w; x++)
                for (uint32_t k = 0; k < in.c; k++) {
                    h.at(x, y, k) = in.at(in.w - 1 - x, y, k);
                    v.at(x, y, k) = in.at(x, in.h - 1 - y, k);
                    hv.at(x, y, k) = in.at(in.w - 1 - x, in.h - 1 - y, k);
                }
        // A budget of 100 bytes keeps a line or two in memory and the rest
        // in the temporary file.
        for (const char *budget : {"100000", "100"}) {
            KorvSetenv("KORV_MEMORY_MAX", budget);
            EXPECT_TRUE(run_all("flip", {{"dir:s", "h"}}, in) == h);
            EXPECT_TRUE(run_all("flip", {{"dir:s", "v"}}, in) == v);
            EXPECT_TRUE(run_all("flip", {{"dir:s", "hv"}}, in) == hv);
        }
        KorvSetenv("KORV_MEMORY_MAX", nullptr);
    }
    // A vertical flip hands out nothing before the end, then strips as large
    // as the largest input strip.
    Outcome o = run("flip", {{"dir:s", "v"}}, make(3, 10, 1, 8), 4);
    ASSERT_TRUE(o.ok);
    EXPECT_EQ(o.strips, (std::vector<uint32_t>{0, 0, 0, 4, 4, 2}));
    EXPECT_EQ(error("flip", {{"dir:s", "up"}}, make(2, 2, 1, 8)),
              "flip: argument 'dir' must be h, v or hv: 'up'");
}

// The plain definition: the mean over the clamped box, rounded.
Image box_reference(const Image &in, int r)
{
    Image out = in;
    const int64_t n = (int64_t)(2 * r + 1) * (2 * r + 1);
    for (int y = 0; y < (int)in.h; y++)
        for (int x = 0; x < (int)in.w; x++)
            for (uint32_t k = 0; k < in.c; k++) {
                int64_t s = 0;
                for (int dy = -r; dy <= r; dy++)
                    for (int dx = -r; dx <= r; dx++) {
                        int yy = std::min(std::max(y + dy, 0), (int)in.h - 1);
                        int xx = std::min(std::max(x + dx, 0), (int)in.w - 1);
                        s += in.v[((size_t)yy * in.w + xx) * in.c + k];
                    }
                out.at(x, y, k) = (uint32_t)((s + n / 2) / n);
            }
    return out;
}

TEST_F(Kvfx, BoxblurOverStrips)
{
    // Radii below, at and past the image's size; 16 bits at r = 130 needs
    // 64-bit sums.
    struct Case { uint32_t w, h, c, bits; int r; } cases[] = {
        {6, 9, 1, 8, 0}, {6, 9, 3, 8, 1}, {10, 13, 4, 8, 3}, {5, 4, 2, 16, 7},
        {9, 12, 1, 16, 2}, {3, 5, 1, 16, 130},
    };
    for (const Case &t : cases) {
        SCOPED_TRACE("r " + std::to_string(t.r));
        Image in = make(t.w, t.h, t.c, t.bits, t.r + 3);
        EXPECT_TRUE(run_all("boxblur", {{"r:s", std::to_string(t.r)}}, in) ==
                    box_reference(in, t.r));
    }
    // Context is held back: output line y waits for input line y + r.
    Outcome o = run("boxblur", {{"r:s", "2"}}, make(4, 8, 1, 8), 3);
    ASSERT_TRUE(o.ok);
    EXPECT_EQ(o.strips, (std::vector<uint32_t>{1, 3, 2, 2}));
}

TEST_F(Kvfx, BadArgumentsAndInputAreReported)
{
    const Image rgb = make(4, 4, 3, 8), two = make(4, 4, 2, 8);
    const struct {
        const char *name;
        Args args;
        const Image &in;
        const char *message;
    } cases[] = {
        {"levels", {{"gain:s", "abc"}}, rgb, "levels: argument 'gain' is not a number: 'abc'"},
        {"levels", {{"gain:s", "1 1.5x"}}, rgb, "levels: argument 'gain' is not a number: '1.5x'"},
        {"levels", {{"offset:s", "1 2"}}, rgb,
         "levels: argument 'offset' takes 1 value or 3 (one per channel), not 2"},
        {"levels", {{"gain:s", " "}}, rgb, "levels: argument 'gain' has no value"},
        {"boxblur", {{"r:s", "1.5"}}, rgb, "boxblur: argument 'r' is not an integer: '1.5'"},
        {"boxblur", {{"r:s", "-1"}}, rgb, "boxblur: argument 'r' must lie between 0 and 10000: '-1'"},
        {"convert", {{"bits:s", "12"}}, rgb, "convert: argument 'bits' must be 8 or 16: '12'"},
        {"convert", {}, rgb, "convert: argument 'bits' is missing (8 or 16)"},
        {"threshold", {{"level:s", "256"}}, rgb,
         "threshold: argument 'level' must lie between 0 and 255: '256'"},
        {"grey", {}, two, "grey: the input must be RGB or RGBA (3 or 4 channels), not 2 channels"},
        {"grey", {{"weights:s", "1 1"}}, rgb,
         "grey: argument 'weights' takes 3 values (red, green, blue), not 2"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(error(c.name, c.args, c.in), c.message);
    EXPECT_EQ(error("invert", {}, rgb, 12),
              "invert: samples of 12 bits are not supported; 8 and 16 are");

    // No input header at all.
    KorvArgWord none[] = {KORV_ARG_END};
    KorvState *st = nullptr;
    EXPECT_EQ(KorvCallInit(module("invert")->init, none, &st), 0u);
    ASSERT_NE(st, nullptr);
    EXPECT_STREQ(KorvGetErrorMsg(st), "invert: no input image");
    KorvCallEnd(st);
}

TEST_F(Kvfx, StripsThatBreakTheProtocolFail)
{
    Image in = make(4, 3, 1, 8);
    std::vector<unsigned char> data = bytes_of(in);
    KorvGenericHeader **headers = headers_of(in);
    KorvArgWord list[] = {(KorvArgWord) "input:h", (KorvArgWord)headers, KORV_ARG_NULL,
                          KORV_ARG_END};
    void *d;
    uint32_t size, lines;
    // Feeds strips of {bytes, lines}, then ends; the first failure's message.
    auto message = [&](std::vector<std::pair<uint32_t, uint32_t>> strips, int ends) {
        KorvState *st = nullptr;
        EXPECT_EQ(KorvCallInit(module("invert")->init, list, &st), 1u);
        uint32_t r = 1;
        for (size_t i = 0; i < strips.size() && r == 1; i++)
            r = KorvProcessSISO(st, data.data(), strips[i].first, strips[i].second, &d, &size,
                                &lines);
        for (int i = 0; i < ends && r == 1; i++)
            r = KorvProcessSISO(st, nullptr, 0, 0, &d, &size, &lines);
        EXPECT_EQ(r, 0u);
        std::string m = message_of(st);
        KorvCallEnd(st);
        return m;
    };
    EXPECT_EQ(message({{7, 2}}, 0), "invert: a strip of 7 bytes is not 2 whole lines of 4 bytes");
    EXPECT_EQ(message({{8, 2}, {8, 2}}, 0), "invert: more input than the image's 3 lines");
    EXPECT_EQ(message({{8, 2}}, 1), "invert: the input ended after 2 of its 3 lines");
    EXPECT_EQ(message({{12, 3}, {4, 1}}, 0), "invert: more input than the image's 3 lines");
    KorvFreeArray(reinterpret_cast<void **>(headers));
}

} // namespace
