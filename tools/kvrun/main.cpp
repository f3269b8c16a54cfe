// kvrun: runs an image through processing functions found by the module
// loader, streaming it in strips from the input to the output.
#include "functions.h"
#include "options.h"
#include "output_file.h"
#include "pipeline.h"
#include "progress.h"
#include "sink.h"
#include "source.h"

#include <kvsup.h>

#include <cstdio>

namespace kvrun {

namespace {

// Usage errors come first (options, output format, functions and their
// arguments), then the input is read and the functions started, and only
// then is the output created.
Status run_request(const Request &request)
{
    Format format;
    Status st = output_format(request.output, format);
    if (!st.ok())
        return st;
    if (!png_supported() && extension_of(request.input) == "png")
        return png_unsupported(request.input);

    Library library;
    st = library.open();
    if (!st.ok())
        return st;
    Chain chain;
    st = chain.resolve(library, request.stages);
    if (!st.ok())
        return st;

    std::unique_ptr<Source> source;
    st = open_source(request.input, source);
    if (!st.ok())
        return st;
    st = chain.start(source->shape());
    if (!st.ok())
        return st;
    const ImageShape &out_shape = chain.output();
    st = check_output(format, out_shape, request.output);
    if (!st.ok())
        return st;

    OutputFile output;
    st = output.open(request.output);
    if (!st.ok())
        return st;
    std::unique_ptr<Sink> sink = make_sink(format, output.shown_name());
    st = sink->begin(output.stream(), out_shape);
    if (st.ok()) {
        Progress progress(request.progress, out_shape.height);
        Pipeline pipeline(*source, chain, *sink, progress);
        st = pipeline.run();
    }
    chain.end();
    sink.reset();
    if (!st.ok()) {
        output.discard();
        return st;
    }
    return output.commit();
}

int run(int argc, char **argv)
{
    Request request;
    Status st = parse_command_line(argc, argv, request);
    if (st.ok()) {
        switch (request.action) {
        case Request::kHelp:
            fputs(usage_text(), stdout);
            return kExitOk;
        case Request::kVersion: {
            const char *vers = KorvGetenv("KV_VERS");
            printf("kvrun %s (kvsup %s)\n", KVRUN_VERSION, vers ? vers : "?");
            return kExitOk;
        }
        case Request::kList: {
            Library library;
            st = library.open();
            if (st.ok())
                st = library.list(stdout);
            break;
        }
        case Request::kRun:
            st = run_request(request);
            break;
        }
    }
    if (!st.ok()) {
        print_error(st);
        return st.code;
    }
    return kExitOk;
}

} // namespace

} // namespace kvrun

int main(int argc, char **argv)
{
    KorvaneInit();
    int code = kvrun::run(argc, argv);
    fflush(stdout);
    KorvaneEnd();
    return code;
}
