#include "functions.h"

#include <cstdlib>
#include <cstring>

namespace kvrun {

namespace {

#if defined(_WIN32)
const char *const kBundleSuffix = ".dll";
#else
const char *const kBundleSuffix = ".so";
#endif

// The directory part of a path ("" when there is none).
std::string parent_of(const std::string &path)
{
    size_t sep = path.find_last_of("/\\");
    return sep == std::string::npos ? std::string() : path.substr(0, sep);
}

bool same_name(const std::string &a, const char *b)
{
    if (a.size() != strlen(b))
        return false;
    for (size_t i = 0; i < a.size(); i++) {
        char x = a[i], y = b[i];
        if (x >= 'A' && x <= 'Z')
            x = static_cast<char>(x - 'A' + 'a');
        if (y >= 'A' && y <= 'Z')
            y = static_cast<char>(y - 'A' + 'a');
        if (x != y)
            return false;
    }
    return true;
}

// The argument names a descriptor declares ("radius:d" declares radius).
std::vector<std::string> declared_args(const KorvFuncDesc *desc)
{
    std::vector<std::string> names;
    for (char **a = desc ? desc->args : nullptr; a && *a; a++) {
        std::string s(*a);
        names.push_back(s.substr(0, s.find(':')));
    }
    return names;
}

std::string join(const std::vector<std::string> &names)
{
    if (names.empty())
        return "none";
    std::string out;
    for (auto &n : names)
        out += (out.empty() ? "" : ", ") + n;
    return out;
}

void free_descriptor(KorvFuncDesc *desc)
{
    if (desc && desc->free)
        desc->free(desc);
}

// Text of a descriptor field for --list, each line indented.
void print_indented(FILE *out, const char *text, const char *indent)
{
    std::string s = trim_message(text);
    size_t start = 0;
    while (start <= s.size()) {
        size_t end = s.find('\n', start);
        std::string line = s.substr(start, end == std::string::npos ? std::string::npos
                                                                     : end - start);
        fprintf(out, "%s%s\n", indent, line.c_str());
        if (end == std::string::npos)
            break;
        start = end + 1;
    }
}

} // namespace

KorvFuncDesc *read_descriptor(const KorvModule *module)
{
    if (!module || !module->descriptor)
        return nullptr;
    char *file = KorvFuncDescFileName(module->descriptor);
    if (!file)
        return nullptr;
    KorvIO *io = KorvIO_FileName(file, "r");
    korv_internal_free(file);
    if (!io)
        return nullptr;
    KorvFuncDesc *desc = KorvAllocFuncDesc();
    if (desc && KorvReadFuncDesc(io, desc) != 1) {
        free_descriptor(desc);
        desc = nullptr;
    }
    io->close(io);
    return desc;
}

Library::~Library()
{
    if (loader_)
        loader_->release(loader_);
}

// The program's tree: bin/kvrun, share/kvsup (KV_RELEASE, whose data/korv
// holds the descriptors and the registry "kvsup.reg"), lib/kvsup/bundles.
Status Library::open()
{
    const char *exe_dir = KorvGetExecutablePath();
    std::string root = exe_dir ? parent_of(exe_dir) : std::string(".");
    const std::string sep = KORV_PATH_SEP_STR;
    if (!getenv("KV_RELEASE")) {
        std::string release = root + sep + "share" + sep + "kvsup";
        KorvSetenv("KV_RELEASE", release.c_str());
    }
    if (KorvBasicModLoaderCreate(&loader_) != 1 || !loader_)
        return fail(kExitData, "cannot create the module loader (out of memory)");
    add_builtin_bundle(loader_);
    std::string defaults = root + sep + "lib" + sep + "kvsup" + sep + "bundles" + sep + "kvfx" +
                           kBundleSuffix;
    // Bundles that fail to load only make their functions unknown; that is
    // reported when such a function is asked for.
    KorvBasicModLoaderAddDefaults(loader_, "kvsup.reg", "${KV_RELEASE}/data/korv", "KV_BUNDLES",
                                  defaults.c_str());
    return Status{};
}

Status Library::list(FILE *out)
{
    KorvModule **modules = nullptr;
    KorvBasicModLoaderGetList(loader_, nullptr, &modules);
    for (KorvModule **m = modules; m && *m; m++) {
        const KorvModule *module = *m;
        fprintf(out, "%s!%s\n", module->bundle ? module->bundle : "?",
                module->name ? module->name : "?");
        if (module->bundle && strcmp(module->bundle, kBuiltinBundle) == 0) {
            fprintf(out, "    The image unchanged: converts between formats.\n"
                         "    arguments: none\n");
            continue;
        }
        KorvFuncDesc *desc = read_descriptor(module);
        if (!desc) {
            fprintf(out, "    (no descriptor)\n");
            continue;
        }
        if (desc->description)
            print_indented(out, desc->description, "    ");
        fprintf(out, "    arguments:");
        if (!desc->args)
            fprintf(out, " none");
        for (char **a = desc->args; a && *a; a++)
            fprintf(out, " %s", *a);
        fprintf(out, "\n");
        if (desc->documentation)
            print_indented(out, desc->documentation, "      ");
        free_descriptor(desc);
    }
    korv_internal_free(modules);
    fflush(out);
    return Status{};
}

Chain::~Chain() { end(); }

void Chain::end()
{
    // A function's output header is its own until it ends, and the next
    // function was handed it: end from the last to the first.
    for (size_t k = stages_.size(); k-- > 0;) {
        Stage &s = stages_[k];
        if (s.state)
            KorvCallEnd(s.state);
        s.state = nullptr;
        if (s.module && library_)
            library_->loader()->releaseModule(library_->loader(), s.module);
        s.module = nullptr;
    }
    stages_.clear();
    if (input_header_ && input_header_->free)
        input_header_->free(input_header_);
    input_header_ = nullptr;
}

Status Chain::resolve(Library &library, const std::vector<StageRequest> &requests)
{
    library_ = &library;
    stages_.reserve(requests.size());
    for (const StageRequest &request : requests) {
        stages_.emplace_back();
        Stage &stage = stages_.back();
        stage.name = request.function;
        stage.request = &request;
        Status st = find(stage);
        if (!st.ok())
            return st;
    }
    return Status{};
}

Status Chain::find(Stage &stage)
{
    const StageRequest &request = *stage.request;
    KorvModLoader *loader = library_->loader();
    stage.module = loader->findModule(loader, request.function.c_str());
    if (!stage.module)
        return fail(kExitUsage, "unknown function '%s' (see kvrun --list)",
                    request.function.c_str());
    if (!stage.module->init)
        return fail(kExitUsage, "%s: not a function kvrun can run (no init entry)",
                    request.function.c_str());
    // The descriptor, when there is one, names the arguments the function
    // takes; others are refused before anything is read.
    KorvFuncDesc *desc = read_descriptor(stage.module);
    if (!desc)
        return Status{};
    std::vector<std::string> known = declared_args(desc);
    free_descriptor(desc);
    for (auto &arg : request.args) {
        bool found = false;
        for (auto &k : known)
            found = found || same_name(k, arg.first.c_str());
        if (!found)
            return fail(kExitUsage, "%s: unknown argument '%s' (arguments: %s)",
                        request.function.c_str(), arg.first.c_str(), join(known).c_str());
    }
    return Status{};
}

Status Chain::start(const ImageShape &input)
{
    input_header_ = make_header(input);
    if (!input_header_)
        return fail(kExitData, "out of memory");
    KorvGenericHeader *header = input_header_;
    ImageShape in = input;
    for (Stage &stage : stages_) {
        stage.in = in;
        Status st = start_stage(stage, header);
        if (!st.ok())
            return st;
        header = stage.state->outputHeaders[0];
        in = stage.out;
    }
    return Status{};
}

Status Chain::start_stage(Stage &stage, KorvGenericHeader *input)
{
    const StageRequest &request = *stage.request;
    std::vector<std::string> names;
    names.reserve(request.args.size());
    for (auto &arg : request.args)
        names.push_back(arg.first + ":s");
    KorvGenericHeader *inputs[2] = {input, nullptr};
    std::vector<KorvArgWord> words;
    for (size_t i = 0; i < request.args.size(); i++) {
        words.push_back(reinterpret_cast<KorvArgWord>(names[i].c_str()));
        words.push_back(reinterpret_cast<KorvArgWord>(request.args[i].second.c_str()));
        words.push_back(KORV_ARG_NULL);
    }
    words.push_back(reinterpret_cast<KorvArgWord>("input:h"));
    words.push_back(reinterpret_cast<KorvArgWord>(inputs));
    words.push_back(KORV_ARG_NULL);
    words.push_back(KORV_ARG_END);

    KorvState *state = nullptr;
    uint32_t r = KorvCallInit(stage.module->init, words.data(), &state);
    if (r != 1) {
        std::string message = state ? trim_message(KorvGetErrorMsg(state)) : std::string();
        if (state)
            KorvCallEnd(state);
        if (message.empty())
            message = request.function + ": cannot start with this input or these arguments";
        return usage_error(message);
    }
    stage.state = state;
    if (!state || !state->outputHeaders || !state->outputHeaders[0] || !state->inputChunks ||
        !state->outputChunks)
        return fail(kExitData, "%s: the function gave no output image", stage.name.c_str());
    return shape_from_header(state->outputHeaders[0], stage.name.c_str(), stage.out);
}

Status Chain::failure(const Stage &stage, uint32_t result)
{
    std::string message = trim_message(KorvGetErrorMsg(stage.state));
    if (message.empty())
        return fail(kExitData, "%s: processing failed (result %d)", stage.name.c_str(),
                    static_cast<int32_t>(result));
    return data_error(message);
}

// Hands the output of function k on: to function k + 1, or to the sink.
Status Chain::pass_on(size_t k, unsigned char *data, uint32_t size, uint32_t lines,
                      const StripSink &sink)
{
    Stage &s = stages_[k];
    if (lines == 0)
        return Status{};
    if (!data || uint64_t(size) != s.out.line_bytes() * lines)
        return fail(kExitData, "%s: an output strip of %u bytes is not %u whole scan lines",
                    s.name.c_str(), size, lines);
    s.lines_out += lines;
    if (s.lines_out > s.out.height)
        return fail(kExitData, "%s: more scan lines than its output image has (%u)",
                    s.name.c_str(), s.out.height);
    if (k + 1 < stages_.size())
        return run(k + 1, data, size, lines, sink);
    return sink(data, size, lines);
}

Status Chain::run(size_t k, unsigned char *data, uint32_t size, uint32_t lines,
                  const StripSink &sink)
{
    Stage &s = stages_[k];
    void *out = nullptr;
    uint32_t out_size = 0, out_lines = 0;
    uint32_t r = KorvProcessSISO(s.state, data, size, lines, &out, &out_size, &out_lines);
    if (r != 1)
        return failure(s, r);
    return pass_on(k, static_cast<unsigned char *>(out), out_size, out_lines, sink);
}

Status Chain::feed(unsigned char *data, uint32_t lines, const StripSink &sink)
{
    uint64_t size = stages_.front().in.line_bytes() * lines;
    return run(0, data, static_cast<uint32_t>(size), lines, sink);
}

// End of input, function by function: each is called without data until it
// has handed out its last strip (result 1; 2 means more is coming), and what
// it hands out still flows through the functions after it.
Status Chain::finish(const StripSink &sink)
{
    // A function that keeps asking to be called without giving anything is
    // stopped rather than waited for.
    const uint32_t kIdleLimit = 100000;
    for (size_t k = 0; k < stages_.size(); k++) {
        Stage &s = stages_[k];
        for (uint32_t idle = 0;;) {
            void *out = nullptr;
            uint32_t out_size = 0, out_lines = 0;
            uint32_t r = KorvProcessSISO(s.state, nullptr, 0, 0, &out, &out_size, &out_lines);
            if (r != 1 && r != 2)
                return failure(s, r);
            idle = out_lines ? 0 : idle + 1;
            if (r == 2 && idle >= kIdleLimit)
                return fail(kExitData, "%s: gives no more scan lines but does not end",
                            s.name.c_str());
            Status st = pass_on(k, static_cast<unsigned char *>(out), out_size, out_lines, sink);
            if (!st.ok())
                return st;
            if (r == 1)
                break;
        }
        if (s.lines_out != s.out.height)
            return fail(kExitData, "%s: gave %llu of the %u scan lines of its output image",
                        s.name.c_str(), static_cast<unsigned long long>(s.lines_out),
                        s.out.height);
    }
    return Status{};
}

} // namespace kvrun
