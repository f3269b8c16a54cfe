// The front end end to end: the real kvrun from the staged tree, on images
// these tests write, through every format, every kvfx function, a chain,
// the standard streams and an http:// input; and its answers to bad usage
// and bad data (exit status, one error line, no output left behind).
#include "run_process.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

const bool kHavePng = KVRUN_HAVE_PNG; // as kvrun was built (never on Windows)

// An image as plain samples: w x h pixels of c samples of `bits` bits.
struct Image {
    uint32_t w = 0, h = 0, c = 0, bits = 8;
    std::vector<uint32_t> s;
    uint32_t max() const { return bits == 8 ? 255u : 65535u; }
    uint32_t &at(uint32_t x, uint32_t y, uint32_t k) { return s[(size_t(y) * w + x) * c + k]; }
    uint32_t at(uint32_t x, uint32_t y, uint32_t k) const { return s[(size_t(y) * w + x) * c + k]; }
    bool operator==(const Image &o) const
    {
        return w == o.w && h == o.h && c == o.c && bits == o.bits && s == o.s;
    }
};

Image pattern(uint32_t w, uint32_t h, uint32_t c, uint32_t bits)
{
    Image im{w, h, c, bits, std::vector<uint32_t>(size_t(w) * h * c)};
    uint32_t seed = 12345;
    for (auto &v : im.s) {
        seed = seed * 1103515245u + 12345u;
        v = (seed >> 8) % (im.max() + 1);
    }
    return im;
}

std::string pnm_bytes(const Image &im)
{
    std::string out = (im.c == 1 ? "P5\n" : "P6\n") + std::to_string(im.w) + " " +
                      std::to_string(im.h) + "\n" + std::to_string(im.max()) + "\n";
    for (uint32_t v : im.s) {
        if (im.bits == 16)
            out += char(v >> 8);
        out += char(v & 255);
    }
    return out;
}

std::string read_file(const std::string &name)
{
    std::ifstream f(name, std::ios::binary);
    std::stringstream ss;
    ss << f.rdbuf();
    return ss.str();
}

void write_file(const std::string &name, const std::string &bytes)
{
    std::ofstream(name, std::ios::binary) << bytes;
}

// The PNM that kvrun writes: "P5|P6\nW H\nMAX\n" then the samples.
Image read_pnm(const std::string &name)
{
    std::string b = read_file(name);
    std::istringstream in(b);
    std::string magic;
    Image im;
    uint32_t maxval = 0;
    in >> magic >> im.w >> im.h >> maxval;
    if (magic != "P5" && magic != "P6")
        return Image{};
    in.get();
    im.c = magic == "P5" ? 1 : 3;
    im.bits = maxval > 255 ? 16 : 8;
    size_t at = static_cast<size_t>(in.tellg());
    size_t n = size_t(im.w) * im.h * im.c;
    if (b.size() - at != n * (im.bits / 8))
        return Image{};
    im.s.resize(n);
    for (size_t i = 0; i < n; i++) {
        const auto *p = reinterpret_cast<const unsigned char *>(b.data() + at);
        im.s[i] = im.bits == 8 ? p[i] : (uint32_t(p[2 * i]) << 8) | p[2 * i + 1];
    }
    return im;
}

// A map of every sample.
Image map_samples(Image im, const std::function<uint32_t(uint32_t)> &f)
{
    for (auto &v : im.s)
        v = f(v);
    return im;
}

Image ref_boxblur(const Image &in, int r)
{
    Image out = in;
    const uint64_t n = uint64_t(2 * r + 1) * (2 * r + 1);
    for (uint32_t y = 0; y < in.h; y++)
        for (uint32_t x = 0; x < in.w; x++)
            for (uint32_t k = 0; k < in.c; k++) {
                uint64_t sum = 0;
                for (int dy = -r; dy <= r; dy++)
                    for (int dx = -r; dx <= r; dx++) {
                        int yy = std::clamp<int>(int(y) + dy, 0, int(in.h) - 1);
                        int xx = std::clamp<int>(int(x) + dx, 0, int(in.w) - 1);
                        sum += in.at(xx, yy, k);
                    }
                out.at(x, y, k) = uint32_t((2 * sum + n) / (2 * n));
            }
    return out;
}

Image ref_flip(const Image &in, bool h, bool v)
{
    Image out = in;
    for (uint32_t y = 0; y < in.h; y++)
        for (uint32_t x = 0; x < in.w; x++)
            for (uint32_t k = 0; k < in.c; k++)
                out.at(x, y, k) = in.at(h ? in.w - 1 - x : x, v ? in.h - 1 - y : y, k);
    return out;
}

Image ref_crop(const Image &in, uint32_t x0, uint32_t y0, uint32_t w, uint32_t h)
{
    Image out{w, h, in.c, in.bits, std::vector<uint32_t>(size_t(w) * h * in.c)};
    for (uint32_t y = 0; y < h; y++)
        for (uint32_t x = 0; x < w; x++)
            for (uint32_t k = 0; k < in.c; k++)
                out.at(x, y, k) = in.at(x0 + x, y0 + y, k);
    return out;
}

Image ref_grey(const Image &in)
{
    Image out{in.w, in.h, 1, in.bits, std::vector<uint32_t>(size_t(in.w) * in.h)};
    for (uint32_t y = 0; y < in.h; y++)
        for (uint32_t x = 0; x < in.w; x++) {
            double v = 0.299 * in.at(x, y, 0) + 0.587 * in.at(x, y, 1) + 0.114 * in.at(x, y, 2);
            out.at(x, y, 0) = std::min<uint32_t>(in.max(), uint32_t(v + 0.5));
        }
    return out;
}

// A PNG with its data in stored deflate blocks, so that the tests need no
// compressor: signature, IHDR, the extra chunks, IDAT, IEND.
uint32_t crc32_of(const std::string &bytes)
{
    uint32_t c = 0xffffffffu;
    for (unsigned char b : bytes) {
        c ^= b;
        for (int k = 0; k < 8; k++)
            c = (c >> 1) ^ (0xedb88320u & (0u - (c & 1u)));
    }
    return ~c;
}

std::string be32(uint32_t v)
{
    return {char(v >> 24), char(v >> 16), char(v >> 8), char(v)};
}

std::string png_chunk(const std::string &type, const std::string &data)
{
    return be32(uint32_t(data.size())) + type + data + be32(crc32_of(type + data));
}

std::string png_bytes(uint32_t w, uint32_t h, int depth, int type, int interlace,
                      const std::vector<std::string> &rows, const std::string &extra = "")
{
    std::string raw;
    for (auto &r : rows)
        raw += '\0' + r;
    uint32_t a = 1, b = 0;
    for (unsigned char x : raw)
        a = (a + x) % 65521, b = (b + a) % 65521;
    const uint16_t n = uint16_t(raw.size());
    std::string z = std::string("\x78\x01\x01", 3) + char(n & 255) + char(n >> 8) +
                    char(~n & 255) + char((~n >> 8) & 255) + raw + be32((b << 16) | a);
    std::string ihdr = be32(w) + be32(h) + char(depth) + char(type) + '\0' + '\0' + char(interlace);
    return std::string("\x89PNG\r\n\x1a\n", 8) + png_chunk("IHDR", ihdr) + extra +
           png_chunk("IDAT", z) + png_chunk("IEND", "");
}

// The sample lines of a pixelstream file, one text line per pixel.
std::string pixel_lines(const std::string &kvp)
{
    size_t at = kvp.find("\f\n");
    return at == std::string::npos ? "" : kvp.substr(at + 2);
}

struct Result {
    int code = -1;
    std::string out;
    std::string err;
    size_t err_lines() const { return size_t(std::count(err.begin(), err.end(), '\n')); }
};

// A scratch directory per test, under the build tree.
class Kvrun : public ::testing::Test {
protected:
    void SetUp() override
    {
        const char *base = std::getenv("KV_TEST_BINARY_DIR");
        dir_ = fs::path(base ? base : ".") / "scratch" /
               ::testing::UnitTest::GetInstance()->current_test_info()->name();
        fs::remove_all(dir_);
        fs::create_directories(dir_);
        const char *exe = std::getenv("KV_TEST_KVRUN");
        ASSERT_NE(exe, nullptr) << "KV_TEST_KVRUN is not set";
        exe_ = exe;
    }

    std::string file(const std::string &name) const { return native_path((dir_ / name).string()); }

    std::string put(const std::string &name, const Image &im) const
    {
        write_file(file(name), pnm_bytes(im));
        return file(name);
    }

    Result run(const std::vector<std::string> &args, const std::string &in = "") const
    {
        Result r;
        std::string out = (dir_.parent_path() / (dir_.filename().string() + ".out")).string();
        std::string err = (dir_.parent_path() / (dir_.filename().string() + ".err")).string();
        r.code = run_process(exe_, args, in, out, err);
        r.out = read_file(out);
        r.err = read_file(err);
        return r;
    }

    // Runs and expects success with nothing on standard error.
    void ok(const std::vector<std::string> &args)
    {
        Result r = run(args);
        EXPECT_EQ(r.code, 0) << r.err;
        EXPECT_EQ(r.err, "");
    }

    // Runs and expects failure with code, one error line holding `names`,
    // and no new file in the scratch directory.
    void refused(const std::vector<std::string> &args, int code, const std::string &names,
                 const std::string &in = "")
    {
        size_t before = files();
        Result r = run(args, in);
        EXPECT_EQ(r.code, code) << r.err;
        EXPECT_EQ(r.err_lines(), 1u) << r.err;
        EXPECT_EQ(r.err.rfind("kvrun: ", 0), 0u) << r.err;
        EXPECT_NE(r.err.find(names), std::string::npos) << r.err;
        EXPECT_EQ(files(), before) << "a run that failed left a file behind: " << r.err;
    }

    size_t files() const
    {
        size_t n = 0;
        for (auto &e : fs::directory_iterator(dir_))
            (void)e, ++n;
        return n;
    }

    fs::path dir_;
    std::string exe_;
};

TEST_F(Kvrun, EveryFormatRoundTrips)
{
    // Grey 8-bit, RGB 16-bit; through PNG (where built), image-ext and
    // pixelstream and back to PNM, every sample survives.
    for (const Image &im : {pattern(37, 23, 1, 8), pattern(19, 11, 3, 16)}) {
        std::string from = put(im.c == 1 ? "a.pgm" : "a.ppm", im);
        if (kHavePng) {
            ok({"copy", from, file("b.png")});
            from = file("b.png");
        } else {
            refused({"copy", from, file("b.png")}, 1, "PNG is not supported by this build");
        }
        ok({"copy", from, file("c.kvi")});
        ok({"copy", file("c.kvi"), file("d.kvp")});
        ok({"copy", file("d.kvp"), file("e.pnm")});
        EXPECT_EQ(read_pnm(file("e.pnm")), im);
    }
}

TEST_F(Kvrun, PngVariantsReadAsPlainSamples)
{
    // A palette with a transparent entry reads as RGBA, 1-bit grey as 8-bit
    // grey; interlaced PNG is refused. Without PNG in the build each is the
    // same usage error.
    const std::string palette = png_chunk("PLTE", std::string("\x0a\x14\x1e\x28\x32\x3c", 6)) +
                                png_chunk("tRNS", std::string("\xff\x00", 2));
    const std::vector<std::string> indexes = {std::string("\0\1", 2), std::string("\1\0", 2)};
    write_file(file("pal.png"), png_bytes(2, 2, 8, 3, 0, indexes, palette));
    write_file(file("bit.png"), png_bytes(3, 1, 1, 0, 0, {"\xa0"}));
    write_file(file("inter.png"), png_bytes(2, 2, 8, 0, 1, {"\1\2", "\3\4"}));
    if (!kHavePng) {
        for (const char *name : {"pal.png", "bit.png", "inter.png"})
            refused({"copy", file(name), file("x.kvp")}, 1, "PNG is not supported by this build");
        return;
    }
    ok({"copy", file("pal.png"), file("pal.kvp")});
    EXPECT_EQ(pixel_lines(read_file(file("pal.kvp"))),
              " 10 20 30 255\n 40 50 60 0\n 40 50 60 0\n 10 20 30 255\n");
    ok({"copy", file("bit.png"), file("bit.pgm")});
    EXPECT_TRUE(read_pnm(file("bit.pgm")) == (Image{3, 1, 1, 8, {255, 0, 255}}));
    refused({"copy", file("inter.png"), file("x.pgm")}, 2, "inter.png");
}

TEST_F(Kvrun, FunctionsMatchTheirReferences)
{
    // Big enough for several strips, so held-back context (boxblur) and
    // reversed strips (vertical flip) cross strip boundaries.
    const Image rgb = pattern(700, 620, 3, 8);
    const Image deep = pattern(33, 17, 3, 16);
    const std::string in = put("in.ppm", rgb), in16 = put("in16.ppm", deep);
    struct Case {
        std::vector<std::string> fn;
        const Image *input;
        Image want;
    } cases[] = {
        {{"invert"}, &rgb, map_samples(rgb, [](uint32_t v) { return 255 - v; })},
        {{"kvfx!invert"}, &deep, map_samples(deep, [](uint32_t v) { return 65535 - v; })},
        {{"threshold"}, &rgb, map_samples(rgb, [](uint32_t v) { return v >= 128 ? 255u : 0u; })},
        {{"threshold", "level=1000"}, &deep,
         map_samples(deep, [](uint32_t v) { return v >= 1000 ? 65535u : 0u; })},
        {{"levels", "gain=2", "offset=-10"}, &rgb,
         map_samples(rgb,
                     [](uint32_t v) { return uint32_t(std::clamp(2 * int(v) - 10, 0, 255)); })},
        {{"grey"}, &rgb, ref_grey(rgb)},
        {{"grey"}, &deep, ref_grey(deep)},
        {{"boxblur", "r=2"}, &rgb, ref_boxblur(rgb, 2)},
        {{"boxblur"}, &deep, ref_boxblur(deep, 1)},
        {{"flip", "dir=v"}, &rgb, ref_flip(rgb, false, true)},
        {{"flip", "dir=hv"}, &deep, ref_flip(deep, true, true)},
        {{"crop", "x=5", "y=300", "width=20", "height=310"}, &rgb, ref_crop(rgb, 5, 300, 20, 310)},
        {{"convert", "bits=16"}, &rgb, [&] {
             Image o = map_samples(rgb, [](uint32_t v) { return v * 257; });
             o.bits = 16;
             return o;
         }()},
        {{"convert", "bits=8"}, &deep, [&] {
             Image o = map_samples(deep, [](uint32_t v) { return (v * 255 + 32767) / 65535; });
             o.bits = 8;
             return o;
         }()},
    };
    for (const Case &c : cases) {
        std::vector<std::string> args = c.fn;
        args.push_back(c.input == &rgb ? in : in16);
        args.push_back(file("out.pnm"));
        SCOPED_TRACE(c.fn[0] + (c.fn.size() > 1 ? " " + c.fn[1] : ""));
        ok(args);
        EXPECT_TRUE(read_pnm(file("out.pnm")) == c.want);
    }
}

TEST_F(Kvrun, ChainEqualsTheFunctionsOneAfterAnother)
{
    const Image rgb = pattern(640, 900, 3, 8);
    const std::string in = put("in.ppm", rgb);
    ok({"invert", ":", "flip", "dir=v", ":", "boxblur", "r=3", ":", "grey", in,
        file("chain.pgm")});
    Image want = ref_grey(ref_boxblur(ref_flip(map_samples(rgb, [](uint32_t v) {
                                                   return 255 - v;
                                               }),
                                               false, true),
                                      3));
    EXPECT_TRUE(read_pnm(file("chain.pgm")) == want);
}

TEST_F(Kvrun, ImageExtFramesNeedNotMatchStrips)
{
    // Doubling the sample width writes frames of twice a reading strip;
    // dropping to one channel then writes frames of a third of one.
    const Image rgb = pattern(800, 700, 3, 8);
    ok({"convert", "bits=16", put("in.ppm", rgb), file("wide.kvi")});
    ok({"grey", file("wide.kvi"), file("narrow.kvi")});
    ok({"copy", file("narrow.kvi"), file("out.pgm")});
    Image deep = map_samples(rgb, [](uint32_t v) { return v * 257; });
    deep.bits = 16;
    EXPECT_TRUE(read_pnm(file("out.pgm")) == ref_grey(deep));
}

TEST_F(Kvrun, StandardInputAndOutput)
{
    const Image im = pattern(51, 40, 3, 8);
    const std::string in = put("in.ppm", im);
    Result r = run({"invert", "-", "-"}, in);
    ASSERT_EQ(r.code, 0) << r.err;
    EXPECT_EQ(r.err, "");
    write_file(file("piped.kvi"), r.out);
    ok({"copy", file("piped.kvi"), file("back.ppm")});
    EXPECT_TRUE(read_pnm(file("back.ppm")) == map_samples(im, [](uint32_t v) { return 255 - v; }));
}

TEST_F(Kvrun, HttpInput)
{
    const char *www = std::getenv("KV_TEST_WWW");
    ASSERT_NE(www, nullptr);
    std::string port = read_file(native_path(std::string(www) + "/port"));
    port.erase(port.find_last_not_of("\r\n ") + 1);
    ASSERT_FALSE(port.empty()) << "the test server did not start";
    const Image im = pattern(300, 200, 1, 16);
    write_file(native_path(std::string(www) + "/served.pgm"), pnm_bytes(im));
    const std::string base = "http://127.0.0.1:" + port + "/";
    ok({"invert", base + "served.pgm", file("got.pgm")});
    EXPECT_TRUE(read_pnm(file("got.pgm")) == map_samples(im, [](uint32_t v) { return 65535 - v; }));
    refused({"invert", base + "missing.pgm", file("x.pgm")}, 2, base + "missing.pgm");
}

TEST_F(Kvrun, BadUsageIsStatusOne)
{
    const std::string in = put("in.ppm", pattern(8, 6, 3, 8));
    const std::string out = file("out.ppm");
    refused({}, 1, "missing");
    refused({"invert", in}, 1, "missing operand");
    refused({"--frobnicate"}, 1, "--frobnicate");
    refused({"nosuchfn", in, out}, 1, "nosuchfn");
    refused({"invert", ":", in, out}, 1, "function");
    refused({"boxblur", "radius=2", in, out}, 1, "radius");
    refused({"boxblur", "r2", in, out}, 1, "r2");
    refused({"boxblur", "r=abc", in, out}, 1, "abc");
    refused({"flip", "dir=x", in, out}, 1, "dir");
    refused({"grey", put("g.pgm", pattern(4, 4, 1, 8)), out}, 1, "grey");
    refused({"invert", in, file("out.tiff")}, 1, "out.tiff");
    // RGBA cannot be written as PNM; made here through a pixelstream.
    ok({"copy", in, file("rgb.kvp")});
    std::string kvp = read_file(file("rgb.kvp"));
    ASSERT_NE(kvp.find("3 0 0"), std::string::npos) << kvp.substr(0, 300);
    kvp.replace(kvp.find("3 0 0"), 5, "4 0 0");
    std::string body = kvp.substr(kvp.find("\f\n") + 2), rgba;
    std::istringstream lines(body);
    for (std::string line; std::getline(lines, line);)
        rgba += line + " 255\n";
    write_file(file("rgba.kvp"), kvp.substr(0, kvp.find("\f\n") + 2) + rgba);
    refused({"copy", file("rgba.kvp"), out}, 1, "out.ppm");
    ok({"copy", file("rgba.kvp"), file("rgba.kvi")});
}

TEST_F(Kvrun, BadDataIsStatusTwo)
{
    const Image im = pattern(30, 20, 3, 8);
    const std::string good = pnm_bytes(im);
    write_file(file("short.ppm"), good.substr(0, good.size() - 7));
    write_file(file("magic.ppm"), "GIF89a" + good);
    write_file(file("header.ppm"), "P6\n30 x 20\n255\n" + good.substr(13));
    write_file(file("maxval.ppm"), "P6\n30 20\n70000\n" + good.substr(13));
    write_file(file("empty.ppm"), "");
    write_file(file("doc.kvi"), "<ID>\n[nonsense\n");
    const std::string out = file("out.ppm");
    refused({"invert", file("none.ppm"), out}, 2, "none.ppm");
    refused({"invert", file("short.ppm"), out}, 2, "short.ppm");
    refused({"invert", file("magic.ppm"), out}, 2, "magic.ppm");
    refused({"invert", file("header.ppm"), out}, 2, "header.ppm");
    refused({"invert", file("maxval.ppm"), out}, 2, "maxval.ppm");
    refused({"invert", file("empty.ppm"), out}, 2, "empty.ppm");
    refused({"invert", file("doc.kvi"), out}, 2, "doc.kvi");
    refused({"invert", "-", out}, 2, "standard input", file("short.ppm"));
    // A truncated image-ext: the frames end early.
    ok({"copy", put("in.ppm", im), file("whole.kvi")});
    std::string kvi = read_file(file("whole.kvi"));
    write_file(file("cut.kvi"), kvi.substr(0, kvi.size() - 100));
    refused({"invert", file("cut.kvi"), out}, 2, "cut.kvi");
    // A truncated PNG (where PNG is built; elsewhere the signature alone
    // makes the input a PNG this build refuses).
    if (kHavePng) {
        ok({"copy", file("in.ppm"), file("whole.png")});
        std::string png = read_file(file("whole.png"));
        write_file(file("cut.png"), png.substr(0, png.size() / 2));
        refused({"invert", file("cut.png"), out}, 2, "cut.png");
    } else {
        write_file(file("cut.png"), "\x89PNG\r\n\x1a\n....");
        refused({"invert", file("cut.png"), out}, 1, "PNG is not supported by this build");
    }
    // An existing output is left as it was when a run fails.
    write_file(out, "old");
    refused({"invert", file("short.ppm"), out}, 2, "short.ppm");
    EXPECT_EQ(read_file(out), "old");
}

TEST_F(Kvrun, HelpVersionAndList)
{
    Result help = run({"--help"});
    EXPECT_EQ(help.code, 0);
    EXPECT_NE(help.out.find("usage: kvrun"), std::string::npos);
    Result version = run({"--version"});
    EXPECT_EQ(version.code, 0);
    EXPECT_EQ(version.out.rfind("kvrun 5.19.0", 0), 0u) << version.out;
    Result list = run({"--list"});
    EXPECT_EQ(list.code, 0) << list.err;
    EXPECT_EQ(list.err, "");
    for (const char *fn : {"kvfx!invert", "kvfx!boxblur", "kvfx!flip", "kvrun!copy"})
        EXPECT_NE(list.out.find(fn), std::string::npos) << fn << " missing from:\n" << list.out;
    EXPECT_NE(list.out.find("r:i"), std::string::npos) << list.out;
}

} // namespace
