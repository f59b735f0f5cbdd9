// The hidden-length check of CHARACTER arguments: an actual argument
// shorter than its dummy needs is fatal, with the long message when the
// caller can name the procedure and the dummy.
#include "kafrts/matmul.h"
#include "kafrts/runtime.h"

namespace {
constexpr int msg_actual_shorter = 8;        // "CHARACTER actual arg LEN=$V shorter than ..."
constexpr int msg_actual_shorter_named = 9;  // "Invalid reference to procedure $C - ..."
}  // namespace

extern "C" void __KAFf90_arg_chrlen_shorter(const char *procedure, const char *dummy,
                                            int64_t actual_len, int64_t dummy_len) {
  if (procedure && dummy)
    __KAFf90_rtcrash(msg_actual_shorter_named, procedure, dummy, dummy_len, actual_len);
  __KAFf90_rtcrash(msg_actual_shorter, actual_len, dummy_len);
}
