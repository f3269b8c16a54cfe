// KorvRealPath and the data-file search on fuzzed names inside a scratch
// directory. Every search entry starts with the scratch directory, so the
// candidates stay local files (never URLs).
#include "fuzz_util.h"

#include <sys/stat.h>

namespace {

void make_file(const std::string &path)
{
    if (FILE *f = fopen(path.c_str(), "w"))
        fclose(f);
}

std::string without_commas(std::string s)
{
    for (char &c : s)
        if (c == ',')
            c = '_';
    return s;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    const std::string &dir = fuzz_scratch_dir();
    mkdir((dir + "/d").c_str(), 0700);
    mkdir((dir + "/d/e").c_str(), 0700);
    make_file(dir + "/a.txt");
    make_file(dir + "/a.linux.txt");
    make_file(dir + "/d/b");
    make_file(dir + "/d/e/c.dat");
    KorvSetenv("SUB", "d/e");
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    FuzzInput in{data, size};
    uint8_t flags = in.byte();
    std::string name = in.text(0);
    std::string extension = in.text(0);
    const std::string &dir = fuzz_scratch_dir();

    std::string local = dir + "/" + name;
    const char *targets[] = {name.c_str(), local.c_str()};
    for (const char *t : targets) {
        char *real = KorvRealPath(t, flags & 1, (flags >> 1) & 1);
        if (real) {
            // Normal form is a fixed point.
            char *again = KorvRealPath(real, 0, 0);
            if (!again || strcmp(again, real) != 0)
                abort();
            korv_internal_free(again);
            korv_internal_free(real);
        }
    }

    std::string path = dir;
    for (int k = 0; k < 3 && !in.empty(); k++)
        path += "," + dir + "/" + without_commas(in.text(0));
    char *found = KorvFindFile(name.c_str(), (flags & 4) ? nullptr : extension.c_str(),
                               path.c_str());
    korv_internal_free(found);
    return 0;
}
