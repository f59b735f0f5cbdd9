// Exit procedures of compiled code. They run through one C atexit handler,
// most recently registered first; a fatal ending cancels them all.
#include <atomic>
#include <cstdlib>

#include "kafrts.h"

namespace {

// Registrations are rare and happen at start-up; a small spin lock keeps
// them safe from image threads without a C++ runtime mutex.
struct exit_chunk {
  exit_chunk *older;
  int used;
  void (*procs[30])(void);
};

constinit exit_chunk *newest = nullptr;
constinit std::atomic<int> lock_word{0};
constinit bool handler_installed = false;

void lock() {
  while (lock_word.exchange(1, std::memory_order_acquire) != 0) {
  }
}
void unlock() { lock_word.store(0, std::memory_order_release); }

exit_chunk *take_all() {
  lock();
  exit_chunk *all = newest;
  newest = nullptr;
  unlock();
  return all;
}

void run_exit_procs() {
  // A procedure may register another; keep draining until none are left.
  while (exit_chunk *c = take_all()) {
    while (c) {
      while (c->used > 0) c->procs[--c->used]();
      exit_chunk *older = c->older;
      __KAFf90_oDeAlloc(c, sizeof *c);
      c = older;
    }
  }
}

void free_all(exit_chunk *c) {
  while (c) {
    exit_chunk *older = c->older;
    __KAFf90_oDeAlloc(c, sizeof *c);
    c = older;
  }
}

}  // namespace

extern "C" int32_t __KAFf90_atexit(void (*procedure)(void)) {
  lock();
  if (!handler_installed) {
    if (std::atexit(run_exit_procs) != 0) {
      unlock();
      return 1;
    }
    handler_installed = true;
  }
  if (!newest || newest->used == 30) {
    auto *c = static_cast<exit_chunk *>(__KAFf90_oAlloc(sizeof(exit_chunk)));
    if (!c) {
      unlock();
      return 1;
    }
    c->older = newest;
    c->used = 0;
    newest = c;
  }
  newest->procs[newest->used++] = procedure;
  unlock();
  return 0;
}

extern "C" void __KAFf90_clear_atexit_procs(void) { free_all(take_all()); }
