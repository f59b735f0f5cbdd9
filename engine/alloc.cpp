// The storage allocator. Small blocks (up to 128 KiB) come from 1 MiB spans
// of one size class owned by one thread; the record of every block (a live
// bit, a freed-by-another-thread bit, a release count and the exact size) sits
// in a side table beside the span, never in the user's memory. Large blocks
// come straight from the page layer, coloured by kind, with a record each.
// Every release is checked against those records before anything changes.
#include "engine/alloc.h"

#include <pthread.h>

#include <array>
#include <atomic>
#include <bit>
#include <cstring>
#include <new>

#include "kafrts/engine.h"
#include "kafrts/memory.h"
#include "kafrts/runtime.h"

namespace kaf::alloc {
namespace {

using namespace kaf::pages;
constexpr auto relaxed = std::memory_order_relaxed;

// ---- Size classes ------------------------------------------------------
// 16-byte steps to 128, then four classes per power of two to 128 KiB: the
// rounding wastes at most a fifth of a block.
constexpr size_t small_max = size_t{128} << 10;
constexpr unsigned num_classes = 48;

constexpr std::array<uint32_t, num_classes> make_class_sizes() {
  std::array<uint32_t, num_classes> t{};
  for (unsigned c = 0; c < 8; ++c) t[c] = 16 * (c + 1);
  for (unsigned k = 7, c = 8; k < 17; ++k)
    for (unsigned sub = 1; sub <= 4; ++sub) t[c++] = (1u << k) + sub * (1u << (k - 2));
  return t;
}
constexpr std::array<uint32_t, num_classes> class_size = make_class_sizes();
static_assert(class_size[num_classes - 1] == small_max);

// The class of each size up to 1 KiB in 16-byte steps, by table.
constexpr unsigned direct_max = 1024;
constexpr unsigned class_by_table(size_t size) {
  unsigned c = 0;
  while (class_size[c] < size) ++c;
  return c;
}
constexpr std::array<uint8_t, direct_max / 16> make_direct() {
  std::array<uint8_t, direct_max / 16> t{};
  for (unsigned k = 0; k < direct_max / 16; ++k)
    t[k] = static_cast<uint8_t>(class_by_table(16 * (k + 1)));
  return t;
}
constexpr std::array<uint8_t, direct_max / 16> direct_class = make_direct();

// needs 0 < size <= small_max
inline unsigned class_of(size_t size) {
  if (size <= direct_max) return direct_class[(size - 1) >> 4];
  const unsigned k = 63 - static_cast<unsigned>(std::countl_zero(uint64_t(size - 1)));
  return 8 + (k - 7) * 4 + static_cast<unsigned>((size - 1 - (size_t{1} << k)) >> (k - 2));
}
static_assert(class_by_table(1025) == 20 && class_size[20] == 1280);

// The address of every zero-byte block: never a block address (odd), and
// recognised by every release.
constexpr uintptr_t zero_size_marker = 0xFFFFFFFFu;

// ---- Spans ---------------------------------------------------------------
constexpr unsigned span_shift = 20;  // 1 MiB, aligned to its size
constexpr size_t span_bytes = size_t{1} << span_shift;

struct heap;

struct span {
  uintptr_t base;  // block 0, the start of the span
  heap *owner;     // the heap whose thread allocates from the span
  uint32_t cls, block_size, nblocks, nwords;
  uint32_t free_count;              // owner only: blocks not live
  uint32_t hint;                    // owner only: no free block in a word below this
  span *next;                       // owner's list of spans of the class
  std::atomic<uint64_t> *live;      // bit set: block handed out
  std::atomic<uint64_t> *remote;    // bit set: released by another thread
  std::atomic<uint16_t> *slack;     // per block: block_size - size asked for
  std::atomic<uint16_t> *released;  // per block: releases so far (wrapping, never 0 again)
  // Written by other threads; kept off the owner's line.
  alignas(64) std::atomic<uint32_t> remote_count;  // releases not yet drained
  // The bitmaps and the per-block words follow the header (the pointers
  // above point there); the hot paths find them from the class alone.
};
static_assert(sizeof(span) % 64 == 0);

// Layout of a span of each class, so that the hot paths need no load from
// the span header to find a block.
constexpr std::array<uint32_t, num_classes> make_blocks() {
  std::array<uint32_t, num_classes> t{};
  for (unsigned c = 0; c < num_classes; ++c)
    t[c] = static_cast<uint32_t>(span_bytes / class_size[c]);
  return t;
}
constexpr std::array<uint32_t, num_classes> class_blocks = make_blocks();
constexpr std::array<uint32_t, num_classes> make_words() {
  std::array<uint32_t, num_classes> t{};
  for (unsigned c = 0; c < num_classes; ++c) t[c] = (class_blocks[c] + 63) / 64;
  return t;
}
constexpr std::array<uint32_t, num_classes> class_words = make_words();
// Block index = (offset * reciprocal) >> 40, exact for offsets below 2^20
// and block sizes below 2^20: the error of the rounded-up reciprocal stays
// under 2^-20, less than 1/block size.
constexpr std::array<uint64_t, num_classes> make_reciprocals() {
  std::array<uint64_t, num_classes> t{};
  for (unsigned c = 0; c < num_classes; ++c)
    t[c] = ((uint64_t{1} << 40) + class_size[c] - 1) / class_size[c];
  return t;
}
constexpr std::array<uint64_t, num_classes> class_reciprocal = make_reciprocals();

inline std::atomic<uint64_t> *live_of(span *s) {
  return reinterpret_cast<std::atomic<uint64_t> *>(s + 1);
}
inline std::atomic<uint64_t> *remote_of(span *s, unsigned cls) {
  return live_of(s) + class_words[cls];
}
inline std::atomic<uint16_t> *slack_of(span *s, unsigned cls) {
  return reinterpret_cast<std::atomic<uint16_t> *>(remote_of(s, cls) + class_words[cls]);
}
inline std::atomic<uint16_t> *released_of(span *s, unsigned cls) {
  return slack_of(s, cls) + class_blocks[cls];
}

// A thread's heap. The free count and search hint of each class's current
// span live here rather than in the span, one load nearer the allocating
// thread; the span's own fields hold them while it is not current.
struct heap {
  span *current[num_classes];
  uint32_t hint[num_classes];
  uint32_t free[num_classes];
  span *spans[num_classes];
  heap *next_abandoned;
};

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
std::atomic<uintptr_t> arena_base;
std::atomic<uintptr_t> record_base;
std::atomic<size_t> arena_used;
size_t arena_limit;  // spans reserved (at most arena_spans)

inline span *span_at(uintptr_t record_base_value, size_t index) {
  return reinterpret_cast<span *>(record_base_value + index * record_stride);
}

inline span *span_of(uintptr_t a) {
  const uintptr_t off = a - arena_base.load(relaxed);
  if (off >= arena_bytes || (off >> span_shift) >= arena_used.load(std::memory_order_acquire))
    return nullptr;
  return span_at(record_base.load(relaxed), off >> span_shift);
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
inline uint32_t index_in(const span *s, uintptr_t a) {
  return static_cast<uint32_t>(((a - s->base) * class_reciprocal[s->cls]) >> 40);
}
inline uint32_t size_of(const span *s, uint32_t i) {
  return s->block_size - s->slack[i].load(relaxed);
}
// The count of releases after one more: 1 to 65535, so that 0 keeps
// meaning "never released".
inline uint16_t next_release(uint16_t n) { return static_cast<uint16_t>(n == 0xFFFF ? 1 : n + 1); }

// What is wrong with releasing size bytes at a in span s (the fast path
// found something).
[[gnu::cold]] fault_info classify_small(const span *s, uintptr_t a, size_t size) {
  fault_info f{fault::not_ours, a, size};
  const uintptr_t off = a - s->base;
  const uint32_t i = index_in(s, a);
  if (i >= s->nblocks) return f;
  const uint64_t bit = uint64_t{1} << (i & 63);
  const uint16_t released = s->released[i].load(relaxed);
  const bool live =
      (s->live[i >> 6].load(relaxed) & bit) && !(s->remote[i >> 6].load(relaxed) & bit);
  const uintptr_t block = s->base + uintptr_t{i} * s->block_size;
  if (off != uintptr_t{i} * s->block_size) {
    if (live) f = fault_info{fault::interior, a, size, block, size_of(s, i)};
    return f;
  }
  if (!live) {
    if (released) {
      f.kind = fault::released;
      recall_site(a, released, f.site_file, f.site_line);
    }
    return f;
  }
  return fault_info{fault::wrong_size, a, size, block, size_of(s, i)};
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
  const uint32_t nwords = class_words[cls];
  const size_t record_bytes =
      sizeof(span) + 2 * nwords * sizeof(uint64_t) + 2 * nblocks * sizeof(uint16_t);
  static_assert(sizeof(span) + 2 * 1024 * 8 + 65536 * 4 <= record_stride);
  span *s = span_at(record_base.load(relaxed), index);
  if (!commit(the_pages, s, (record_bytes + page_size - 1) & ~(page_size - 1),
              colour_bookkeeping) ||
      !commit(the_pages, reinterpret_cast<void *>(base), span_bytes, colour_span))
    return nullptr;
  new (s) span{};
  s->base = base;
  s->owner = h;
  s->cls = cls;
  s->block_size = class_size[cls];
  s->nblocks = nblocks;
  s->nwords = nwords;
  s->free_count = nblocks;
  s->live = live_of(s);
  s->remote = remote_of(s, cls);
  s->slack = slack_of(s, cls);
  s->released = released_of(s, cls);
  // Bits past the last block read as live forever, so never handed out.
  if (nblocks % 64) s->live[nwords - 1].store(~uint64_t{0} << (nblocks % 64), relaxed);
  poison(base, span_bytes);
  s->next = h->spans[cls];
  h->spans[cls] = s;
  arena_used.store(index + 1, std::memory_order_release);
  return s;
}

// Takes in the blocks that other threads released.
void drain(span *s) {
  s->remote_count.store(0, relaxed);
  for (uint32_t w = 0; w < s->nwords; ++w) {
    if (!s->remote[w].load(relaxed)) continue;
    const uint64_t r = s->remote[w].exchange(0, std::memory_order_acquire);
    s->live[w].store(s->live[w].load(relaxed) & ~r, relaxed);
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

// The calling thread's heap: an abandoned one (its spans and their live
// blocks come along) or a new one.
// A child of fork must not inherit the lock held by a thread that does not
// exist in it.
void lock_before_fork() { pthread_mutex_lock(&big_lock); }
void unlock_after_fork() { pthread_mutex_unlock(&big_lock); }

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

// The current span of the class is full: take in what other threads
// released, else move to another span of the heap with room, else a new one.
[[gnu::noinline]] span *refill(unsigned cls) {
  heap *h = my_heap ? my_heap : adopt_heap();
  if (!h) return nullptr;
  span *s = h->current[cls];
  if (s) {
    s->free_count = h->free[cls];
    s->hint = h->hint[cls];
    if (s->remote_count.load(relaxed)) drain(s);
  }
  if (!s || !s->free_count) {
    for (s = h->spans[cls]; s; s = s->next) {
      if (s->remote_count.load(relaxed)) drain(s);
      if (s->free_count) break;
    }
    if (!s && !(s = new_span(h, cls))) return nullptr;
  }
  h->current[cls] = s;
  h->free[cls] = s->free_count;
  h->hint[cls] = s->hint;
  return s;
}

void *take_large(size_t size, unsigned char colour, bool zero);

[[gnu::always_inline]] inline void *take_small(size_t size, unsigned char colour, bool zero) {
  const unsigned cls = class_of(size);
  heap *h = my_heap;
  span *s = h ? h->current[cls] : nullptr;
  if (__builtin_expect(!s || h->free[cls] == 0, 0)) {
    if (!(s = refill(cls))) return take_large(size, colour, zero);
    h = my_heap;
  }
  std::atomic<uint64_t> *live = live_of(s);
  uint32_t w = h->hint[cls];
  uint64_t bits;
  while ((bits = live[w].load(relaxed)) == ~uint64_t{0}) ++w;
  const unsigned b = static_cast<unsigned>(std::countr_one(bits));
  live[w].store(bits | (uint64_t{1} << b), relaxed);
  h->hint[cls] = w;
  --h->free[cls];
  const uint32_t i = w * 64 + b;
  slack_of(s, cls)[i].store(static_cast<uint16_t>(class_size[cls] - size), relaxed);
  void *p = reinterpret_cast<void *>(s->base + uintptr_t{i} * class_size[cls]);
  unpoison(p, size);
  if (zero) std::memset(p, 0, size);
  return p;
}

// ---- Large blocks: take and release ----------------------------------------
void *take_large(size_t size, unsigned char colour, bool zero) {
  if (size > (size_t{1} << 46)) return nullptr;
  const size_t bytes = (size + page_size - 1) & ~(page_size - 1);
  void *p = nullptr;
  bool fresh = false;  // a new mapping is zero already
  {
    lock_guard g;
    for (unsigned k = kept_count; k-- > 0;) {
      large_record *r = find_large(kept[k]);
      if (r->bytes != bytes) continue;
      p = reinterpret_cast<void *>(kept[k]);
      std::memmove(kept + k, kept + k + 1, (--kept_count - k) * sizeof(uintptr_t));
      set_colour(the_pages, p, bytes, colour);
      break;
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
  const int colour = pagecolour(the_pages, reinterpret_cast<void *>(a), 1);
  large_record *r = find_large(a);
  switch (colour) {
    case colour_temporary:
    case colour_pointer:
    case colour_allocatable:
      if (r && r->state == state_live) {
        if (r->size == size) return r;
        f = fault_info{fault::wrong_size, a, size, r->address, r->size};
        return nullptr;
      }
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
      if (r && r->state != state_live) {
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
    set_colour(the_pages, reinterpret_cast<void *>(r->address), r->bytes, colour_kept);
    r->state = state_kept;
    kept[kept_count++] = r->address;
    return;
  }
  freemem(the_pages, reinterpret_cast<void *>(r->address), r->bytes);
  r->state = state_returned;
}

[[gnu::noinline]] void release_large(uintptr_t a, size_t size, const char *file, int32_t line,
                                     bool lform) {
  fault_info f;
  {
    lock_guard g;
    if (large_record *r = check_large(a, size, f)) {
      give_back_large(r, file, line);
      return;
    }
  }
  report(f, file, line, lform);
}

// ---- Release -------------------------------------------------------------------
[[gnu::cold, gnu::noinline]] void release_fault(const span *s, uintptr_t a, size_t size,
                                                const char *file, int32_t line, bool lform) {
  if (!s) {
    // Before the first span, every address lands here.
    if (a == zero_size_marker || a == 0) return;
    return release_large(a, size, file, line, lform);
  }
  report(classify_small(s, a, size), file, line, lform);
}

inline void note_release(std::atomic<uint16_t> &released, uint16_t n, uintptr_t a, size_t bytes,
                         const char *file, int32_t line) {
  released.store(n, relaxed);
  if (file) remember_site(a, n, file, line);
  poison(a, bytes);
}

// A span that is not current has no live block left: its pages go back to
// the system until it is used again (it stays the heap's, with its class).
[[gnu::cold, gnu::noinline]] void empty_span(span *s) {
  discard(reinterpret_cast<void *>(s->base), span_bytes);
}

// The fast path trusts nothing it is given: the class comes from the size,
// and the span, the block's place in it, its live bit and its recorded size
// must all agree before anything changes; any disagreement goes to the slow
// path, which finds out what is wrong.
[[gnu::always_inline]] inline void release(void *address, size_t size, const char *file,
                                           int32_t line, bool lform) {
  const auto a = reinterpret_cast<uintptr_t>(address);
  const uintptr_t off = a - arena_base.load(relaxed);
  if (__builtin_expect(off >= arena_bytes, 0)) {
    if (a == zero_size_marker || a == 0) return;
    return release_large(a, size, file, line, lform);
  }
  const uintptr_t index = off >> span_shift;
  span *s = index < arena_used.load(std::memory_order_acquire)
                ? span_at(record_base.load(relaxed), index)
                : nullptr;
  if (__builtin_expect(!s || size - 1 >= small_max, 0))
    return release_fault(s, a, size, file, line, lform);
  const unsigned cls = class_of(size);
  const auto in = static_cast<uint32_t>(off & (span_bytes - 1));
  const auto i = static_cast<uint32_t>((in * class_reciprocal[cls]) >> 40);
  // Only a block start of this span's own class may index its record.
  if (__builtin_expect(s->cls != cls || i * class_size[cls] != in || i >= class_blocks[cls], 0))
    return release_fault(s, a, size, file, line, lform);
  const uint32_t w = i >> 6;
  const uint64_t bit = uint64_t{1} << (i & 63);
  std::atomic<uint64_t> &live = live_of(s)[w];
  std::atomic<uint64_t> &remote = remote_of(s, cls)[w];
  const uint16_t slack = slack_of(s, cls)[i].load(relaxed);
  const uint64_t bits = live.load(relaxed);
  bool ok = (bits & bit) && class_size[cls] - slack == size;
  if (__builtin_expect(!ok, 0)) return release_fault(s, a, size, file, line, lform);
  // Bookkeeping of the release comes before the block changes hands: once
  // its bit changes, the block may be handed out again at once.
  std::atomic<uint16_t> &released = released_of(s, cls)[i];
  const uint16_t before = released.load(relaxed);
  heap *h = my_heap;
  if (s->owner == h) {
    if (__builtin_expect(remote.load(relaxed) & bit, 0))
      return release_fault(s, a, size, file, line, lform);
    note_release(released, next_release(before), a, class_size[cls], file, line);
    live.store(bits & ~bit, relaxed);
    if (s == h->current[cls]) {
      ++h->free[cls];
      if (w < h->hint[cls]) h->hint[cls] = w;
      return;
    }
    if (w < s->hint) s->hint = w;
    if (++s->free_count == class_blocks[cls]) empty_span(s);
    return;
  }
  // Another thread's span: the site is noted only once the release is known
  // to be the first, so that a second one cannot overwrite it.
  const uint16_t n = next_release(before);
  note_release(released, n, a, class_size[cls], nullptr, 0);
  if (remote.fetch_or(bit, std::memory_order_acq_rel) & bit) {
    released.store(before, relaxed);  // it was released already: undo
    return release_fault(s, a, size, file, line, lform);
  }
  s->remote_count.fetch_add(1, relaxed);
  if (file) remember_site(a, n, file, line);
}

[[gnu::always_inline]] inline void *take(size_t size, unsigned char colour, bool zero) {
  if (size == 0) return reinterpret_cast<void *>(zero_size_marker);
  if (size <= small_max) return take_small(size, colour, zero);
  return take_large(size, colour, zero);
}

// Checks a block without releasing it: true when size bytes at a may be
// released (faults are reported as a release would report them).
bool check_block(uintptr_t a, size_t size) {
  fault_info f;
  if (span *s = span_of(a)) {
    // A live block at its start is "wrong size" to classify_small, which
    // assumes something was found wrong; with the right size all is well.
    f = classify_small(s, a, size);
    if (f.kind == fault::wrong_size && f.block == a && f.block_size == size) return true;
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
void __KAFf90_oDeAlloc(void *address, size_t size) { release(address, size, nullptr, 0, false); }
void __KAFf90_pDeAlloc(void *address, size_t size) { release(address, size, nullptr, 0, false); }

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
  release(address, size, file, line, true);
}
void __KAFf90_lpDeAlloc(const char *file, int32_t line, void *address, size_t size) {
  release(address, size, file, line, true);
}

void *__KAFf90_ReAlloc(void *address, size_t old_size, size_t new_size) {
  const auto a = reinterpret_cast<uintptr_t>(address);
  if (a == 0 || a == zero_size_marker) return take(new_size, colour_temporary, false);
  if (new_size == 0) {
    release(address, old_size, nullptr, 0, false);
    return reinterpret_cast<void *>(zero_size_marker);
  }
  if (!check_block(a, old_size)) return take(new_size, colour_temporary, false);
  if (span *s = span_of(a); s && new_size <= small_max && class_of(new_size) == s->cls) {
    // Same class: only the recorded size changes.
    const uint32_t i = index_in(s, a);
    s->slack[i].store(static_cast<uint16_t>(s->block_size - new_size), relaxed);
    unpoison(address, new_size);
    if (new_size < old_size) poison(a + new_size, old_size - new_size);
    return address;
  }
  void *p =
      take(new_size, span_of(a) ? static_cast<unsigned char>(colour_temporary) : colour_of_block(a),
           false);
  if (!p) return nullptr;
  std::memcpy(p, address, old_size < new_size ? old_size : new_size);
  release(address, old_size, nullptr, 0, false);
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
