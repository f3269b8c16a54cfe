// CM documents: the token readers walk the text to its end, then the
// document is read into a tree, duplicated, written back, and the text
// written is read again.
#include "fuzz_util.h"

namespace {

void walk_tokens(const uint8_t *data, size_t size, int (*reader)(KorvIO *, KorvIO *))
{
    KorvIO *in = fuzz_stream(data, size);
    KorvIO *out = KorvIO_Mem(0);
    // Every token takes at least one byte, so the input bounds the walk.
    for (size_t i = 0; i <= size + 1; i++) {
        out->seek(out, 0, 0);
        int code = reader(in, out);
        if (code == KORV_CM_EOF || code == KORV_CM_FAIL)
            break;
    }
    out->close(out);
    in->close(in);
}

std::string write_tree(KorvCMNode *root)
{
    KorvIO *out = KorvIO_Mem(0);
    KorvWriteUserCMData(root, out);
    void *block = nullptr;
    uint64_t length = 0;
    std::string text;
    if (KorvIOReadBlock(out, &block, &length) == 1)
        text.assign(static_cast<char *>(block), length);
    korv_internal_free(block);
    out->close(out);
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    walk_tokens(data, size, KorvReadUserCM);
    walk_tokens(data, size, KorvReadOldUserCM);

    KorvIO *in = fuzz_stream(data, size);
    KorvCMNode *root = nullptr;
    uint32_t r = KorvReadUserCMData(in, &root, 0);
    in->close(in);
    if (r != 1) {
        KorvFreeUserCMData(root);
        return 0;
    }
    std::string first = write_tree(root);
    KorvCMNode *copy = KorvUserCMDupData(root);
    KorvFreeUserCMData(copy);
    KorvFreeUserCMData(root);

    // Nothing is escaped on the way out (a quote in a string, data of odd
    // length), so the text need not give the same tree back; it must read.
    in = fuzz_stream(reinterpret_cast<const uint8_t *>(first.data()), first.size());
    KorvCMNode *again = nullptr;
    KorvReadUserCMData(in, &again, 1);
    in->close(in);
    KorvFreeUserCMData(again);
    return 0;
}
