// Composite functions: a composite init entry drives other functions
// through a bridge table, which packs argument lists into binary blocks for
// the host and passes messages on to it.
#include <stdarg.h>
#include <kvsup.h>
#include "process/calls_internal.h"

namespace {

// Packs args into a block and hands it with the pairs to the host's call
// entry. 0 when there is no host to call or the list cannot be packed.
uint32_t call_host(KorvCompositeBridge *bridge, uint64_t id, const KorvArgWord *args,
                   uint32_t n, uint32_t count, KorvCallPair *pairs)
{
    KorvCompositeHost *host = bridge ? bridge->host : nullptr;
    if (!host || !host->call)
        return 0;
    KorvBinArgDesc *block = nullptr;
    int32_t size = KorvBinArgFromArgs(args, &block);
    if (size == -1) {
        korv_internal_free(block);
        return 0;
    }
    uint32_t r = host->call(host, id, size, block, n, count, pairs);
    korv_internal_free(block);
    return r;
}

// The pairs arrive as further arguments: a 64-bit value and a 32-bit value
// each.
uint32_t bridge_call_bin(KorvCompositeBridge *bridge, uint64_t id, const KorvArgWord *args,
                         uint32_t n, uint32_t count, ...)
{
    KorvCallPair *pairs = nullptr;
    if (count) {
        pairs = static_cast<KorvCallPair *>(korv_internal_malloc(count * sizeof(KorvCallPair)));
        if (!pairs)
            return 0;
        va_list ap;
        va_start(ap, count);
        for (uint32_t i = 0; i < count; i++) {
            pairs[i].value = va_arg(ap, uint64_t);
            pairs[i].n = va_arg(ap, uint32_t);
        }
        va_end(ap);
    }
    uint32_t r = call_host(bridge, id, args, n, count, pairs);
    korv_internal_free(pairs);
    return r;
}

uint32_t bridge_call_bin_array(KorvCompositeBridge *bridge, uint64_t id, const KorvArgWord *args,
                               uint32_t n, uint32_t count, KorvCallPair *pairs)
{
    return call_host(bridge, id, args, n, count, pairs);
}

uint32_t bridge_forward(KorvCompositeBridge *bridge, uintptr_t a, uintptr_t b, uintptr_t c,
                        uintptr_t d)
{
    KorvCompositeHost *host = bridge ? bridge->host : nullptr;
    if (!host || !host->forward)
        return 0;
    return host->forward(host, a, b, c, d);
}

void bridge_message(KorvCompositeBridge *bridge, const char *format, ...)
{
    KorvCompositeHost *host = bridge ? bridge->host : nullptr;
    if (!host || !host->message || !format)
        return;
    char *text = nullptr;
    va_list ap;
    va_start(ap, format);
    KorvVASPrintf(&text, format, ap);
    va_end(ap);
    if (!text)
        return; // out of memory: the message is lost
    host->message(host, text);
    korv_internal_free(text);
}

} // namespace

extern "C" KORV_API uint32_t KorvCallCompositeInit(KorvFuncDesc *desc, KorvArgWord *args,
                                                   KorvCompositeBridge *bridge, uintptr_t value)
{
    if (!desc || !args || !bridge)
        return 0;
    auto entry = reinterpret_cast<KorvCompositeInitFn>(korv::calls::resolve_entry(desc));
    if (!entry)
        return 0;
    return entry(desc, args, bridge, value);
}

extern "C" KORV_API uint32_t KorvCallCompositeInitBin(KorvFuncDesc *desc, uint32_t argCount,
                                                      const KorvBinArgDesc *block,
                                                      int32_t headerCount,
                                                      const void *const *headers,
                                                      KorvCompositeHost *host)
{
    korv::calls::BinArgs args;
    if (!korv::calls::unpack_bin_args(argCount, block, headerCount, headers, &args))
        return 0;
    // The bridge lives only during the call: the entry must not keep it.
    KorvCompositeBridge bridge = {bridge_call_bin, bridge_call_bin_array, bridge_forward,
                                  bridge_message, host};
    uint32_t r = 0;
    auto entry = reinterpret_cast<KorvCompositeInitFn>(korv::calls::resolve_entry(desc));
    if (entry)
        r = entry(desc, args.list, &bridge, 0);
    korv::calls::release_bin_args(&args);
    return r;
}
