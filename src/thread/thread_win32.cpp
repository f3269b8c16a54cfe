// Critical sections, thread-local slots and threads on the kernel's own.
#include <windows.h>
#include <process.h>

#include <kvsup.h>

struct KorvCriticalSection {
  CRITICAL_SECTION cs;
};

// Allocated zero-filled, then initialised.
extern "C" KORV_API uint32_t KorvInitCriticalSection(KorvCriticalSection **cs) {
  if (!cs) return 0;
  *cs = nullptr;
  auto *c = static_cast<KorvCriticalSection *>(korv_internal_calloc(1, sizeof(KorvCriticalSection)));
  if (!c) return 0;
  InitializeCriticalSection(&c->cs);
  *cs = c;
  return 1;
}

extern "C" KORV_API uint32_t KorvFreeCriticalSection(KorvCriticalSection *cs) {
  if (!cs) return 1;
  DeleteCriticalSection(&cs->cs);
  korv_internal_free(cs);
  return 1;
}

extern "C" KORV_API uint32_t KorvEnterCriticalSection(KorvCriticalSection *cs) {
  if (cs) EnterCriticalSection(&cs->cs);
  return 1;
}

extern "C" KORV_API uint32_t KorvLeaveCriticalSection(KorvCriticalSection *cs) {
  if (cs) LeaveCriticalSection(&cs->cs);
  return 1;
}

extern "C" KORV_API uint32_t KorvTLSAlloc(uint32_t *index) {
  if (!index) return 0;
  DWORD i = TlsAlloc();
  if (i == TLS_OUT_OF_INDEXES) return 0;
  *index = i;
  return 1;
}

extern "C" KORV_API uint32_t KorvTLSFree(uint32_t index) { return TlsFree(index) ? 1 : 0; }

extern "C" KORV_API uint32_t KorvTLSSetValue(uint32_t index, void *value) {
  return TlsSetValue(index, value) ? 1 : 0;
}

extern "C" KORV_API void *KorvTLSGetValue(uint32_t index) { return TlsGetValue(index); }

// Started through the C runtime with the default stack size. With a null
// address the handle is closed at once: the thread runs detached.
extern "C" KORV_API uint32_t KorvCreateThread(KorvThread **thread, KorvThreadFunc func, void *arg) {
  if (!func) return 0;
  // On x64 there is one calling convention, so the entry is passed as is.
  auto entry = reinterpret_cast<unsigned(__stdcall *)(void *)>(func);
  uintptr_t t = _beginthreadex(nullptr, 0, entry, arg, 0, nullptr);
  if (t == 0) return 0;
  if (thread)
    *thread = reinterpret_cast<KorvThread *>(t);
  else
    CloseHandle(reinterpret_cast<HANDLE>(t));
  return 1;
}

extern "C" KORV_API void KorvExitThread(uint32_t code) {
  _endthreadex(code);
  __builtin_unreachable();
}

// Reads the exit code until it is no longer the "still active" value,
// waiting for the thread in between, then closes the handle.
extern "C" KORV_API uint32_t KorvJoinThread(KorvThread *thread, uint32_t *code) {
  HANDLE t = reinterpret_cast<HANDLE>(thread);
  DWORD exit_code = 0;
  if (!GetExitCodeThread(t, &exit_code)) return 0;
  while (exit_code == STILL_ACTIVE) {
    WaitForSingleObject(t, INFINITE);
    if (!GetExitCodeThread(t, &exit_code)) return 0;
  }
  if (code) *code = exit_code;
  CloseHandle(t);
  return 1;
}

extern "C" KORV_API uint32_t KorvGetCurrentThreadId(void) { return GetCurrentThreadId(); }

extern "C" KORV_API KorvThread *KorvGetCurrentThread(void) {
  return reinterpret_cast<KorvThread *>(GetCurrentThread());
}
