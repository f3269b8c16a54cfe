// Processing functions: the module loader that finds them, and a chain of
// started functions that strips of scan lines flow through.
#pragma once

#include "image.h"
#include "options.h"

#include <functional>
#include <string>
#include <vector>

namespace kvrun {

// The module loader of kvrun: the bundle registry file and KV_BUNDLES, found
// relative to the program's own tree, plus kvrun's built-in functions.
class Library {
public:
    ~Library();
    Status open();
    KorvModLoader *loader() const { return loader_; }
    // Writes every bundle's functions with their documentation to out.
    Status list(FILE *out);

private:
    KorvModLoader *loader_ = nullptr;
};

// The descriptor of a module, read from its descriptor document; null when
// the module names none or it cannot be read.
KorvFuncDesc *read_descriptor(const KorvModule *module);

// A strip of whole scan lines.
using StripSink = std::function<Status(unsigned char *data, uint32_t size, uint32_t lines)>;

class Chain {
public:
    ~Chain();
    // Finds every function of the request and checks its arguments against
    // its descriptor, before any input is read.
    Status resolve(Library &library, const std::vector<StageRequest> &requests);
    // Starts the functions, each fed the output of the one before; the
    // first is fed an image of geometry input.
    Status start(const ImageShape &input);
    // The geometry of the last function's output.
    const ImageShape &output() const { return stages_.back().out; }
    // Runs one strip of input through the chain; the last function's output
    // strips go to sink.
    Status feed(unsigned char *data, uint32_t lines, const StripSink &sink);
    // Ends the input: drains every function in turn.
    Status finish(const StripSink &sink);
    void end();

private:
    struct Stage {
        std::string name;
        const StageRequest *request = nullptr;
        KorvModule *module = nullptr;
        KorvState *state = nullptr;
        ImageShape in;
        ImageShape out;
        uint64_t lines_out = 0;
    };
    Status find(Stage &stage);
    Status start_stage(Stage &stage, KorvGenericHeader *input);
    Status run(size_t k, unsigned char *data, uint32_t size, uint32_t lines,
               const StripSink &sink);
    Status pass_on(size_t k, unsigned char *data, uint32_t size, uint32_t lines,
                   const StripSink &sink);
    Status failure(const Stage &stage, uint32_t result);

    Library *library_ = nullptr;
    std::vector<Stage> stages_;
    KorvGenericHeader *input_header_ = nullptr;
};

// kvrun's own bundle, "kvrun": the function "copy" (the image unchanged,
// for converting between formats).
void add_builtin_bundle(KorvModLoader *loader);
extern const char *const kBuiltinBundle;

} // namespace kvrun
