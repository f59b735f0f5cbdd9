// Pages from the system and their colours. A colour lookup never touches
// the memory it describes: it costs one probe of the region index and one
// byte of a colour array.
#include <sys/mman.h>

#include <algorithm>
#include <cstring>

#include "engine/alloc.h"
#include "kafrts/runtime.h"

namespace kaf::pages {

page_map the_pages;

namespace {

constexpr uintptr_t region_mask = (uintptr_t{1} << region_shift) - 1;

unsigned home_slot(uintptr_t key) { return (key >> region_shift) & (index_size - 1); }

enum class probe_result { found, empty, full };

// Walks from the key's home slot to the entry holding the key or to the
// first empty entry, wrapping at the end of the index.
probe_result probe(const page_map &map, uintptr_t key, unsigned &slot) {
  unsigned s = home_slot(key);
  for (unsigned n = 0; n < index_size; ++n, s = (s + 1) & (index_size - 1)) {
    const region_entry &e = map.top_index[s];
    if (!e.colours) {
      slot = s;
      return probe_result::empty;
    }
    if (e.key == key) {
      slot = s;
      return probe_result::found;
    }
  }
  return probe_result::full;
}

bool wholly_returned(const unsigned char *colours) {
  constexpr uint64_t all4 = 0x0404040404040404ull;
  for (size_t i = 0; i < region_pages; i += 8) {
    uint64_t w;
    std::memcpy(&w, colours + i, 8);
    if (w != all4) return false;
  }
  return true;
}

// Scratch for reclaim (callers are serialised).
region_entry survivors[index_size];

// The index is full: release every colour array whose whole region has
// been returned, then re-insert the survivors, since emptying an entry in
// the middle of a probe chain would hide the keys placed beyond it.
void reclaim(page_map &map) {
  unsigned char *released[index_size];  // freemem below may reclaim again
  unsigned kept = 0, freed = 0;
  for (region_entry &e : map.top_index) {
    if (!e.colours) continue;
    if (wholly_returned(e.colours))
      released[freed++] = e.colours;
    else
      survivors[kept++] = e;
    e = region_entry{};
  }
  for (unsigned i = 0; i < kept; ++i) {
    unsigned slot = 0;
    probe(map, survivors[i].key, slot);
    map.top_index[slot] = survivors[i];
  }
  for (unsigned i = 0; i < freed; ++i) freemem(map, released[i], region_pages);
}

// The colour array of the region holding address. With create, an unknown
// region gets a fresh (zero-filled) array; created then says so. Null when
// the region is unknown (without create) or the index is full.
unsigned char *find_colours(page_map &map, uintptr_t address, bool create, bool &created) {
  const uintptr_t key = address & ~region_mask;
  unsigned slot = 0;
  probe_result r = probe(map, key, slot);
  if (r == probe_result::full) {
    reclaim(map);
    r = probe(map, key, slot);
    if (r == probe_result::full) return nullptr;
  }
  if (r == probe_result::found) return map.top_index[slot].colours;
  if (!create) return nullptr;
  auto *colours = static_cast<unsigned char *>(getmem(map, region_pages, colour_bookkeeping));
  if (!colours) return nullptr;
  map.top_index[slot] = region_entry{colours, key};
  created = true;
  return colours;
}

// Last page of a range of size bytes (size > 0) at address, clamped to the
// top of the address space.
uintptr_t last_page(uintptr_t address, size_t size) {
  uintptr_t end = address + (size - 1);
  if (end < address) end = UINTPTR_MAX;
  return end >> page_shift;
}

}  // namespace

int set_colour(page_map &map, const void *address, size_t size, int colour) {
  if (size == 0) return 1;
  const uintptr_t a = reinterpret_cast<uintptr_t>(address);
  uintptr_t first = a >> page_shift;
  const uintptr_t last = last_page(a, size);
  for (;;) {
    bool created = false;
    unsigned char *colours = find_colours(map, first << page_shift, true, created);
    if (!colours) return 0;
    const size_t index = first & (region_pages - 1);
    const size_t n = std::min<uintptr_t>(last - first + 1, region_pages - index);
    std::memset(colours + index, colour, n);
    // The new array's own pages are coloured only now, with the index
    // consistent again.
    if (created) set_colour(map, colours, region_pages, colour_bookkeeping);
    if (last - first + 1 == n) return 1;
    first += n;
  }
}

int pagecolour(page_map &map, const void *address, size_t size) {
  const uintptr_t a = reinterpret_cast<uintptr_t>(address);
  uintptr_t first = a >> page_shift;
  const uintptr_t last = size ? last_page(a, size) : first;
  int result = -1;
  for (;;) {
    bool created = false;
    const unsigned char *colours = find_colours(map, first << page_shift, false, created);
    if (!colours) return colour_mixed;
    const size_t index = first & (region_pages - 1);
    const size_t n = std::min<uintptr_t>(last - first + 1, region_pages - index);
    if (result < 0) result = colours[index];
    for (size_t i = 0; i < n; ++i)
      if (colours[index + i] != result) return colour_mixed;
    if (last - first + 1 == n) return result;
    first += n;
  }
}

void *getmem(page_map &map, size_t size, int colour) {
  // Beyond the user half of the address space no mapping can succeed, and
  // rounding to pages must not wrap.
  if (size == 0 || size > (uintptr_t{1} << 47)) return nullptr;
  void *p = mmap64(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (p == MAP_FAILED || p == nullptr) return nullptr;
  if (colour == colour_bookkeeping) return p;
  if (!set_colour(map, p, size, colour)) {
    if (munmap(p, size) != 0) __KAFf90_crash("Impossible failure from freemem");
    return nullptr;
  }
  return p;
}

void *reserve(size_t size) {
  void *p = mmap64(nullptr, size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
  return p == MAP_FAILED ? nullptr : p;
}

void discard(void *address, size_t size) { madvise(address, size, MADV_DONTNEED); }

void unreserve(void *address, size_t size) {
  if (munmap(address, size) != 0) __KAFf90_crash("Impossible failure from freemem");
}

bool commit(page_map &map, void *address, size_t size, int colour) {
  void *p =
      mmap64(address, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
  if (p != address) return false;
  return colour == colour_bookkeeping || set_colour(map, address, size, colour) != 0;
}

void freemem(page_map &map, void *address, size_t size) {
#ifdef KAF_ASAN
  // The pages may come back from the system for something else.
  ASAN_UNPOISON_MEMORY_REGION(address, size);
#endif
  if (munmap(address, size) != 0) __KAFf90_crash("Impossible failure from freemem");
  set_colour(map, address, size, colour_returned);
}

}  // namespace kaf::pages
