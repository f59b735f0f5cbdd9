/* Namelist transfer: the group record that compiled code describes a
 * NAMELIST group with, the engine's namelist READ and WRITE (libkafengine)
 * and the legacy statements readn/writen (libkafrts).
 *
 * A NAMELIST READ or WRITE is the engine's begin call (read_seq4,
 * write_seq, read_internal_file, write_ifile), one namelist call with the
 * group record, and the end call. The group record is plain data: for SAVEd
 * and module variables the compiler can emit all of it statically; for
 * automatic objects it fills in the addresses (or descriptor pointers) before
 * the statement. The library only reads it. */
#ifndef KAFRTS_NAMELIST_H
#define KAFRTS_NAMELIST_H

#include "kafrts/common.h"
#include "kafrts/io.h"

KAF_EXTERN_C_BEGIN

/* Type codes of objects and components: the runtime's type codes (the
 * names that message insertion $D prints). The suffix is the item suffix of
 * the list-directed entries. */
enum {
  KAF_TYPE_I1 = 1,   /* INTEGER, 8 bits */
  KAF_TYPE_I2 = 2,   /* INTEGER, 16 bits */
  KAF_TYPE_I = 3,    /* INTEGER, 32 bits */
  KAF_TYPE_R = 4,    /* REAL */
  KAF_TYPE_D = 5,    /* DOUBLE PRECISION */
  KAF_TYPE_L1 = 6,   /* LOGICAL, 8 bits */
  KAF_TYPE_L = 7,    /* LOGICAL, 32 bits */
  KAF_TYPE_C = 8,    /* COMPLEX */
  KAF_TYPE_DC = 9,   /* DOUBLE COMPLEX */
  KAF_TYPE_CH = 10,  /* CHARACTER, one byte per character */
  KAF_TYPE_DERIVED = 11,
  KAF_TYPE_L2 = 12,  /* LOGICAL, 16 bits */
  KAF_TYPE_L4 = 13,  /* LOGICAL, 64 bits */
  KAF_TYPE_I4 = 14,  /* INTEGER, 64 bits */
  KAF_TYPE_DD = 15,  /* REAL, double-double (kaf_dd) */
  KAF_TYPE_DDC = 16, /* COMPLEX, double-double (kaf_ddc) */
  KAF_TYPE_H = 17,   /* REAL, half precision (its 16 bits) */
  KAF_TYPE_HC = 18,  /* COMPLEX, half precision */
  KAF_TYPE_CH2J = 21, /* CHARACTER, Shift-JIS in 16-bit units */
  KAF_TYPE_CH2U = 22, /* CHARACTER, UCS-2 (16-bit units) */
  KAF_TYPE_CH4 = 23   /* CHARACTER, UCS-4 (32-bit units) */
};

typedef struct kaf_nml_dtype kaf_nml_dtype;

/* One component of a derived type, in declaration order. Components in a
 * namelist group are never pointers or allocatables, so everything here is
 * known at compile time. */
typedef struct kaf_nml_component {
  const char *name;           /* NUL-terminated; matched without regard to case */
  int64_t offset;             /* bytes from the start of the parent element */
  int32_t type_code;          /* KAF_TYPE_* */
  int32_t rank;               /* 0 for a scalar, else 1 to 7 */
  int64_t char_len;           /* characters per element of a CHARACTER kind, else 0 */
  const kaf_nml_dtype *dtype; /* KAF_TYPE_DERIVED: the component's type, else null */
  const int64_t *bounds;      /* rank > 0: lower bound and extent of each dimension
                                 (2 x rank words); the elements are contiguous in
                                 array element order. Null for a scalar. */
} kaf_nml_component;

/* A derived type: its size and its components. */
struct kaf_nml_dtype {
  const char *name;                     /* type name (not used by the transfer) */
  int64_t size;                         /* bytes of one element (array strides) */
  int32_t ncomponents;
  int32_t reserved;                     /* 0 */
  const kaf_nml_component *components;  /* ncomponents records */
};

/* One object of the group, in the order of the NAMELIST statement. */
typedef struct kaf_nml_object {
  const char *name;           /* NUL-terminated; matched without regard to case */
  int32_t type_code;          /* KAF_TYPE_* */
  int32_t rank;               /* 0 for a scalar, else the rank of desc (1 to 7) */
  void *address;              /* scalar: the object; arrays: ignored */
  const int64_t *desc;        /* arrays: the array descriptor (base address, the
                                 element length word for CHARACTER kinds and
                                 derived types, offset, then extent, byte stride
                                 and lower bound per dimension); null for a scalar */
  int64_t char_len;           /* CHARACTER scalars: characters (arrays take the
                                 descriptor's length word) */
  const kaf_nml_dtype *dtype; /* KAF_TYPE_DERIVED: the object's type, else null */
} kaf_nml_object;

/* The group. */
typedef struct kaf_nml_group {
  const char *name;               /* group name, NUL-terminated */
  int32_t nobjects;
  int32_t reserved;               /* 0 */
  const kaf_nml_object *objects;  /* nobjects records */
} kaf_nml_group;

/* ---- The engine's namelist transfer (libkafengine) ----------------------
 * Called between the begin call and the end call. src_file/src_line locate
 * the statement for the autoskip log line (message 378) and for error
 * reports; null/0 keeps what the begin call was given (and the log line
 * falls back on the call-site tracking). Return 0 or the status from
 * __KAFf90_ioerr to branch on (then the statement is over: no end call
 * is needed, though one is harmless). */
KAF_API int32_t __KAFf90_do_read_namelist2(kaf_ioctx *ctx, const kaf_nml_group *group,
                                           const char *src_file, int32_t src_line);
KAF_API int32_t __KAFf90_do_write_namelist2(kaf_ioctx *ctx, const kaf_nml_group *group,
                                            const char *src_file, int32_t src_line);

/* ---- Forwarders and legacy statements (libkafrts) ----------------------- */
/* do_read_namelist2 / do_write_namelist2 with no location (null, 0). */
KAF_API int32_t __KAFf90_do_read_namelist(kaf_ioctx *ctx, const kaf_nml_group *group);
KAF_API int32_t __KAFf90_do_write_namelist(kaf_ioctx *ctx, const kaf_nml_group *group);
/* A whole legacy namelist READ / WRITE on a unit, in one call, on the
 * legacy context: the flag word goes to the engine as it is for readn and
 * reduced to 4/0 for writen. */
KAF_API int32_t __KAFf90_readn(int32_t unit, const kaf_nml_group *group, int32_t flags);
KAF_API int32_t __KAFf90_writen(int32_t unit, const kaf_nml_group *group, int32_t flags);

KAF_EXTERN_C_END

#endif
