// The storage allocator. Small blocks (up to 128 KiB) come from 1 MiB spans
// of one size class owned by one thread; the record of every block (whether
// it is live, the exact size asked for and a count of its releases) sits in
// a side table beside the span, never in the user's memory. Large blocks
// come straight from the page layer, coloured by kind, with a record each.
// Every release is checked against those records before anything changes.
#include "engine/alloc.h"

#include <pthread.h>

#include <array>
#include <atomic>
#include <bit>
#include <cstddef>
#include <cstring>
#include <new>

#include "engine/alloc_classes.h"
#include "kafrts/engine.h"
#include "kafrts/memory.h"
#include "kafrts/runtime.h"

namespace kaf::alloc {
namespace {

using namespace kaf::pages;
constexpr auto relaxed = std::memory_order_relaxed;

// The address of every zero-byte block: never a block address (odd), and
// recognised by every release.
constexpr uintptr_t zero_size_marker = 0xFFFFFFFFu;

// ---- Spans ---------------------------------------------------------------
struct heap;

struct span {
  uintptr_t base;      // block 0, the start of the span
  heap *owner;         // the heap whose thread allocates from the span
  uint32_t cls;        // size class
  uint32_t free_count; // owner only, while the span is not current: blocks not live
  uint32_t hint;       // owner only, likewise: no free block in a live word below this
  span *next;          // owner's list of spans of the class
  // Written by other threads; kept off the owner's line.
  alignas(64) std::atomic<uint32_t> remote_count;  // releases not yet drained
};
static_assert(sizeof(span) == 128);

// The rest of a span's record follows its header at the same offsets
// whatever the class, so that the hot paths find every part by adding a
// constant:
// - the live bitmap, one bit per block, set while the block is handed out,
//   or kept aside by its heap, or released by another thread and not yet
//   taken back (owner only); bits past the last block are always set;
// - the remote bitmap: blocks released by another thread, not yet taken
//   back by the owner;
// - the size word of each block, and one more, always 0, for the address
//   just past the last block: 0 while the block is not live, else
//   1 + (block size - size asked for);
// - the release count of each block: 0 while never released, then 32769
//   to 65535 and 32768 in turn (the top bit marks "released at least
//   once"; the other 15 bits tell one release from the next).
//
// Records and heaps start on page boundaries. The parts that one ALLOCATE
// and DEALLOCATE store to and load from (span header, first live words,
// first size words and counts, the heap's class entries) are placed so that
// their addresses differ in bits 0 to 11: a load whose address matches a
// pending store's in those bits alone waits for that store as if they
// overlapped.
constexpr size_t live_at = sizeof(span);
constexpr size_t remote_at = live_at + max_words * sizeof(uint64_t);
constexpr size_t sizes_at = remote_at + max_words * sizeof(uint64_t) + 0x380;
constexpr size_t counts_at = sizes_at + (max_blocks + 1) * sizeof(uint16_t) + 0x1FE;
constexpr size_t record_bytes_max = counts_at + max_blocks * sizeof(uint16_t);
static_assert(sizes_at % page_size == 0x400 && counts_at % page_size == 0x600);

inline uint64_t *live_of(span *s) {
  return reinterpret_cast<uint64_t *>(reinterpret_cast<char *>(s) + live_at);
}
inline std::atomic<uint64_t> *remote_of(span *s) {
  return reinterpret_cast<std::atomic<uint64_t> *>(reinterpret_cast<char *>(s) + remote_at);
}
inline std::atomic<uint16_t> *sizes_of(const span *s) {
  return reinterpret_cast<std::atomic<uint16_t> *>(
      reinterpret_cast<char *>(const_cast<span *>(s)) + sizes_at);
}
inline std::atomic<uint16_t> *counts_of(const span *s) {
  return reinterpret_cast<std::atomic<uint16_t> *>(
      reinterpret_cast<char *>(const_cast<span *>(s)) + counts_at);
}
// The size word of a block of class cls, live with size bytes.
inline uint16_t size_word(unsigned cls, size_t size) {
  return static_cast<uint16_t>(class_size[cls] - size + 1);
}
// The count after one more release: never 0 again.
inline uint16_t next_release(uint16_t n) { return static_cast<uint16_t>((n + 1) | 0x8000); }

// A thread's heap: per class, the span it allocates from, the span's first
// block, the free count and search hint of that span's live bitmap (held
// here rather than in the span while it is current, one load nearer the
// allocating thread), and the block of that span last released by the
// thread, kept aside (its live bit still set) for the next request of the
// class. The kept block makes a loop of ALLOCATE and DEALLOCATE one load
// and one store of this entry, and hands out the block most likely to be
// in the cache.
struct heap_class {
  span *current;
  uintptr_t base;
  uint32_t free;
  uint32_t hint;
  uintptr_t kept;  // 0: none
};
static_assert(sizeof(heap_class) == 32);

struct heap {
  span *spans[num_classes];
  heap *next_abandoned;
  alignas(2048) heap_class cls[num_classes];  // at 0x800 to 0xDFF in its page
};
static_assert(offsetof(heap, cls) == 0x800 && sizeof(heap) <= page_size);

// Everything below that is not per-thread changes under this lock: the page
// layer, span and heap creation, large blocks.
pthread_mutex_t big_lock = PTHREAD_MUTEX_INITIALIZER;
struct lock_guard {
  lock_guard() { pthread_mutex_lock(&big_lock); }
  ~lock_guard() { pthread_mutex_unlock(&big_lock); }
};

__thread heap *my_heap __attribute__((tls_model("initial-exec")));

// Spans are carved, in order, from one reservation of address space, and
// their records from a second one at a fixed stride, so the record of an
// address is arithmetic once its span number is below the count handed out
// (published with release after the record is ready).
constexpr size_t arena_bytes = size_t{256} << 30;
constexpr size_t arena_spans = arena_bytes >> span_shift;
constexpr size_t record_stride = size_t{512} << 10;  // the largest record, rounded up
static_assert(record_bytes_max <= record_stride);
std::atomic<uintptr_t> arena_base;
std::atomic<uintptr_t> record_base;
std::atomic<size_t> arena_used;
size_t arena_limit;  // spans reserved (at most arena_spans)

inline span *span_at(uintptr_t record_base_value, size_t index) {
  return reinterpret_cast<span *>(record_base_value + index * record_stride);
}

inline span *span_of(uintptr_t a) {
  const uintptr_t index = (a - arena_base.load(relaxed)) >> span_shift;
  // arena_used never passes arena_spans, so an address outside the arena
  // fails the comparison too.
  if (index >= arena_used.load(std::memory_order_acquire)) return nullptr;
  return span_at(record_base.load(relaxed), index);
}

heap *abandoned_heaps;
pthread_key_t heap_key;
bool heap_key_made;

// ---- Poisoning in sanitizer builds: nothing may touch a released block.
inline void poison(uintptr_t p, size_t n) {
#ifdef KAF_ASAN
  ASAN_POISON_MEMORY_REGION(reinterpret_cast<void *>(p), n);
#else
  (void)p, (void)n;
#endif
}
inline void unpoison(void *p, size_t n) {
#ifdef KAF_ASAN
  ASAN_UNPOISON_MEMORY_REGION(p, n);
#else
  (void)p, (void)n;
#endif
}

// ---- Where a block was released -----------------------------------------
// The l-forms remember the file and line of each release of a small block
// (keyed by address and release count) so that a second release can name the
// first. A hashed table overwritten freely: a lost entry only shortens the
// message.
struct release_site {
  std::atomic<uintptr_t> address;
  std::atomic<uint32_t> generation;
  std::atomic<int32_t> line;
  std::atomic<const char *> file;
};
constexpr unsigned site_count = 4096;
release_site sites[site_count];

inline unsigned site_slot(uintptr_t a) {
  return static_cast<unsigned>((a * 0x9E3779B97F4A7C15ull) >> 52) & (site_count - 1);
}

void remember_site(uintptr_t a, uint32_t generation, const char *file, int32_t line) {
  release_site &e = sites[site_slot(a)];
  e.address.store(0, relaxed);
  e.generation.store(generation, relaxed);
  e.line.store(line, relaxed);
  e.file.store(file, relaxed);
  e.address.store(a, std::memory_order_release);
}

bool recall_site(uintptr_t a, uint32_t generation, const char *&file, int32_t &line) {
  release_site &e = sites[site_slot(a)];
  if (e.address.load(std::memory_order_acquire) != a) return false;
  const uint32_t g = e.generation.load(relaxed);
  const int32_t l = e.line.load(relaxed);
  const char *f = e.file.load(relaxed);
  if (e.address.load(std::memory_order_acquire) != a || g != generation || !f) return false;
  file = f;
  line = l;
  return true;
}

// ---- Large blocks ----------------------------------------------------------
enum : unsigned char { state_live = 1, state_kept = 2, state_returned = 3 };

struct large_record {
  uintptr_t address;  // 0: empty slot
  size_t size;        // bytes asked for
  size_t bytes;       // bytes mapped
  const char *site_file;
  int32_t site_line;
  unsigned char colour;  // kind while live
  unsigned char state;
};

large_record *large_table;
size_t large_cap, large_used;

// Freed large mappings kept for reuse (most recent last), so that a loop of
// ALLOCATE/DEALLOCATE of one big array does not map and unmap each time.
constexpr unsigned kept_max = 4;
constexpr size_t kept_limit = size_t{64} << 20;
uintptr_t kept[kept_max];
unsigned kept_count;

inline size_t large_slot(uintptr_t a) { return ((a >> page_shift) * 0x9E3779B97F4A7C15ull) >> 20; }

large_record *find_large(uintptr_t a) {
  if (!large_cap) return nullptr;
  for (size_t i = large_slot(a) & (large_cap - 1);; i = (i + 1) & (large_cap - 1)) {
    if (large_table[i].address == a) return &large_table[i];
    if (!large_table[i].address) return nullptr;
  }
}

bool grow_large_table() {
  size_t keep = 0;
  for (size_t i = 0; i < large_cap; ++i)
    if (large_table[i].address && large_table[i].state != state_returned) ++keep;
  size_t cap = 64;
  while (cap < keep * 4) cap *= 2;
  auto *table = static_cast<large_record *>(
      getmem(the_pages, cap * sizeof(large_record), colour_bookkeeping));
  if (!table) return false;
  large_record *old = large_table;
  const size_t old_cap = large_cap;
  large_table = table;
  large_cap = cap;
  large_used = 0;
  // Live and kept blocks first; records of returned blocks only while they
  // leave the table half empty.
  for (int pass = 0; pass < 2; ++pass)
    for (size_t i = 0; i < old_cap; ++i) {
      const large_record &r = old[i];
      if (!r.address || (r.state == state_returned) != (pass == 1)) continue;
      if (pass == 1 && large_used * 2 >= cap) break;
      size_t j = large_slot(r.address) & (cap - 1);
      while (table[j].address) j = (j + 1) & (cap - 1);
      table[j] = r;
      ++large_used;
    }
  if (old) freemem(the_pages, old, old_cap * sizeof(large_record));
  return true;
}

large_record *insert_large(uintptr_t a) {
  if (large_record *r = find_large(a)) return r;
  if ((large_used + 1) * 4 > large_cap * 3 && !grow_large_table()) return nullptr;
  size_t i = large_slot(a) & (large_cap - 1);
  while (large_table[i].address) i = (i + 1) & (large_cap - 1);
  ++large_used;
  large_table[i].address = a;
  return &large_table[i];
}

// ---- Diagnostics -----------------------------------------------------------
enum class fault { not_ours, released, interior, wrong_size };

struct fault_info {
  fault kind;
  uintptr_t address;
  size_t size;
  uintptr_t block = 0;  // interior, wrong_size: the block concerned
  size_t block_size = 0;
  const char *site_file = nullptr;  // released: where, when known
  int32_t site_line = 0;
};

template <typename... Args>
[[noreturn]] void fatal(bool lform, const char *file, int32_t line, int32_t number, Args... args) {
  if (lform) __KAFf90_rterr(file, line, number, args...);
  __KAFf90_rtcrash(number, args...);
}

inline uint64_t last_byte(uintptr_t a, size_t n) { return a + (n ? n - 1 : 0); }

// Reports a faulty release. Returns only when mem_allow_undef_dealloc lets
// the release of a block never handed out, or already released, pass (the
// release then does nothing).
[[gnu::cold, gnu::noinline]] void report(const fault_info &f, const char *file, int32_t line,
                                         bool lform) {
  const bool show = __KAFf90_show_dangling != 0;
  const auto size = static_cast<int64_t>(f.size);
  const uint64_t a = f.address;
  if (__KAFf90_maud_enabled && (f.kind == fault::not_ours || f.kind == fault::released)) {
    if (show) __KAFf90_rterr1(file, line, f.kind == fault::not_ours ? 50 : 52);
    return;
  }
  switch (f.kind) {
    case fault::not_ours:
      if (show) fatal(lform, file, line, 385, a, size);
      fatal(lform, file, line, 387, size);
    case fault::released:
      if (f.site_file) {
        if (show) fatal(lform, file, line, 384, a, size, f.site_line, f.site_file);
        fatal(lform, file, line, 386, size, f.site_line, f.site_file);
      }
      if (show) fatal(lform, file, line, 380, a);
      fatal(lform, file, line, 388, size);
    case fault::interior:
      if (!show) fatal(lform, file, line, 192);
      [[fallthrough]];
    case fault::wrong_size:
      fatal(lform, file, line, 381, a, last_byte(a, f.size), uint64_t{f.block},
            last_byte(f.block, f.block_size));
  }
  __builtin_unreachable();
}

// ---- Small blocks ------------------------------------------------------------
inline uint32_t size_of(unsigned cls, uint16_t word) { return class_size[cls] - (word - 1u); }

// What is wrong with releasing size bytes at a in span s (the fast path
// found something).
[[gnu::cold]] fault_info classify_small(const span *s, uintptr_t a, size_t size) {
  fault_info f{fault::not_ours, a, size};
  const unsigned cls = s->cls;
  const uintptr_t off = a - s->base;
  const auto i = static_cast<uint32_t>(off / class_size[cls]);
  if (i >= class_blocks[cls]) return f;
  const uint16_t word = sizes_of(s)[i].load(relaxed);
  const bool live = word != 0;
  const uintptr_t block = s->base + uintptr_t{i} * class_size[cls];
  if (a != block) {
    if (live) f = fault_info{fault::interior, a, size, block, size_of(cls, word)};
    return f;
  }
  if (!live) {
    if (const uint16_t released = counts_of(s)[i].load(relaxed)) {
      f.kind = fault::released;
      recall_site(a, released, f.site_file, f.site_line);
    }
    return f;
  }
  return fault_info{fault::wrong_size, a, size, block, size_of(cls, word)};
}

// needs h; null when no span can be had (the request then goes to the
// large blocks)
span *new_span(heap *h, unsigned cls) {
  lock_guard g;
  if (!arena_base.load(relaxed)) {
    // As much address space as the process may reserve, up to the whole
    // arena (a limit on virtual memory makes the first tries fail).
    for (size_t spans = arena_spans; spans >= 1024 && !arena_limit; spans /= 4) {
      void *p = reserve((spans + 1) * span_bytes);
      void *r = p ? reserve(spans * record_stride) : nullptr;
      if (!r) {
        if (p) unreserve(p, (spans + 1) * span_bytes);
        continue;
      }
      record_base.store(reinterpret_cast<uintptr_t>(r), relaxed);
      arena_base.store((reinterpret_cast<uintptr_t>(p) + span_bytes - 1) & ~(span_bytes - 1),
                       relaxed);
      arena_limit = spans;
    }
    if (!arena_limit) return nullptr;
  }
  const size_t index = arena_used.load(relaxed);
  if (index == arena_limit) return nullptr;
  const uintptr_t base = arena_base.load(relaxed) + index * span_bytes;
  const uint32_t nblocks = class_blocks[cls];
  const uint32_t nwords = (nblocks + 63) / 64;
  // Header, bitmaps and size words (with the one past the end); then the
  // counts.
  auto round_up = [](size_t n) { return (n + page_size - 1) & ~(page_size - 1); };
  span *s = span_at(record_base.load(relaxed), index);
  const size_t sizes_end = round_up(sizes_at + (nblocks + 1) * sizeof(uint16_t));
  const size_t counts_page = counts_at & ~(page_size - 1);
  const size_t counts_end = round_up(counts_at + nblocks * sizeof(uint16_t));
  const bool recorded =
      counts_page >= sizes_end
          ? commit(the_pages, s, sizes_end, colour_bookkeeping) &&
                commit(the_pages, reinterpret_cast<char *>(s) + counts_page,
                       counts_end - counts_page, colour_bookkeeping)
          : commit(the_pages, s, counts_end, colour_bookkeeping);
  if (!recorded || !commit(the_pages, reinterpret_cast<void *>(base), span_bytes, colour_span))
    return nullptr;
  new (s) span{};
  s->base = base;
  s->owner = h;
  s->cls = cls;
  s->free_count = nblocks;
  // Bits past the last block read as live forever, so never handed out.
  if (nblocks % 64) live_of(s)[nwords - 1] = ~uint64_t{0} << (nblocks % 64);
  poison(base, span_bytes);
  s->next = h->spans[cls];
  h->spans[cls] = s;
  arena_used.store(index + 1, std::memory_order_release);
  return s;
}

// Takes in the blocks that other threads released (their words were
// changed by those threads; only the live bits are left to clear).
void drain(span *s) {
  s->remote_count.store(0, relaxed);
  uint64_t *live = live_of(s);
  std::atomic<uint64_t> *remote = remote_of(s);
  const uint32_t nwords = (class_blocks[s->cls] + 63) / 64;
  for (uint32_t w = 0; w < nwords; ++w) {
    if (!remote[w].load(relaxed)) continue;
    const uint64_t r = remote[w].exchange(0, std::memory_order_acquire);
    live[w] &= ~r;
    s->free_count += static_cast<uint32_t>(std::popcount(r));
  }
  s->hint = 0;
}

void abandon_heap(void *h) {
  lock_guard g;
  static_cast<heap *>(h)->next_abandoned = abandoned_heaps;
  abandoned_heaps = static_cast<heap *>(h);
  my_heap = nullptr;
}

// A child of fork must not inherit the lock held by a thread that does not
// exist in it.
void lock_before_fork() { pthread_mutex_lock(&big_lock); }
void unlock_after_fork() { pthread_mutex_unlock(&big_lock); }

// The calling thread's heap: an abandoned one (its spans and their live
// blocks come along) or a new one.
heap *adopt_heap() {
  lock_guard g;
  if (!heap_key_made) {
    if (pthread_key_create(&heap_key, abandon_heap) != 0) return nullptr;
    pthread_atfork(lock_before_fork, unlock_after_fork, unlock_after_fork);
    heap_key_made = true;
  }
  heap *h = abandoned_heaps;
  if (h)
    abandoned_heaps = h->next_abandoned;
  else if (!(h = static_cast<heap *>(getmem(the_pages, sizeof(heap), colour_bookkeeping))))
    return nullptr;
  pthread_setspecific(heap_key, h);
  my_heap = h;
  return h;
}

// The current span of the class is full (or there is none): take in what
// other threads released, else move to another span of the heap with room,
// else a new one. False when no span can be had.
[[gnu::noinline]] bool refill(unsigned cls) {
  heap *h = my_heap ? my_heap : adopt_heap();
  if (!h) return false;
  heap_class &hc = h->cls[cls];
  // An adopted heap may have room already. (A kept block always belongs
  // to the current span, which therefore never changes while one is kept.)
  if (hc.kept || hc.free) return true;
  span *s = hc.current;
  if (s) {
    s->free_count = hc.free;
    s->hint = hc.hint;
    if (s->remote_count.load(relaxed)) drain(s);
  }
  if (!s || !s->free_count) {
    for (s = h->spans[cls]; s; s = s->next) {
      if (s->remote_count.load(relaxed)) drain(s);
      if (s->free_count) break;
    }
    if (!s && !(s = new_span(h, cls))) return false;
  }
  hc.current = s;
  hc.base = s->base;
  hc.free = s->free_count;
  hc.hint = s->hint;
  return true;
}

void *take_large(size_t size, unsigned char colour, bool zero);
[[gnu::noinline]] void *take_refilled(size_t size, unsigned char colour, bool zero);

// needs 0 < size <= small_max
[[gnu::always_inline]] inline void *take_small(size_t size, unsigned char colour, bool zero) {
  const class_facts &f = facts_of(size);
  const unsigned cls = f.cls;
  heap *h = my_heap;
  if (__builtin_expect(!h, 0)) return take_refilled(size, colour, zero);
  heap_class &hc = h->cls[cls];
  uintptr_t a = hc.kept;
  uint32_t i;
  if (a) {
    hc.kept = 0;
    i = static_cast<uint32_t>(((a - hc.base) * f.reciprocal) >> reciprocal_shift);
  } else {
    // A class with no current span has a free count of 0.
    if (__builtin_expect(hc.free == 0, 0)) return take_refilled(size, colour, zero);
    uint64_t *live = live_of(hc.current);
    uint32_t w = hc.hint;
    uint64_t bits;
    while ((bits = live[w]) == ~uint64_t{0}) ++w;
    const unsigned b = static_cast<unsigned>(std::countr_one(bits));
    live[w] = bits | (uint64_t{1} << b);
    hc.hint = w;
    --hc.free;
    i = w * 64 + b;
    a = hc.base + uintptr_t{i} * f.size;
  }
  sizes_of(hc.current)[i].store(static_cast<uint16_t>(f.size - size + 1), relaxed);
  void *p = reinterpret_cast<void *>(a);
  unpoison(p, size);
  if (zero) std::memset(p, 0, size);
  return p;
}

void *take_refilled(size_t size, unsigned char colour, bool zero) {
  if (!refill(class_of(size))) return take_large(size, colour, zero);
  return take_small(size, colour, zero);
}

// ---- Large blocks: take and release ----------------------------------------
void *take_large(size_t size, unsigned char colour, bool zero) {
  if (size > (size_t{1} << 46)) return nullptr;
  const size_t bytes = (size + page_size - 1) & ~(page_size - 1);
  void *p = nullptr;
  bool fresh = false;  // a new mapping is zero already
  {
    lock_guard g;
    // A kept block of the same page count, of the same kind if there is one
    // (its pages past the first need no new colour then), the most recent
    // first.
    unsigned found = kept_max;
    for (unsigned k = kept_count; k-- > 0;) {
      const large_record *r = find_large(kept[k]);
      if (r->bytes != bytes) continue;
      if (found == kept_max || r->colour == colour) found = k;
      if (r->colour == colour) break;
    }
    if (found != kept_max) {
      const large_record *r = find_large(kept[found]);
      p = reinterpret_cast<void *>(kept[found]);
      set_colour(the_pages, p, r->colour == colour ? page_size : bytes, colour);
      std::memmove(kept + found, kept + found + 1, (--kept_count - found) * sizeof(uintptr_t));
    }
    if (!p) {
      if (!(p = getmem(the_pages, bytes, colour))) return nullptr;
      fresh = true;
    }
    large_record *r = insert_large(reinterpret_cast<uintptr_t>(p));
    if (!r) {
      freemem(the_pages, p, bytes);
      return nullptr;
    }
    *r = large_record{reinterpret_cast<uintptr_t>(p), size, bytes, nullptr, 0, colour, state_live};
  }
  unpoison(p, size);
  if (zero && !fresh) std::memset(p, 0, size);
  return p;
}

// Under the lock: checks a release of size bytes at a outside every span.
// Null with f filled when it is faulty.
large_record *check_large(uintptr_t a, size_t size, fault_info &f) {
  f = fault_info{fault::not_ours, a, size};
  large_record *r = find_large(a);
  // A live record at the address is the block (its pages have its kind's
  // colour by construction); anything else is classified by the colour.
  if (r && r->state == state_live) {
    if (r->size == size) return r;
    f = fault_info{fault::wrong_size, a, size, r->address, r->size};
    return nullptr;
  }
  switch (pagecolour(the_pages, reinterpret_cast<void *>(a), 1)) {
    case colour_temporary:
    case colour_pointer:
    case colour_allocatable:
      // Inside a live block, or inside a kept one past its first page
      // (which counts as never handed out).
      for (size_t i = 0; i < large_cap; ++i) {
        const large_record &c = large_table[i];
        if (c.address && c.state == state_live && c.address < a && a < c.address + c.bytes) {
          f = fault_info{fault::interior, a, size, c.address, c.size};
          return nullptr;
        }
      }
      return nullptr;
    case colour_returned:
    case colour_kept:
      if (r) {
        f.kind = fault::released;
        f.site_file = r->site_file;
        f.site_line = r->site_line;
      }
      return nullptr;
    default:
      return nullptr;
  }
}

// Under the lock: the block of r goes back (kept for reuse when small
// enough, the oldest kept one then returned to the system).
void give_back_large(large_record *r, const char *file, int32_t line) {
  r->site_file = file;
  r->site_line = line;
  poison(r->address, r->bytes);
  if (r->bytes <= kept_limit) {
    if (kept_count == kept_max) {
      large_record *old = find_large(kept[0]);
      freemem(the_pages, reinterpret_cast<void *>(old->address), old->bytes);
      old->state = state_returned;
      std::memmove(kept, kept + 1, --kept_count * sizeof(uintptr_t));
    }
    // Only the first page says the block is kept: the others keep the
    // colour of the kind it served (recorded in r) until it is handed out
    // again or returned. Recolouring a 16 MiB block both ways would cost
    // twice 4,096 bytes of colours per ALLOCATE/DEALLOCATE pair.
    set_colour(the_pages, reinterpret_cast<void *>(r->address), page_size, colour_kept);
    r->state = state_kept;
    kept[kept_count++] = r->address;
    return;
  }
  freemem(the_pages, reinterpret_cast<void *>(r->address), r->bytes);
  r->state = state_returned;
}

// Who releases: the source file and line of an l-form (lform set), or
// nothing. Passed by reference, so that the slow paths of a release take
// few enough arguments to be reached by a jump.
struct caller {
  const char *file;
  int32_t line;
  bool lform;
};
constexpr caller unlocated{nullptr, 0, false};

[[gnu::noinline]] void release_large(uintptr_t a, size_t size, const caller &c) {
  fault_info f;
  {
    lock_guard g;
    if (large_record *r = check_large(a, size, f)) {
      give_back_large(r, c.file, c.line);
      return;
    }
  }
  report(f, c.file, c.line, c.lform);
}

// ---- Release -------------------------------------------------------------------
// An address outside every span handed out: the zero-size marker, null, a
// large block, or something that is not ours.
[[gnu::cold, gnu::noinline]] void release_outside(uintptr_t a, size_t size, const caller &c) {
  if (a == zero_size_marker || a == 0) return;
  release_large(a, size, c);
}

// In a span, but not a live block of this size.
[[gnu::cold, gnu::noinline]] void release_fault(const span *s, uintptr_t a, size_t size,
                                                const caller &c) {
  if (a == zero_size_marker) return;  // should the arena ever hold that address
  report(classify_small(s, a, size), c.file, c.line, c.lform);
}

// A span that is not current gained a free block; when none is left live,
// its pages go back to the system until it is used again (it stays the
// heap's, with its class).
[[gnu::noinline]] void gained_free_block(span *s, uint32_t w) {
  if (w < s->hint) s->hint = w;
  if (++s->free_count == class_blocks[s->cls])
    discard(reinterpret_cast<void *>(s->base), span_bytes);
}

// A release into another thread's span: the block's size word changes by
// compare-and-swap, so that of two releases of one block only one goes
// through; then the owner is told through the remote bitmap.
// (The fast path found the word live with this size; it is checked again
// as the exchange's expected value.)
[[gnu::noinline]] void release_remote(span *s, uint32_t i, uintptr_t a, size_t size,
                                      const caller &c) {
  std::atomic<uint16_t> &w = sizes_of(s)[i];
  uint16_t word = size_word(s->cls, size);
  if (!w.compare_exchange_strong(word, 0, std::memory_order_relaxed))
    return release_fault(s, a, size, c);
  std::atomic<uint16_t> &count = counts_of(s)[i];
  const uint16_t n = next_release(count.load(relaxed));
  count.store(n, relaxed);
  if (c.file) remember_site(a, n, c.file, c.line);
  poison(a, class_size[s->cls]);
  // The block changes hands here: the owner may reuse it as soon as it
  // sees the bit.
  remote_of(s)[i >> 6].fetch_or(uint64_t{1} << (i & 63), std::memory_order_release);
  s->remote_count.fetch_add(1, relaxed);
}

// The owner's release of a block that is not to be kept aside: its live
// bit is cleared, and the span's free count and hint follow.
inline void free_block(heap_class &hc, span *s, uint32_t i) {
  const uint32_t w = i >> 6;
  live_of(s)[w] &= ~(uint64_t{1} << (i & 63));
  if (__builtin_expect(s != hc.current, 0)) return gained_free_block(s, w);
  ++hc.free;
  hc.hint = w < hc.hint ? w : hc.hint;
}

// The fast path trusts nothing it is given: the class comes from the size,
// and the span, the block's place in it and its size word (live, with
// exactly this size) must all agree before anything changes; any
// disagreement goes to the slow path, which finds out what is wrong. The
// block itself is never read or written.
[[gnu::always_inline]] inline void release(void *address, size_t size, const caller &c) {
  const auto a = reinterpret_cast<uintptr_t>(address);
  const uintptr_t off = a - arena_base.load(relaxed);
  const uintptr_t index = off >> span_shift;
  // arena_used never passes arena_spans: addresses outside the arena fail
  // here too.
  if (__builtin_expect(index >= arena_used.load(std::memory_order_acquire), 0))
    return release_outside(a, size, c);
  span *s = span_at(record_base.load(relaxed), index);
  if (__builtin_expect(size - 1 >= small_max, 0))
    return release_fault(s, a, size, c);
  const class_facts &f = facts_of(size);
  const unsigned cls = f.cls;
  const uint64_t product = (off & (span_bytes - 1)) * f.reciprocal;
  const auto i = static_cast<uint32_t>(product >> reciprocal_shift);
  // Only a block start of the span's own class may index its records (the
  // index is then at most the one past the last block, whose word is 0).
  if (__builtin_expect(s->cls != cls || (product & fraction_mask) >= f.reciprocal, 0))
    return release_fault(s, a, size, c);
  std::atomic<uint16_t> &w = sizes_of(s)[i];
  const uint16_t word = w.load(relaxed);
  if (__builtin_expect(word != static_cast<uint16_t>(f.size - size + 1), 0))
    return release_fault(s, a, size, c);
  heap *h = my_heap;
  if (__builtin_expect(s->owner != h, 0))
    return release_remote(s, i, a, size, c);
  // Bookkeeping first: once the block is kept aside or its live bit is
  // clear, it may be handed out again.
  std::atomic<uint16_t> &count = counts_of(s)[i];
  const uint16_t n = next_release(count.load(relaxed));
  count.store(n, relaxed);
  w.store(0, relaxed);
  if (c.file) remember_site(a, n, c.file, c.line);
  poison(a, f.size);
  heap_class &hc = h->cls[cls];
  if (__builtin_expect(hc.kept == 0 && s == hc.current, 1)) {
    hc.kept = a;
    return;
  }
  free_block(hc, s, i);
}

[[gnu::always_inline]] inline void *take(size_t size, unsigned char colour, bool zero) {
  if (__builtin_expect(size - 1 < small_max, 1)) return take_small(size, colour, zero);
  if (size == 0) return reinterpret_cast<void *>(zero_size_marker);
  return take_large(size, colour, zero);
}

// Checks a block without releasing it: true when size bytes at a may be
// released (faults are reported as a release would report them).
bool check_block(uintptr_t a, size_t size) {
  fault_info f;
  if (span *s = span_of(a)) {
    if (size - 1 < small_max && class_of(size) == s->cls) {
      const uintptr_t off = a - s->base;
      const uint32_t i = static_cast<uint32_t>(off / class_size[s->cls]);
      if (off % class_size[s->cls] == 0 && i < class_blocks[s->cls] &&
          sizes_of(s)[i].load(relaxed) == size_word(s->cls, size))
        return true;
    }
    f = classify_small(s, a, size);
  } else {
    lock_guard g;
    if (check_large(a, size, f)) return true;
  }
  report(f, nullptr, 0, false);
  return false;
}

unsigned char colour_of_block(uintptr_t a) {
  lock_guard g;
  large_record *r = find_large(a);
  return r ? r->colour : static_cast<unsigned char>(colour_temporary);
}

}  // namespace
}  // namespace kaf::alloc

using namespace kaf::alloc;
using kaf::pages::colour_allocatable;
using kaf::pages::colour_pointer;
using kaf::pages::colour_temporary;

extern "C" {

void *__KAFf90_oAlloc(size_t size) { return take(size, colour_temporary, false); }
void *__KAFf90_zoAlloc(size_t size) { return take(size, colour_temporary, true); }
void *__KAFf90_pAlloc(size_t size) { return take(size, colour_pointer, false); }
void *__KAFf90_zpAlloc(size_t size) { return take(size, colour_pointer, true); }
void *__KAFf90_aAlloc(size_t size) { return take(size, colour_allocatable, false); }
void *__KAFf90_zaAlloc(size_t size) { return take(size, colour_allocatable, true); }
void __KAFf90_oDeAlloc(void *address, size_t size) { release(address, size, unlocated); }
// One body under two names: a jump fewer than two identical functions.
void __KAFf90_pDeAlloc(void *address, size_t size) __attribute__((alias("__KAFf90_oDeAlloc")));

void *__KAFf90_loAlloc(const char *, int32_t, size_t size) {
  return take(size, colour_temporary, false);
}
void *__KAFf90_lzoAlloc(const char *, int32_t, size_t size) {
  return take(size, colour_temporary, true);
}
void *__KAFf90_lpAlloc(const char *, int32_t, size_t size) {
  return take(size, colour_pointer, false);
}
void *__KAFf90_lzpAlloc(const char *, int32_t, size_t size) {
  return take(size, colour_pointer, true);
}
void *__KAFf90_laAlloc(const char *, int32_t, size_t size) {
  return take(size, colour_allocatable, false);
}
void *__KAFf90_lzaAlloc(const char *, int32_t, size_t size) {
  return take(size, colour_allocatable, true);
}
void __KAFf90_loDeAlloc(const char *file, int32_t line, void *address, size_t size) {
  release(address, size, caller{file, line, true});
}
void __KAFf90_lpDeAlloc(const char *file, int32_t line, void *address, size_t size)
    __attribute__((alias("__KAFf90_loDeAlloc")));

void *__KAFf90_ReAlloc(void *address, size_t old_size, size_t new_size) {
  const auto a = reinterpret_cast<uintptr_t>(address);
  if (a == 0 || a == zero_size_marker) return take(new_size, colour_temporary, false);
  if (new_size == 0) {
    release(address, old_size, unlocated);
    return reinterpret_cast<void *>(zero_size_marker);
  }
  if (!check_block(a, old_size)) return take(new_size, colour_temporary, false);
  if (span *s = span_of(a); s && new_size <= small_max && class_of(new_size) == s->cls) {
    // Same class: only the recorded size changes.
    sizes_of(s)[(a - s->base) / class_size[s->cls]].store(size_word(s->cls, new_size), relaxed);
    unpoison(address, new_size);
    if (new_size < old_size) poison(a + new_size, old_size - new_size);
    return address;
  }
  void *p =
      take(new_size, span_of(a) ? static_cast<unsigned char>(colour_temporary) : colour_of_block(a),
           false);
  if (!p) return nullptr;
  std::memcpy(p, address, old_size < new_size ? old_size : new_size);
  release(address, old_size, unlocated);
  return p;
}

void __KAFf90_delete_avlpat(void) {
  lock_guard g;
  for (release_site &e : sites) e.address.store(0, relaxed);
  while (kept_count) {
    large_record *r = find_large(kept[--kept_count]);
    freemem(kaf::pages::the_pages, reinterpret_cast<void *>(r->address), r->bytes);
    r->state = state_returned;
  }
  for (size_t i = 0; i < large_cap; ++i)
    if (large_table[i].state != state_live) large_table[i].site_file = nullptr;
}

void *__KAFf90_getmem(size_t size, int32_t colour) {
  lock_guard g;
  return kaf::pages::getmem(kaf::pages::the_pages, size, colour);
}

void __KAFf90_freemem(void *address, size_t size) {
  lock_guard g;
  kaf::pages::freemem(kaf::pages::the_pages, address, size);
}

int32_t __KAFf90_pagecolour(const void *address, size_t size) {
  lock_guard g;
  return kaf::pages::pagecolour(kaf::pages::the_pages, address, size);
}

}  // extern "C"
