// The call-site stack: which program unit called which, from which file and
// line, for the traceback of a fatal error. Process-wide and unlocked:
// tracking is meant for one thread of execution.
#include <cstdio>

#include "kafrts.h"

extern "C" {
const char *__KAFf90_filename = nullptr;
int32_t __KAFf90_lineno = 0;
}

namespace {

struct gline_entry {
  const char *routine;
  const char *file;
  int32_t line;
};

constexpr int entries_per_block = 128;

struct gline_block {
  gline_entry entries[entries_per_block];
  gline_block *below;
};
static_assert(sizeof(gline_block) == 3080);

constinit const char *current_routine = nullptr;
constinit gline_block *gline_stack = nullptr;  // top block
constinit int gline_sp = 0;                    // entries used in the top block
constinit gline_block *empty_gline_block = nullptr;

gline_block *new_block() {
  gline_block *b = empty_gline_block;
  if (b) {
    empty_gline_block = nullptr;
    return b;
  }
  b = static_cast<gline_block *>(__KAFf90_oAlloc(sizeof(gline_block)));
  if (!b) __KAFf90_rtcrash(155);
  return b;
}

}  // namespace

extern "C" {

void __KAFf90_enter_pu(const char *routine_name) {
  if (!gline_stack || gline_sp == entries_per_block) {
    gline_block *b = new_block();
    b->below = gline_stack;
    gline_stack = b;
    gline_sp = 0;
  }
  gline_stack->entries[gline_sp++] = {current_routine, __KAFf90_filename, __KAFf90_lineno};
  current_routine = routine_name;
  __KAFf90_filename = nullptr;
  __KAFf90_lineno = 0;
}

void __KAFf90_exit_pu(void) {
  if (!gline_stack) return;
  const gline_entry &e = gline_stack->entries[--gline_sp];
  current_routine = e.routine;
  __KAFf90_filename = e.file;
  __KAFf90_lineno = e.line;
  if (gline_sp == 0) {
    if (empty_gline_block) __KAFf90_oDeAlloc(empty_gline_block, sizeof(gline_block));
    empty_gline_block = gline_stack;
    gline_stack = gline_stack->below;
    gline_sp = gline_stack ? entries_per_block : 0;
  }
}

void __KAFf90_dump_gline_stack(FILE *stream) {
  FILE *saved = __KAFf90_runtime_error_file;
  __KAFf90_runtime_error_file = stream;
  if (__KAFf90_lineno != 0)
    __KAFf90_rtmsg(376, __KAFf90_filename, __KAFf90_lineno, current_routine);
  int used = gline_sp;
  for (gline_block *b = gline_stack; b; b = b->below, used = entries_per_block) {
    for (int k = used - 1; k >= 0; --k) {
      const gline_entry &e = b->entries[k];
      if (e.routine) __KAFf90_rtmsg(377, e.file, e.line, e.routine);
    }
  }
  __KAFf90_runtime_error_file = saved;
}

// At termination: the stack and the spare go back to the allocator.
void __KAFf90_delete_gline_stack(void) {
  while (gline_stack) {
    gline_block *below = gline_stack->below;
    __KAFf90_oDeAlloc(gline_stack, sizeof(gline_block));
    gline_stack = below;
  }
  gline_sp = 0;
  if (empty_gline_block) {
    __KAFf90_oDeAlloc(empty_gline_block, sizeof(gline_block));
    empty_gline_block = nullptr;
  }
}

}  // extern "C"
