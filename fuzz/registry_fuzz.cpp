// Registry files of the module loader: the input is written to a scratch
// file and added to a new loader. No library can be opened: inputs that
// could name one of the system's (".so", "lib", "ld-") are passed over, and
// every other name is searched for in vain.
#include "fuzz_util.h"

#include <algorithm>

namespace {

bool may_name_a_library(const std::string &text)
{
    std::string lower = text;
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return static_cast<char>(tolower(c)); });
    return lower.find(".so") != std::string::npos || lower.find("lib") != std::string::npos ||
           lower.find("ld-") != std::string::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    std::string text(reinterpret_cast<const char *>(data), size);
    if (may_name_a_library(text))
        return 0;
    std::string path = fuzz_scratch_dir() + "/registry.reg";
    FILE *f = fopen(path.c_str(), "wb");
    if (!f)
        return 0;
    fwrite(data, 1, size, f);
    fclose(f);

    KorvModLoader *loader = nullptr;
    if (KorvBasicModLoaderCreate(&loader) != 1)
        return 0;
    uint32_t r = KorvBasicModLoaderAddRegistryFile(loader, path.c_str());
    if (r != 0 && r != 1 && r != 2 && r != 0xFFFFFFFFu)
        abort();
    // Aliases that were read are followed; no bundle answers them.
    KorvModule *m = loader->findModule(loader, "blur");
    if (m)
        abort();
    KorvBasicModLoaderGetList(loader, nullptr, nullptr);
    loader->release(loader);
    return 0;
}
