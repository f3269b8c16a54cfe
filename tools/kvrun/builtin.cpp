// kvrun's built-in bundle. "copy" hands every strip on unchanged, so that
// "kvrun copy in.png out.ppm" converts between formats.
#include "functions.h"

#include <cstring>

namespace kvrun {

const char *const kBuiltinBundle = "kvrun";

namespace {

struct CopyState {
    KorvState common;
    KorvGenericHeader *headers[2];
};

uint32_t copy_process(KorvState *state, void *, void *, void *)
{
    void *data = nullptr;
    uint32_t size = 0, lines = 0;
    KorvGetChunk(state->inputChunks, 0, &data, &size, &lines);
    KorvSetChunk(state->outputChunks, 0, data, data ? size : 0, data ? lines : 0);
    return 1;
}

uint32_t copy_end(KorvState *state)
{
    auto *s = reinterpret_cast<CopyState *>(state);
    KorvFreeArray(reinterpret_cast<void **>(state->inputChunks));
    KorvFreeArray(reinterpret_cast<void **>(state->outputChunks));
    if (s->headers[0] && s->headers[0]->free)
        s->headers[0]->free(s->headers[0]);
    korv_internal_free(state->errorMsg);
    state->errorMsg = nullptr;
    return KorvFreeState(state);
}

// The entries of an argument list: a name word, value words, a null word.
uint32_t copy_init(KorvArgWord *args, KorvState **out, KorvFuncDesc *)
{
    KorvGenericHeader **inputs = nullptr;
    const char *unknown = nullptr;
    for (size_t i = 0; args && args[i] != KORV_ARG_END;) {
        const char *name = reinterpret_cast<const char *>(args[i]);
        size_t j = i + 1;
        if (strcmp(name, "input:h") == 0)
            inputs = reinterpret_cast<KorvGenericHeader **>(args[j]);
        else if (!unknown)
            unknown = name;
        while (args[j] != KORV_ARG_NULL)
            j++;
        i = j + 1;
    }
    KorvState *state = nullptr;
    if (!KorvAllocState(&state, static_cast<int32_t>(sizeof(CopyState))))
        return 0;
    *out = state;
    auto *s = reinterpret_cast<CopyState *>(state);
    state->name = "copy";
    state->processPoint = copy_process;
    state->endPoint = copy_end;
    state->outputHeaders = s->headers;
    if (unknown) {
        std::string arg(unknown);
        arg = arg.substr(0, arg.find(':'));
        KorvSetError(state, 0, "copy: unknown argument '%s' (copy takes none)", arg.c_str());
        return 0;
    }
    if (!inputs || !inputs[0]) {
        KorvSetError(state, 0, "copy: no input image");
        return 0;
    }
    s->headers[0] = KorvGenericHeaderCopy(inputs[0]);
    KorvAllocArray(reinterpret_cast<void ***>(&state->inputChunks), 1, sizeof(KorvChunk));
    KorvAllocArray(reinterpret_cast<void ***>(&state->outputChunks), 1, sizeof(KorvChunk));
    if (!s->headers[0] || !state->inputChunks || !state->outputChunks) {
        KorvSetError(state, 0, "copy: out of memory");
        return 0;
    }
    return 1;
}

const int32_t kMajor = KORV_BUNDLE_MAJOR_VERSION;
KorvModule copy_module = {kBuiltinBundle, "copy", nullptr, copy_init, nullptr};
KorvModule *modules[] = {&copy_module, nullptr};

const int32_t *builtin_version() { return &kMajor; }
KorvModule **builtin_list() { return modules; }
KorvModule *builtin_module(const char *name)
{
    return name && strcmp(name, "copy") == 0 ? &copy_module : nullptr;
}

} // namespace

void add_builtin_bundle(KorvModLoader *loader)
{
    KorvBasicModLoaderAddFunctions(loader, kBuiltinBundle, builtin_version, builtin_list,
                                   builtin_module);
}

} // namespace kvrun
