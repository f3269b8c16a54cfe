// Coroutines on fibers. A thread that is not yet a fiber is converted for
// the length of one resume and converted back afterwards.
#include <windows.h>

#include <kvsup.h>

namespace {

// Runs the body; then marks the coroutine finished and returns to the
// resumer for good.
void WINAPI fiber_main(void *p) {
  auto *c = static_cast<KorvCoro *>(p);
  c->body(c, c->arg);
  c->finished = 1;
  SwitchToFiber(c->caller);
}

}  // namespace

extern "C" KORV_API uint32_t KorvCoroCreate(KorvCoro **out, KorvCoroBody body, void *arg,
                                            size_t stack_size) {
  if (!out) return 0;
  *out = nullptr;
  auto *c = static_cast<KorvCoro *>(korv_internal_calloc(1, sizeof(KorvCoro)));
  if (!c) return 0;
  c->body = body;
  c->arg = arg;
  c->fiber = CreateFiber(stack_size, fiber_main, c);
  if (!c->fiber) {
    korv_internal_free(c);
    return 0;
  }
  *out = c;
  return 1;
}

// Runs the coroutine until it yields or ends; 0 once it has finished. The
// fiber is deleted by the resume that sees the body return.
extern "C" KORV_API uint32_t KorvCoroResume(KorvCoro *c) {
  if (!c || c->finished || !c->fiber) return 0;
  bool converted = false;
  if (IsThreadAFiber()) {
    c->caller = GetCurrentFiber();
  } else {
    c->caller = ConvertThreadToFiber(nullptr);
    if (!c->caller) return 0;
    converted = true;
  }
  SwitchToFiber(c->fiber);
  if (converted) ConvertFiberToThread();
  c->caller = nullptr;
  if (c->finished) {
    DeleteFiber(c->fiber);
    c->fiber = nullptr;
  }
  return 1;
}

extern "C" KORV_API uint32_t KorvCoroYield(KorvCoro *c) {
  if (!c || !c->caller) return 0;
  SwitchToFiber(c->caller);
  return 1;
}

// A coroutine freed while suspended loses its stack without unwinding it.
extern "C" KORV_API uint32_t KorvCoroFree(KorvCoro *c) {
  if (!c) return 1;
  if (c->fiber) DeleteFiber(c->fiber);
  korv_internal_free(c);
  return 1;
}
