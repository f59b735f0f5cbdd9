/* Runtime core: messages and error reporting, runtime options and the
 * command line, program termination, floating-point traps and call-site
 * line tracking. */
#ifndef KAFRTS_RUNTIME_H
#define KAFRTS_RUNTIME_H

#include "kafrts/common.h"

KAF_EXTERN_C_BEGIN

/* ---- Messages and error reporting -------------------------------------
 * A message is a catalogue number (0..571) plus insertion values in the
 * order of the text's $ codes. */

/* Stream for runtime messages; stderr unless the environment names a file. */
KAF_API extern FILE *__KAFf90_runtime_error_file;

/* Fatal: prefix, "file, line N: " (or "file:" for line 0, nothing for a null
 * file), message, traceback, abort. */
KAF_API KAF_NORETURN void __KAFf90_rterr(const char *file, int32_t line, int32_t number, ...);
/* Fatal: prefix and message, no location. */
KAF_API KAF_NORETURN void __KAFf90_rtcrash(int32_t number, ...);
/* Fatal: message without prefix (follows __KAFf90_rtmsg_start). */
KAF_API KAF_NORETURN void __KAFf90_rtcrash2(int32_t number, ...);
/* Fatal: printf-formatted internal fault, reported as message 0. */
KAF_API KAF_NORETURN void __KAFf90_crash(const char *format, ...)
    __attribute__((format(printf, 1, 2)));
/* As rterr, but returns. */
KAF_API void __KAFf90_rterr1(const char *file, int32_t line, int32_t number, ...);
/* As rterr1, insertion values from a va_list. */
KAF_API void __KAFf90_rterr1v(const char *file, int32_t line, int32_t number, va_list args);
/* Takes the reporting lock and writes the prefix only. */
KAF_API void __KAFf90_rtmsg_start(void);
/* Message and line feed, no prefix, to the runtime error stream. */
KAF_API void __KAFf90_rtmsg(int32_t number, ...);
/* Message without line feed to the runtime error stream. */
KAF_API void __KAFf90_rtmsg_nocrlf(int32_t number, ...);
/* Message without line feed to the given stream. */
KAF_API void __KAFf90_rtmsg_file_nocrlf(FILE *stream, int32_t number, ...);
/* Message into buf, never more than size bytes (ERRMSG=, IOMSG=). */
KAF_API size_t __KAFf90_rtstring(char *buf, size_t size, int32_t number, ...);
/* As rtstring, insertion values from a va_list. */
KAF_API size_t __KAFf90_rtstringv(char *buf, size_t size, int32_t number, va_list args);
/* 1 selects the Japanese catalogue and prefix; anything else English. */
KAF_API void __KAFf90_rt_set_language(int32_t language);
/* Decimal text of a 64-bit integer ('-' for negatives), NUL-terminated;
 * buf holds at least 21 bytes. Returns the number of characters. */
KAF_API size_t __KAFf90_putlls(char *buf, int64_t value);

/* ---- Runtime options, command line, environment ----------------------- */

KAF_API extern int32_t __KAFf90_number_of_images;      /* -511245: not set (1) */
KAF_API extern int32_t __KAFf90_autoskip_namelist;     /* 0, 1 skip, 2 skip and log */
KAF_API extern int32_t __KAFf90_blank_common_size;     /* bytes, default 1048576 */
KAF_API extern int32_t __KAFf90_io_overflow_exception; /* 1: input overflow raises FE_OVERFLOW */
KAF_API extern int32_t __KAFf90_maud_enabled;          /* mem_allow_undef_dealloc */
KAF_API extern int32_t __KAFf90_show_dangling;         /* show_dangling */
KAF_API extern int32_t __KAFf90_please_suppress_underflow; /* no underflow warning at exit */
KAF_API extern int32_t __KAFf90_argc;                  /* stored by the start-up code */
KAF_API extern char **__KAFf90_argv;

/* Reads the environment once; returns the state found or set (2 = done). */
KAF_API int32_t __KAFf90_init_runtime_options(void);
/* Number of command arguments (argc - 1). */
KAF_API int32_t __KAFf90_iargc(void);
/* GET_COMMAND: command (may be null), LENGTH and STATUS (may be null). */
KAF_API void __KAFf90_getcmd(char *command, int32_t *length, int32_t *status,
                             kaf_charlen command_len);
/* GET_COMMAND_ARGUMENT(NUMBER, VALUE, LENGTH, STATUS); absent ones are null. */
KAF_API void __KAFf90_getarg(int32_t number, char *value, int32_t *length, int32_t *status,
                             kaf_charlen value_len);
/* GET_ENVIRONMENT_VARIABLE(NAME, VALUE, LENGTH, STATUS, TRIM_NAME). */
KAF_API void __KAFf90_getenv(const char *name, char *value, int32_t *length, int32_t *status,
                             const int32_t *trim_name, kaf_charlen name_len,
                             kaf_charlen value_len);

/* ---- Program termination ---------------------------------------------- */

KAF_API extern int32_t __KAFf90_quiet_stop;       /* set by QUIET=.TRUE. */
KAF_API extern int32_t __KAFf90_n_failed_images;  /* images that executed FAIL IMAGE */

/* STOP [code]: the text or null. */
KAF_API KAF_NORETURN void __KAFf90_stop(const char *code);
KAF_API KAF_NORETURN void __KAFf90_stop_line(const char *file, int32_t line, const char *code);
KAF_API KAF_NORETURN void __KAFf90_stop_exit_status(const char *file, int32_t line,
                                                    const char *code, int32_t status);
KAF_API KAF_NORETURN void __KAFf90_error_stop(const char *file, int32_t line, const char *code,
                                              int32_t status);
/* STOP (kind 0) and ERROR STOP (kind 2): text code with length (null for
 * none; then a nonzero code_len says int_code is given), exit status, QUIET=. */
KAF_API KAF_NORETURN void __KAFf90_stop2015(const char *file, int32_t line, int32_t kind,
                                            const char *code, int64_t code_len,
                                            int64_t int_code, int32_t status, int32_t quiet);
/* Normal end of the main program or of an image. */
KAF_API KAF_NORETURN void __KAFf90_finish(int32_t status);
/* Last step of the process: exception summary, failed images, exit. */
KAF_API KAF_NORETURN void __KAFf90_exit(int32_t status);
/* PAUSE [code]. */
KAF_API void __KAFf90_pause(const char *code);
/* FAIL IMAGE. */
KAF_API KAF_NORETURN void __KAFf90_fail_image(const char *file, int32_t line);
/* ERRMSG= text of an ALLOCATE/DEALLOCATE STAT value, blank-padded. */
KAF_API void __KAFf90_stat_errmsg(int32_t stat, char *errmsg, kaf_charlen errmsg_len);

/* ---- Floating-point traps and call-site tracking ---------------------- */

KAF_API extern const char *__KAFf90_filename; /* current source file */
KAF_API extern int32_t __KAFf90_lineno;       /* current line; 0: no tracking */

/* Mode 0 traps invalid/zero-divide/overflow, 1 adds flush-to-zero, 2 no
 * traps, 3 no traps with flush-to-zero. */
KAF_API void __KAFf90_init_fp(int32_t mode);
KAF_API void __KAFf90_establish_sigfpe_handler(void);
/* The SIGFPE handler (an SA_SIGINFO handler: info is a siginfo_t *). */
KAF_API void __KAFf90_signal_handler(int signal, void *info, void *context);
/* Entry to and exit from a program unit compiled with line tracking. */
KAF_API void __KAFf90_enter_pu(const char *routine_name);
KAF_API void __KAFf90_exit_pu(void);
/* Writes the traceback of call sites to stream. */
KAF_API void __KAFf90_dump_gline_stack(FILE *stream);
KAF_API void __KAFf90_delete_gline_stack(void);

KAF_EXTERN_C_END

#endif
