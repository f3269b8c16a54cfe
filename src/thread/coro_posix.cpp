// Coroutines on a stack of their own. On x86-64 and on 64-bit Arm control
// moves by a small switch of kvsup's own that saves only the callee-saved
// registers and the floating-point control words; elsewhere it moves by
// swapcontext (also where KORV_CORO_UCONTEXT is defined, to try that path).
//
// `fiber` points to the coroutine's Context; `caller` to the resumer's
// Context, which lives on the resumer's stack for the length of one resume.
#include <stddef.h>
#include <stdint.h>

#include <kvsup.h>

#if (defined(__x86_64__) || defined(__aarch64__)) && !defined(KORV_CORO_UCONTEXT)
#define KORV_CORO_OWN_SWITCH 1
#else
#include <ucontext.h>
#endif

#if defined(__SANITIZE_THREAD__)
#define KORV_TSAN_FIBERS 1
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define KORV_TSAN_FIBERS 1
#endif
#endif

#if defined(KORV_TSAN_FIBERS)
extern "C" {
void *__tsan_get_current_fiber(void);
void *__tsan_create_fiber(unsigned flags);
void __tsan_destroy_fiber(void *fiber);
void __tsan_switch_to_fiber(void *fiber, unsigned flags);
}
#endif

namespace {

constexpr size_t kDefaultStack = 1024 * 1024;
constexpr size_t kMinStack = 16 * 1024;

struct Context {
#if defined(KORV_CORO_OWN_SWITCH)
  void *sp;  // saved stack pointer while not running
#else
  ucontext_t uc;
#endif
  void *stack;      // the stack block (null for a resumer's context)
  void *tsan_fiber; // the sanitizer's view of this context
};

void coro_main(KorvCoro *c);

#if defined(KORV_CORO_OWN_SWITCH) && defined(__x86_64__)

// korv_ctx_switch(save, to): saves the callee-saved state on the current
// stack, stores the stack pointer in *save and continues on `to`.
// A new context starts in korv_ctx_start with the coroutine in r12 and the
// entry in r13; the entry never returns.
extern "C" void korv_ctx_switch(void **save, void *to);
asm(R"(
  .pushsection .text
  .p2align 4
  .type korv_ctx_switch,@function
korv_ctx_switch:
  pushq %rbp
  pushq %rbx
  pushq %r12
  pushq %r13
  pushq %r14
  pushq %r15
  subq $8, %rsp
  stmxcsr (%rsp)
  fnstcw 4(%rsp)
  movq %rsp, (%rdi)
  movq %rsi, %rsp
  ldmxcsr (%rsp)
  fldcw 4(%rsp)
  addq $8, %rsp
  popq %r15
  popq %r14
  popq %r13
  popq %r12
  popq %rbx
  popq %rbp
  ret
  .size korv_ctx_switch,.-korv_ctx_switch

  .p2align 4
  .type korv_ctx_start,@function
korv_ctx_start:
  movq %r12, %rdi
  callq *%r13
  ud2
  .size korv_ctx_start,.-korv_ctx_start
  .popsection
)");
extern "C" void korv_ctx_start(void);

// Lays out a first frame that korv_ctx_switch "returns" into.
void prepare(Context *ctx, void *stack, size_t size, KorvCoro *c) {
  uintptr_t top = (reinterpret_cast<uintptr_t>(stack) + size) & ~uintptr_t(15);
  auto *w = reinterpret_cast<uint64_t *>(top);
  w[-1] = 0;                                            // padding
  w[-2] = 0;                                            // alignment slot
  w[-3] = reinterpret_cast<uint64_t>(&korv_ctx_start);  // return address
  w[-4] = 0;                                            // rbp
  w[-5] = 0;                                            // rbx
  w[-6] = reinterpret_cast<uint64_t>(c);                // r12
  w[-7] = reinterpret_cast<uint64_t>(&coro_main);       // r13
  w[-8] = 0;                                            // r14
  w[-9] = 0;                                            // r15
  w[-10] = 0x1F80u | (uint64_t(0x037Fu) << 32);         // mxcsr, x87 control word
  ctx->sp = &w[-10];
}

#elif defined(KORV_CORO_OWN_SWITCH) && defined(__aarch64__)

// korv_ctx_switch(save, to): saves the registers a call must preserve
// (x19-x28, the frame pointer x29, the link register x30, the low halves
// d8-d15 of v8-v15) and the floating-point control register in a 176-byte
// frame on the current stack, stores the stack pointer in *save and
// continues on `to`, "returning" through the x30 found there.
// A new context starts in korv_ctx_start with the coroutine in x19 and the
// entry in x20; the entry never returns.
// Both are local to this file: declared hidden, their addresses are formed
// relative to the code, never read from the GOT (whose entry the assembler
// would bind to the start of the section for a local symbol).
extern "C" [[gnu::visibility("hidden")]] void korv_ctx_switch(void **save, void *to);
asm(R"(
  .pushsection .text
  .p2align 4
  .type korv_ctx_switch,%function
korv_ctx_switch:
  sub sp, sp, #176
  stp x19, x20, [sp, #0]
  stp x21, x22, [sp, #16]
  stp x23, x24, [sp, #32]
  stp x25, x26, [sp, #48]
  stp x27, x28, [sp, #64]
  stp x29, x30, [sp, #80]
  stp d8, d9, [sp, #96]
  stp d10, d11, [sp, #112]
  stp d12, d13, [sp, #128]
  stp d14, d15, [sp, #144]
  mrs x9, fpcr
  str x9, [sp, #160]
  mov x9, sp
  str x9, [x0]
  mov sp, x1
  ldp x19, x20, [sp, #0]
  ldp x21, x22, [sp, #16]
  ldp x23, x24, [sp, #32]
  ldp x25, x26, [sp, #48]
  ldp x27, x28, [sp, #64]
  ldp x29, x30, [sp, #80]
  ldp d8, d9, [sp, #96]
  ldp d10, d11, [sp, #112]
  ldp d12, d13, [sp, #128]
  ldp d14, d15, [sp, #144]
  ldr x9, [sp, #160]
  msr fpcr, x9
  add sp, sp, #176
  ret
  .size korv_ctx_switch,.-korv_ctx_switch

  .p2align 4
  .type korv_ctx_start,%function
korv_ctx_start:
  mov x0, x19
  blr x20
  brk #0x3e8
  .size korv_ctx_start,.-korv_ctx_start
  .popsection
)");
extern "C" [[gnu::visibility("hidden")]] void korv_ctx_start(void);

// Lays out a first frame that korv_ctx_switch "returns" into: x30 holds the
// start routine, x29 is 0 so that a stack walk ends there, and the
// floating-point control register starts at its reset value (round to
// nearest, no traps, no flush to zero).
void prepare(Context *ctx, void *stack, size_t size, KorvCoro *c) {
  uintptr_t top = (reinterpret_cast<uintptr_t>(stack) + size) & ~uintptr_t(15);
  auto *w = reinterpret_cast<uint64_t *>(top - 176);
  for (int i = 0; i < 22; i++) w[i] = 0;
  w[0] = reinterpret_cast<uint64_t>(c);                 // x19
  w[1] = reinterpret_cast<uint64_t>(&coro_main);        // x20
  w[11] = reinterpret_cast<uint64_t>(&korv_ctx_start);  // x30
  ctx->sp = w;
}

#endif

#if defined(KORV_CORO_OWN_SWITCH)

void jump(Context *from, Context *to) { korv_ctx_switch(&from->sp, to->sp); }

#else

void trampoline(unsigned hi, unsigned lo) {
  uintptr_t p = (uintptr_t(hi) << 16 << 16) | uintptr_t(lo);
  coro_main(reinterpret_cast<KorvCoro *>(p));
}

void prepare(Context *ctx, void *stack, size_t size, KorvCoro *c) {
  getcontext(&ctx->uc);
  ctx->uc.uc_stack.ss_sp = stack;
  ctx->uc.uc_stack.ss_size = size;
  ctx->uc.uc_link = nullptr;
  uintptr_t p = reinterpret_cast<uintptr_t>(c);
  makecontext(&ctx->uc, reinterpret_cast<void (*)()>(trampoline), 2,
              unsigned(p >> 16 >> 16), unsigned(p & 0xFFFFFFFFu));
}

void jump(Context *from, Context *to) { swapcontext(&from->uc, &to->uc); }

#endif

void switch_to(Context *from, Context *to) {
#if defined(KORV_TSAN_FIBERS)
  __tsan_switch_to_fiber(to->tsan_fiber, 0);
#endif
  jump(from, to);
}

// Runs the body; then marks the coroutine finished and returns to the
// resumer for good.
void coro_main(KorvCoro *c) {
  c->body(c, c->arg);
  c->finished = 1;
  switch_to(static_cast<Context *>(c->fiber), static_cast<Context *>(c->caller));
  __builtin_trap();
}

void delete_context(Context *ctx) {
#if defined(KORV_TSAN_FIBERS)
  __tsan_destroy_fiber(ctx->tsan_fiber);
#endif
  korv_internal_free(ctx->stack);
  korv_internal_free(ctx);
}

}  // namespace

extern "C" KORV_API uint32_t KorvCoroCreate(KorvCoro **out, KorvCoroBody body, void *arg,
                                            size_t stack_size) {
  if (!out) return 0;
  *out = nullptr;
  auto *c = static_cast<KorvCoro *>(korv_internal_calloc(1, sizeof(KorvCoro)));
  if (!c) return 0;
  size_t size = stack_size == 0 ? kDefaultStack : stack_size < kMinStack ? kMinStack : stack_size;
  auto *ctx = static_cast<Context *>(korv_internal_calloc(1, sizeof(Context)));
  void *stack = ctx ? korv_internal_malloc(size) : nullptr;
  if (!stack) {
    korv_internal_free(ctx);
    korv_internal_free(c);
    return 0;
  }
  c->body = body;
  c->arg = arg;
  ctx->stack = stack;
  prepare(ctx, stack, size, c);
#if defined(KORV_TSAN_FIBERS)
  ctx->tsan_fiber = __tsan_create_fiber(0);
#endif
  c->fiber = ctx;
  *out = c;
  return 1;
}

// Runs the coroutine until it yields or ends; 0 once it has finished. The
// stack is released by the resume that sees the body return.
extern "C" KORV_API uint32_t KorvCoroResume(KorvCoro *c) {
  if (!c || c->finished || !c->fiber) return 0;
  Context self{};
#if defined(KORV_TSAN_FIBERS)
  self.tsan_fiber = __tsan_get_current_fiber();
#endif
  c->caller = &self;
  switch_to(&self, static_cast<Context *>(c->fiber));
  c->caller = nullptr;  // the resumer's context ends with this call
  if (c->finished) {
    delete_context(static_cast<Context *>(c->fiber));
    c->fiber = nullptr;
  }
  return 1;
}

extern "C" KORV_API uint32_t KorvCoroYield(KorvCoro *c) {
  if (!c || !c->fiber || !c->caller) return 0;
  switch_to(static_cast<Context *>(c->fiber), static_cast<Context *>(c->caller));
  return 1;
}

// A coroutine freed while suspended loses its stack without unwinding it.
extern "C" KORV_API uint32_t KorvCoroFree(KorvCoro *c) {
  if (!c) return 1;
  if (c->fiber) delete_context(static_cast<Context *>(c->fiber));
  korv_internal_free(c);
  return 1;
}
