// Choice of the GEMM kernel path: the best vector unit that the processor
// and the operating system both support (cpuid, xgetbv), capped by
// KAFFORTRAN_GEMM_KERNEL. Made once; every path gives the same bits, so the
// choice only changes the speed.
#include <atomic>
#include <cpuid.h>
#include <cstdlib>
#include <cstring>

#include "matmul/gemm.h"

namespace kaf_gemm {
namespace {

constexpr const char *path_names[] = {"portable", "sse2", "avx2", "avx512"};

std::atomic<int> chosen{-1};

std::uint64_t read_xcr0() {
  std::uint32_t lo, hi;
  __asm__("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
  return (std::uint64_t(hi) << 32) | lo;
}

path best_supported() {
  unsigned a, b, c, d;
  if (!__get_cpuid(1, &a, &b, &c, &d)) return path_sse2;
  const bool osxsave = c & (1u << 27), avx = c & (1u << 28), fma = c & (1u << 12);
  if (!osxsave || !avx) return path_sse2;
  const std::uint64_t xcr0 = read_xcr0();
  const bool ymm_state = (xcr0 & 0x6) == 0x6;          // SSE and AVX state
  const bool zmm_state = (xcr0 & 0xe6) == 0xe6;        // plus opmask and ZMM
  if (!ymm_state || !__get_cpuid_count(7, 0, &a, &b, &c, &d)) return path_sse2;
  const bool avx2 = b & (1u << 5);
  // The AVX-512 file is built for F, DQ, BW and VL.
  const std::uint32_t avx512_bits = (1u << 16) | (1u << 17) | (1u << 30) | (1u << 31);
  if (avx2 && fma && zmm_state && (b & avx512_bits) == avx512_bits) return path_avx512;
  if (avx2 && fma) return path_avx2;
  return path_sse2;
}

path choose() {
  path p = best_supported();
  if (const char *want = std::getenv("KAFFORTRAN_GEMM_KERNEL")) {
    for (int i = 0; i < 4; ++i)
      if (std::strcmp(want, path_names[i]) == 0 && i < p) p = static_cast<path>(i);
  }
  return p;
}

}  // namespace

path active_path() {
  int p = chosen.load(std::memory_order_relaxed);
  if (p < 0) {
    p = choose();  // two first callers agree: the choice is deterministic
    chosen.store(p, std::memory_order_relaxed);
  }
  return static_cast<path>(p);
}

const char *path_name(path p) { return path_names[p]; }

}  // namespace kaf_gemm

extern "C" const char *__KAFf90_gemm_kernel(void) {
  return kaf_gemm::path_name(kaf_gemm::active_path());
}
