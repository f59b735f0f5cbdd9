// The storage allocator's page layer: whole pages from the system, one
// colour byte per 4 KiB page, kept in per-256 MiB colour arrays found
// through an open-addressing region index. Not locked: the allocator
// serialises every call (the exported entries take its lock).
#pragma once

#include <cstddef>
#include <cstdint>

// Sanitizer builds poison released blocks, so that nothing may touch them.
#if defined(__SANITIZE_ADDRESS__)
#define KAF_ASAN 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KAF_ASAN 1
#endif
#endif
#ifdef KAF_ASAN
#include <sanitizer/asan_interface.h>
#endif

namespace kaf::pages {

constexpr unsigned page_shift = 12;
constexpr size_t page_size = size_t{1} << page_shift;
constexpr unsigned region_shift = 28;                                      // 256 MiB
constexpr size_t region_pages = size_t{1} << (region_shift - page_shift);  // 65,536
constexpr unsigned index_size = 4096;                                      // address bits 28..39

// Colours. 0, 4, 5 and 7 are the page layer's own; the others name what
// the allocator keeps in the pages.
enum : unsigned char {
  colour_uncoloured = 0,   // page of a known region never coloured
  colour_temporary = 1,    // large block from oAlloc (temporaries, compiler storage)
  colour_pointer = 2,      // large block from pAlloc
  colour_allocatable = 3,  // large block from aAlloc
  colour_returned = 4,     // returned to the system by freemem
  colour_bookkeeping = 5,  // the allocator's own records (colour arrays too)
  colour_span = 6,         // span of small blocks
  colour_mixed = 7,        // unknown region, or a range of several colours
  colour_kept = 8,         // large block freed, mapping kept for reuse
};

struct region_entry {
  unsigned char *colours;  // 65,536 colour bytes; null: empty entry
  uintptr_t key;           // address with its low 28 bits cleared
};

struct page_map {
  region_entry top_index[index_size];
};

// The process's map (zero at load: every entry empty).
extern page_map the_pages;

// Maps size bytes (read/write, private, anonymous) and colours every page
// the range touches; colour 5 records nothing. Null when the mapping or the
// colouring fails (the mapping is then undone).
void *getmem(page_map &map, size_t size, int colour);
// Unmaps, then colours the range 4. A failing munmap is an internal error.
void freemem(page_map &map, void *address, size_t size);
// Colours every page from the address's page to the page of the range's
// last byte. 1 on success, 0 when the region index is full.
int set_colour(page_map &map, const void *address, size_t size, int colour);
// The common colour of the range's pages; 7 when they differ or when a page
// lies in no known region. Size 0 asks about the address's page.
int pagecolour(page_map &map, const void *address, size_t size);

// Reserves size bytes of address space, inaccessible and unbacked, for the
// allocator to commit piece by piece; records nothing. Null on failure.
void *reserve(size_t size);
// Lets the system take back the pages of a committed range (they read as
// zero when next touched); the range stays mapped and keeps its colours.
void discard(void *address, size_t size);
// Gives a reservation (or part of one never committed) back.
void unreserve(void *address, size_t size);
// Makes size bytes inside a reservation readable and writable (fresh,
// zero-filled) and colours them. False when either step fails.
bool commit(page_map &map, void *address, size_t size, int colour);

}  // namespace kaf::pages
