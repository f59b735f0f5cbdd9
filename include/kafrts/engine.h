/* The companion library libkafengine: program start-up, exit procedures,
 * per-image records, the storage allocator and the I/O engine's entries. */
#ifndef KAFRTS_ENGINE_H
#define KAFRTS_ENGINE_H

#include "kafrts/common.h"

KAF_EXTERN_C_BEGIN

/* ---- Start-up -----------------------------------------------------------
 * A compiled main program's C main calls this: stores argc/argv, reads the
 * runtime options, sets the floating-point mode (see __KAFf90_init_fp) and
 * the SIGFPE handler, runs the main program and ends through
 * __KAFf90_finish(0). It never returns. */
KAF_API KAF_NORETURN int __KAFf90_start(int argc, char **argv, int32_t fp_mode,
                                        void (*main_program)(void));

/* ---- Exit procedures ----------------------------------------------------
 * Registered procedures run in reverse order at normal process exit. */
KAF_API int32_t __KAFf90_atexit(void (*procedure)(void));
/* Cancels every registered exit procedure (a fatal ending runs none). */
KAF_API void __KAFf90_clear_atexit_procs(void);

/* ---- Images -------------------------------------------------------------
 * Keys of the thread-local per-image records; 0 means single-image mode. */
KAF_API extern int32_t __KAFf90_this_image_id;
KAF_API extern int32_t __KAFf90_this_teamimage_id;
/* The calling thread's record for key, or null. */
/* Every per-image record begins with its tag and its state word
 * (0 running, 1 stopped, 2 failed). */
typedef struct kaf_image_head {
  uint64_t tag;
  int32_t state;
} kaf_image_head;

KAF_API void *__KAFf90_tls_pget(int32_t key);

/* ---- Storage allocator --------------------------------------------------
 * Every block goes back with the size it was taken with; each release is
 * checked against the allocator's records (never against the block itself)
 * and a release of something not handed out, already released, part of a
 * block or with another size is reported (see docs/memory.md). The z forms
 * return zero-filled storage; the l forms take the source file and line of
 * the statement first. A zero-byte request returns the zero-size marker
 * 0xFFFFFFFF, which every release accepts with any size. Thread-safe. */
KAF_API void *__KAFf90_oAlloc(size_t size);   /* compiler storage, temporaries */
KAF_API void *__KAFf90_zoAlloc(size_t size);
KAF_API void *__KAFf90_pAlloc(size_t size);   /* ALLOCATE of a pointer */
KAF_API void *__KAFf90_zpAlloc(size_t size);
KAF_API void *__KAFf90_aAlloc(size_t size);   /* ALLOCATE of an allocatable */
KAF_API void *__KAFf90_zaAlloc(size_t size);
KAF_API void __KAFf90_oDeAlloc(void *address, size_t size);
KAF_API void __KAFf90_pDeAlloc(void *address, size_t size);
KAF_API void *__KAFf90_loAlloc(const char *file, int32_t line, size_t size);
KAF_API void *__KAFf90_lzoAlloc(const char *file, int32_t line, size_t size);
KAF_API void *__KAFf90_lpAlloc(const char *file, int32_t line, size_t size);
KAF_API void *__KAFf90_lzpAlloc(const char *file, int32_t line, size_t size);
KAF_API void *__KAFf90_laAlloc(const char *file, int32_t line, size_t size);
KAF_API void *__KAFf90_lzaAlloc(const char *file, int32_t line, size_t size);
KAF_API void __KAFf90_loDeAlloc(const char *file, int32_t line, void *address, size_t size);
KAF_API void __KAFf90_lpDeAlloc(const char *file, int32_t line, void *address, size_t size);
/* Resizes a block; the contents up to the smaller size are kept. Null when
 * the new size cannot be had (the old block stays). From null or the marker
 * it allocates; to size 0 it releases and returns the marker. */
KAF_API void *__KAFf90_ReAlloc(void *address, size_t old_size, size_t new_size);
/* At process end: forgets the records of released blocks and returns the
 * freed large blocks kept for reuse; live blocks stay valid. */
KAF_API void __KAFf90_delete_avlpat(void);

/* ---- I/O engine -------------------------------------------------------- */

/* What the error reporter needs to describe a unit ($U insertion). */
typedef struct kaf_unit_facts {
  int32_t scratch;       /* nonzero: a scratch file */
  int32_t standard;      /* 1 standard input, 2 standard output, 3 the runtime
                            error stream, 0 none of them */
  const char *file_name; /* null when the unit has no file name */
  int32_t asynchronous;  /* nonzero: opened ASYNCHRONOUS='YES' */
  int32_t formatted;     /* nonzero: formatted */
  int32_t access;        /* 0 sequential, 1 direct, 2 stream */
} kaf_unit_facts;

/* Fills facts for the engine's unit record unit. */
KAF_API void __KAFf90_unit_facts(const void *unit, kaf_unit_facts *facts);
/* Flushes and closes every unit (until the unit table exists: the C streams). */
KAF_API void __KAFf90_io_finish(void);

KAF_EXTERN_C_END

#endif
