// Binary <-> decimal conversion, correctly rounded in every mode.
//
// Both directions first try a 128-bit fast path: the power of ten is taken
// from a table of 128-bit truncations, the product is formed in 192 bits, and
// the true product is known to lie in a small interval above it. When that
// interval holds no rounding boundary the result is decided; otherwise (ties,
// exact halves, values next to a boundary) the exact path decides with big
// integers: base-10^9 limbs for output (as musl's fmt_fp does), binary limbs
// and a short long division for input.
#include "format/decimal.h"

#include <bit>
#include <cmath>
#include <cstring>

namespace kaf::dec {
namespace {

using u128 = unsigned __int128;

// ---------------------------------------------------------------------------
// Powers of ten: 10^k = (hi:lo + delta) * 2^exp2 with 0 <= delta < 1, hi's top
// bit set; delta is 0 exactly when `exact`. Computed at compile time from
// exact big integers (2^L / 10^k by repeated division for negative k).

inline constexpr int kPowMin = -350, kPowMax = 350;

struct pow10_entry {
  std::uint64_t hi, lo;
  std::int32_t exp2;
  bool exact;
};

struct pow10_table {
  pow10_entry e[kPowMax - kPowMin + 1];
};

constexpr int ct_bitlen(const std::uint32_t *a, int n) {
  while (n > 0 && a[n - 1] == 0) --n;
  if (n == 0) return 0;
  int b = 0;
  for (std::uint32_t v = a[n - 1]; v; v >>= 1) ++b;
  return 32 * (n - 1) + b;
}

constexpr bool ct_bit(const std::uint32_t *a, int n, int b) {
  return b >= 0 && b / 32 < n && ((a[b / 32] >> (b % 32)) & 1u);
}

// The 128 bits of a below its top bit, and whether no lower bit is set.
constexpr pow10_entry ct_top128(const std::uint32_t *a, int n, int exp_bias) {
  pow10_entry r{};
  int len = ct_bitlen(a, n);
  int start = len - 128;
  for (int i = 0; i < 64; ++i) {
    if (ct_bit(a, n, start + i)) r.lo |= std::uint64_t{1} << i;
    if (ct_bit(a, n, start + 64 + i)) r.hi |= std::uint64_t{1} << i;
  }
  r.exact = true;
  for (int b = 0; b < start; ++b)
    if (ct_bit(a, n, b)) {
      r.exact = false;
      break;
    }
  r.exp2 = start + exp_bias;
  return r;
}

constexpr pow10_table make_pow10_table() {
  pow10_table t{};
  constexpr int kLimbs = 48;  // 10^350 < 2^1163; 2^1400 for the reciprocals
  std::uint32_t a[kLimbs] = {};
  a[0] = 1;
  for (int k = 0; k <= kPowMax; ++k) {
    if (k > 0) {
      std::uint64_t carry = 0;
      for (int i = 0; i < kLimbs; ++i) {
        std::uint64_t v = std::uint64_t{a[i]} * 10 + carry;
        a[i] = static_cast<std::uint32_t>(v);
        carry = v >> 32;
      }
    }
    t.e[k - kPowMin] = ct_top128(a, kLimbs, 0);
  }
  constexpr int kL = 1400;
  std::uint32_t b[kLimbs] = {};
  b[kL / 32] = std::uint32_t{1} << (kL % 32);
  for (int k = 1; k <= -kPowMin; ++k) {
    std::uint64_t rem = 0;
    for (int i = kLimbs - 1; i >= 0; --i) {
      std::uint64_t v = (rem << 32) | b[i];
      b[i] = static_cast<std::uint32_t>(v / 10);
      rem = v % 10;
    }
    pow10_entry e = ct_top128(b, kLimbs, -kL);
    e.exact = false;  // 10^-k is never a dyadic number
    t.e[-k - kPowMin] = e;
  }
  return t;
}

constexpr pow10_table kPow10 = make_pow10_table();

static_assert(kPow10.e[0 - kPowMin].hi == 0x8000000000000000u && kPow10.e[0 - kPowMin].exp2 == -127);
static_assert(kPow10.e[1 - kPowMin].hi == 0xA000000000000000u && kPow10.e[1 - kPowMin].exact);
static_assert(kPow10.e[55 - kPowMin].exact && !kPow10.e[56 - kPowMin].exact);  // 5^55 < 2^128 < 5^56

// ---------------------------------------------------------------------------
// 192-bit unsigned arithmetic for the fast paths.

struct u192 {
  std::uint64_t w[3];  // w[0] least significant
};

u192 mul_64x128(std::uint64_t m, std::uint64_t hi, std::uint64_t lo) {
  u128 p0 = static_cast<u128>(m) * lo;
  u128 p1 = static_cast<u128>(m) * hi;
  u128 mid = (p0 >> 64) + static_cast<std::uint64_t>(p1);
  return {{static_cast<std::uint64_t>(p0), static_cast<std::uint64_t>(mid),
           static_cast<std::uint64_t>(p1 >> 64) + static_cast<std::uint64_t>(mid >> 64)}};
}

int bitlen192(const u192 &a) {
  for (int i = 2; i >= 0; --i)
    if (a.w[i]) return 64 * i + 64 - std::countl_zero(a.w[i]);
  return 0;
}

// Bits [s, s+64) of a (s >= 0).
std::uint64_t bits_at(const u192 &a, int s) {
  int wi = s / 64, bi = s % 64;
  std::uint64_t lo = wi < 3 ? a.w[wi] : 0;
  std::uint64_t hi = wi + 1 < 3 ? a.w[wi + 1] : 0;
  return bi == 0 ? lo : (lo >> bi) | (hi << (64 - bi));
}

// a mod 2^s, 0 < s < 192.
u192 low_bits(const u192 &a, int s) {
  u192 r = a;
  for (int i = 0; i < 3; ++i) {
    int lo = 64 * i;
    if (s <= lo) r.w[i] = 0;
    else if (s < lo + 64) r.w[i] &= (std::uint64_t{1} << (s - lo)) - 1;
  }
  return r;
}

u192 pow2_192(int s) {
  u192 r{{0, 0, 0}};
  r.w[s / 64] = std::uint64_t{1} << (s % 64);
  return r;
}

// a + b; the callers' sums stay below 2^192.
u192 add192(const u192 &a, const u192 &b) {
  u192 r;
  u128 c = 0;
  for (int i = 0; i < 3; ++i) {
    c += static_cast<u128>(a.w[i]) + b.w[i];
    r.w[i] = static_cast<std::uint64_t>(c);
    c >>= 64;
  }
  return r;
}

int cmp192(const u192 &a, const u192 &b) {
  for (int i = 2; i >= 0; --i)
    if (a.w[i] != b.w[i]) return a.w[i] < b.w[i] ? -1 : 1;
  return 0;
}

// Where the discarded part lies, as a fraction of one unit kept.
enum class tail : std::uint8_t { zero, below_half, half, above_half };

// The discarded part is r + e, with e = 0 when `exact`, else 0 < e <= err.
// Returns false when [r, r + err] touches a boundary (0, half, one unit).
bool classify(const u192 &r, int s, bool exact, const u192 &err, tail *out) {
  u192 half = pow2_192(s - 1);
  if (exact) {
    int c = cmp192(r, half);
    bool zero = (r.w[0] | r.w[1] | r.w[2]) == 0;
    *out = zero ? tail::zero : c < 0 ? tail::below_half : c == 0 ? tail::half : tail::above_half;
    return true;
  }
  if (s > 64 && bitlen192(err) <= s - 64) {
    // The usual case, on the top 64 bits of the remainder alone: r lies in
    // [t, t + 1) units of 2^(s-64) and r + err below t + 2 of them.
    std::uint64_t t = bits_at(r, s - 64);
    if (t < (std::uint64_t{1} << 63) - 1) {
      *out = tail::below_half;
      return true;
    }
    if (t >= (std::uint64_t{1} << 63) && t < ~std::uint64_t{0} - 1) {
      *out = tail::above_half;
      return true;
    }
  }
  u192 top = add192(r, err);
  if (cmp192(top, half) < 0) {
    *out = tail::below_half;
    return true;
  }
  if (cmp192(r, half) >= 0 && cmp192(top, pow2_192(s)) < 0) {
    *out = tail::above_half;
    return true;
  }
  return false;
}

// Whether a kept value with last bit/digit `odd` goes up one unit.
bool rounds_up(rmode m, tail t, bool odd) {
  switch (m) {
    case rmode::nearest_even: return t == tail::above_half || (t == tail::half && odd);
    case rmode::nearest_away: return t == tail::above_half || t == tail::half;
    case rmode::toward_zero: return false;
    case rmode::away_from_zero: return t != tail::zero;
  }
  return false;
}

// The tail after dropping one more decimal digit.
tail fold_digit(unsigned digit, tail t) {
  if (digit == 0) return t == tail::zero ? tail::zero : tail::below_half;
  if (digit < 5) return tail::below_half;
  if (digit == 5) return t == tail::zero ? tail::half : tail::above_half;
  return tail::above_half;
}

constexpr std::uint64_t kPow10u64[20] = {1ull,
                                         10ull,
                                         100ull,
                                         1000ull,
                                         10000ull,
                                         100000ull,
                                         1000000ull,
                                         10000000ull,
                                         100000000ull,
                                         1000000000ull,
                                         10000000000ull,
                                         100000000000ull,
                                         1000000000000ull,
                                         10000000000000ull,
                                         100000000000000ull,
                                         1000000000000000ull,
                                         10000000000000000ull,
                                         100000000000000000ull,
                                         1000000000000000000ull,
                                         10000000000000000000ull};

int decimal_length(std::uint64_t v) {
  int n = 1;
  while (n < 20 && v >= kPow10u64[n]) ++n;
  return n;
}

void put_u64(std::uint64_t v, int n, char *out) {
  for (int i = n - 1; i >= 0; --i) {
    out[i] = static_cast<char>('0' + v % 10);
    v /= 10;
  }
}

// x = m * 2^e2 with m an integer (x > 0 finite).
void decompose(double x, std::uint64_t *m, int *e2) {
  std::uint64_t bits = std::bit_cast<std::uint64_t>(x) & 0x7FFFFFFFFFFFFFFFull;
  int be = static_cast<int>(bits >> 52);
  std::uint64_t frac = bits & 0xFFFFFFFFFFFFFull;
  if (be == 0) {
    *m = frac;
    *e2 = -1074;
  } else {
    *m = frac | (std::uint64_t{1} << 52);
    *e2 = be - 1075;
  }
}

// floor(log10(2^t)) for |t| < 1700.
int floor_log10_pow2(int t) { return (t * 78913) >> 18; }

// floor(m * 2^e2 * 10^k) and its tail, when the fast path can decide them.
bool fast_scale(std::uint64_t m, int e2, int k, std::uint64_t *q, tail *t) {
  if (k < kPowMin || k > kPowMax) return false;
  const pow10_entry &p = kPow10.e[k - kPowMin];
  u192 prod = mul_64x128(m, p.hi, p.lo);
  int s = -(p.exp2 + e2);
  if (s <= 0 || s >= 192 || bitlen192(prod) - s > 64) return false;
  u192 err{{m, 0, 0}};
  if (!classify(low_bits(prod, s), s, p.exact, err, t)) return false;
  *q = bits_at(prod, s);
  return true;
}

// ---------------------------------------------------------------------------
// Exact expansion in base 10^9.

inline constexpr std::uint32_t kBillion = 1000000000u;
inline constexpr int kDecLimbs = 160;  // 1440 digits

struct dec_big {
  std::uint32_t l[kDecLimbs];
  int n;
};

void dec_set(dec_big &a, std::uint64_t v) {
  a.n = 0;
  do {
    a.l[a.n++] = static_cast<std::uint32_t>(v % kBillion);
    v /= kBillion;
  } while (v);
}

void dec_mul_small(dec_big &a, std::uint32_t f) {
  std::uint64_t carry = 0;
  for (int i = 0; i < a.n; ++i) {
    std::uint64_t v = std::uint64_t{a.l[i]} * f + carry;
    a.l[i] = static_cast<std::uint32_t>(v % kBillion);
    carry = v / kBillion;
  }
  while (carry && a.n < kDecLimbs) {
    a.l[a.n++] = static_cast<std::uint32_t>(carry % kBillion);
    carry /= kBillion;
  }
}

void dec_mul_pow2(dec_big &a, int k) {
  for (; k >= 31; k -= 31) dec_mul_small(a, 1u << 31);
  if (k > 0) dec_mul_small(a, 1u << k);
}

void dec_mul_pow5(dec_big &a, int k) {
  for (; k >= 13; k -= 13) dec_mul_small(a, 1220703125u);  // 5^13
  std::uint32_t f = 1;
  for (; k > 0; --k) f *= 5;
  if (f > 1) dec_mul_small(a, f);
}

// a += b or a -= b (needs a >= b for the subtraction).
void dec_add(dec_big &a, const dec_big &b, bool subtract) {
  std::int64_t carry = 0;
  int n = a.n > b.n ? a.n : b.n;
  for (int i = 0; i < n; ++i) {
    std::int64_t v = (i < a.n ? a.l[i] : 0) + carry;
    std::int64_t w = i < b.n ? b.l[i] : 0;
    v += subtract ? -w : w;
    carry = 0;
    if (v < 0) {
      v += kBillion;
      carry = -1;
    } else if (v >= kBillion) {
      v -= kBillion;
      carry = 1;
    }
    a.l[i] = static_cast<std::uint32_t>(v);
  }
  a.n = n;
  if (carry > 0 && a.n < kDecLimbs) a.l[a.n++] = 1;
  while (a.n > 1 && a.l[a.n - 1] == 0) --a.n;
}

// Drops a rounding boundary from the exact digits d[0..n) (trailing zeros
// trimmed, so digits after the first dropped one are nonzero iff present).
void round_string(const char *d, int n, int decpt, int keep, rmode m, decimal_digits &out) {
  if (keep >= n) {
    std::memcpy(out.d, d, static_cast<std::size_t>(n));
    out.n = n;
    out.decpt = decpt;
    return;
  }
  tail t;
  if (keep < 0) {
    t = tail::below_half;
  } else {
    unsigned first = static_cast<unsigned>(d[keep] - '0');
    bool more = n > keep + 1;
    t = first > 5 ? tail::above_half
        : first == 5 ? (more ? tail::above_half : tail::half)
        : tail::below_half;
  }
  if (keep <= 0) {
    // Nothing kept: the result is zero or one unit of the last place.
    if (rounds_up(m, t, false)) {
      out.n = 1;
      out.d[0] = '1';
      out.decpt = decpt - keep + 1;
    } else {
      out.n = 0;
      out.decpt = decpt - keep;
    }
    return;
  }
  std::memcpy(out.d, d, static_cast<std::size_t>(keep));
  out.n = keep;
  out.decpt = decpt;
  if (rounds_up(m, t, (d[keep - 1] - '0') & 1)) {
    int i = keep - 1;
    while (i >= 0 && out.d[i] == '9') out.d[i--] = '0';
    if (i < 0) {
      out.d[0] = '1';
      ++out.decpt;
    } else {
      ++out.d[i];
    }
  }
}

}  // namespace

void expand_exact(double hi, double lo, decimal_digits &out) {
  if (hi == 0) {
    hi = lo;
    lo = 0;
  }
  if (hi < 0) {
    hi = -hi;
    lo = -lo;
  }
  std::uint64_t mh, ml = 0;
  int eh, el = 0;
  decompose(hi, &mh, &eh);
  int zh = std::countr_zero(mh);
  mh >>= zh;
  eh += zh;
  int emin = eh;
  if (lo != 0) {
    decompose(lo, &ml, &el);
    int zl = std::countr_zero(ml);
    ml >>= zl;
    el += zl;
    if (el < emin) emin = el;
  }
  dec_big a;
  dec_set(a, mh);
  dec_mul_pow2(a, eh - emin);
  if (ml != 0) {
    dec_big b;
    dec_set(b, ml);
    dec_mul_pow2(b, el - emin);
    dec_add(a, b, lo < 0);
  }
  if (emin < 0) dec_mul_pow5(a, -emin);
  else dec_mul_pow2(a, emin);
  // Digits, most significant limb first.
  char *p = out.d;
  char tmp[10];
  int top = a.n - 1;
  int tn = 0;
  for (std::uint32_t v = a.l[top]; v; v /= 10) tmp[tn++] = static_cast<char>('0' + v % 10);
  while (tn > 0) *p++ = tmp[--tn];
  for (int i = top - 1; i >= 0; --i) {
    std::uint32_t v = a.l[i];
    for (int j = 8; j >= 0; --j) {
      p[j] = static_cast<char>('0' + v % 10);
      v /= 10;
    }
    p += 9;
  }
  int n = static_cast<int>(p - out.d);
  out.decpt = n + (emin < 0 ? emin : 0);
  while (n > 1 && out.d[n - 1] == '0') --n;
  out.n = n;
}

void to_significant(double hi, double lo, int ndig, rmode m, decimal_digits &out) {
  if (lo == 0 && ndig <= 19) {
    std::uint64_t mant;
    int e2;
    decompose(hi, &mant, &e2);
    int t2 = e2 + 63 - std::countl_zero(mant);
    int e10 = floor_log10_pow2(t2);  // floor(log10 x) is e10 or e10 + 1
    std::uint64_t q;
    tail t;
    if (fast_scale(mant, e2, ndig - 1 - e10, &q, &t)) {
      if (q >= kPow10u64[ndig]) {
        t = fold_digit(static_cast<unsigned>(q % 10), t);
        q /= 10;
        ++e10;
      }
      if (rounds_up(m, t, q & 1)) {
        ++q;
        if (q == kPow10u64[ndig]) {
          q = kPow10u64[ndig - 1];
          ++e10;
        }
      }
      put_u64(q, ndig, out.d);
      out.n = ndig;
      out.decpt = e10 + 1;
      return;
    }
  }
  dd_format_E(hi, lo, ndig, m, out);
}

void dd_format_E(double hi, double lo, int ndig, rmode m, decimal_digits &out) {
  decimal_digits exact;
  expand_exact(hi, lo, exact);
  round_string(exact.d, exact.n, exact.decpt, ndig < kMaxExactDigits ? ndig : kMaxExactDigits, m, out);
}

void to_fixed(double hi, double lo, int frac, rmode m, decimal_digits &out) {
  if (lo == 0) {
    std::uint64_t mant;
    int e2;
    decompose(hi, &mant, &e2);
    int t2 = e2 + 63 - std::countl_zero(mant);
    int e10 = floor_log10_pow2(t2);
    std::uint64_t q;
    tail t;
    bool decided = false;
    if (e10 + 2 + frac <= 0) {
      // x < 2^(t2+1) < 2 * 10^(e10+1) <= 0.2 units of 10^-frac.
      q = 0;
      t = tail::below_half;
      decided = true;
    } else {
      decided = fast_scale(mant, e2, frac, &q, &t);
    }
    if (decided) {
      if (rounds_up(m, t, q & 1)) ++q;
      if (q == 0) {
        out.n = 0;
        out.decpt = -frac;
        return;
      }
      int n = decimal_length(q);
      put_u64(q, n, out.d);
      out.n = n;
      out.decpt = n - frac;
      return;
    }
  }
  dd_format_F(hi, lo, frac, m, out);
}

void dd_format_F(double hi, double lo, int frac, rmode m, decimal_digits &out) {
  decimal_digits exact;
  expand_exact(hi, lo, exact);
  round_string(exact.d, exact.n, exact.decpt, exact.decpt + frac, m, out);
}

// ---------------------------------------------------------------------------
// Decimal to binary.

namespace {

inline constexpr int kBinLimbs = 340;  // 10880 bits

struct bin_big {
  std::uint32_t l[kBinLimbs];
  int n;
};

void bin_set(bin_big &a, std::uint64_t v) {
  a.l[0] = static_cast<std::uint32_t>(v);
  a.l[1] = static_cast<std::uint32_t>(v >> 32);
  a.n = a.l[1] ? 2 : a.l[0] ? 1 : 0;
}

void bin_trim(bin_big &a) {
  while (a.n > 0 && a.l[a.n - 1] == 0) --a.n;
}

void bin_mul_add(bin_big &a, std::uint32_t f, std::uint32_t add) {
  std::uint64_t carry = add;
  for (int i = 0; i < a.n; ++i) {
    std::uint64_t v = std::uint64_t{a.l[i]} * f + carry;
    a.l[i] = static_cast<std::uint32_t>(v);
    carry = v >> 32;
  }
  if (carry && a.n < kBinLimbs) a.l[a.n++] = static_cast<std::uint32_t>(carry);
}

void bin_mul_pow10(bin_big &a, int k) {
  for (; k >= 9; k -= 9) bin_mul_add(a, kBillion, 0);
  if (k > 0) bin_mul_add(a, static_cast<std::uint32_t>(kPow10u64[k]), 0);
}

int bin_bitlen(const bin_big &a) {
  return a.n == 0 ? 0 : 32 * (a.n - 1) + 32 - std::countl_zero(a.l[a.n - 1]);
}

void bin_shl(bin_big &a, int s) {
  if (a.n == 0 || s == 0) return;
  int ws = s / 32, bs = s % 32;
  int n = a.n + ws + 1;
  if (n > kBinLimbs) n = kBinLimbs;
  for (int i = n - 1; i >= 0; --i) {
    int j = i - ws;
    std::uint32_t hi = j >= 0 && j < a.n ? a.l[j] : 0;
    std::uint32_t lo = j - 1 >= 0 && j - 1 < a.n ? a.l[j - 1] : 0;
    a.l[i] = bs == 0 ? hi : (hi << bs) | (lo >> (32 - bs));
  }
  a.n = n;
  bin_trim(a);
}

int bin_cmp(const bin_big &a, const bin_big &b) {
  if (a.n != b.n) return a.n < b.n ? -1 : 1;
  for (int i = a.n - 1; i >= 0; --i)
    if (a.l[i] != b.l[i]) return a.l[i] < b.l[i] ? -1 : 1;
  return 0;
}

// a -= b, a >= b.
void bin_sub(bin_big &a, const bin_big &b) {
  std::int64_t borrow = 0;
  for (int i = 0; i < a.n; ++i) {
    std::int64_t v = std::int64_t{a.l[i]} - (i < b.n ? b.l[i] : 0) - borrow;
    borrow = v < 0;
    a.l[i] = static_cast<std::uint32_t>(v + (borrow << 32));
  }
  bin_trim(a);
}

void bin_from_digits(bin_big &a, const char *d, int n) {
  a.n = 0;
  int i = 0;
  while (i < n) {
    int len = n - i < 9 ? n - i : 9;
    std::uint32_t chunk = 0;
    for (int j = 0; j < len; ++j) chunk = chunk * 10 + static_cast<std::uint32_t>(d[i + j] - '0');
    if (a.n == 0) {
      if (chunk) {
        a.l[0] = chunk;
        a.n = 1;
      }
    } else {
      bin_mul_add(a, static_cast<std::uint32_t>(kPow10u64[len]), chunk);
    }
    i += len;
  }
}

struct rounded {
  std::uint64_t mant;  // value = mant * 2^exp
  int exp;
};

// |num / den| * 2^e0 rounded to f (num, den > 0); both are clobbered.
rounded round_rational(bin_big &num, bin_big &den, int e0, const binary_format &f, rmode m) {
  int prec = f.precision;
  int etiny = f.emin - prec + 1;
  int L = bin_bitlen(num) - bin_bitlen(den);
  int t = prec + 3 - L;  // num * 2^t / den in (2^(prec+2), 2^(prec+4))
  if (t >= 0) bin_shl(num, t);
  else bin_shl(den, -t);
  std::uint64_t q = 0;
  bin_big shifted;
  for (int i = prec + 4; i >= 0; --i) {
    shifted = den;
    bin_shl(shifted, i);
    if (bin_cmp(num, shifted) >= 0) {
      bin_sub(num, shifted);
      q |= std::uint64_t{1} << i;
    }
  }
  bool sticky = num.n != 0;
  int base = e0 - t;  // q's unit is 2^base
  int b = 64 - std::countl_zero(q);
  int e = base + b - prec;
  if (e < etiny) e = etiny;
  int drop = e - base;
  std::uint64_t mant;
  tail tl;
  if (drop > 62) {
    mant = 0;
    tl = tail::below_half;
  } else {
    mant = q >> drop;
    std::uint64_t rest = q & ((std::uint64_t{1} << drop) - 1);
    std::uint64_t half = std::uint64_t{1} << (drop - 1);
    tl = rest == 0 && !sticky ? tail::zero
         : rest < half        ? tail::below_half
         : rest == half && !sticky ? tail::half
                                   : tail::above_half;
  }
  if (rounds_up(m, tl, mant & 1)) ++mant;
  return {mant, e};
}

double make_double(std::uint64_t mant, int exp, const binary_format &f, rmode m, bool *overflow) {
  if (mant == 0) return 0.0;
  int top = exp + 64 - std::countl_zero(mant);  // value < 2^top
  if (top > f.emax + 1) {
    *overflow = true;
    if (m == rmode::toward_zero)
      return std::ldexp(static_cast<double>((std::uint64_t{1} << f.precision) - 1), f.emax + 1 - f.precision);
    return HUGE_VAL;
  }
  if (f.precision == 53) {
    // Built from its fields: mant < 2^53, or == 2^53 after a carry.
    if (mant >> 53) {
      mant >>= 1;
      ++exp;
    }
    if (mant >> 52)
      return std::bit_cast<double>((static_cast<std::uint64_t>(exp + 1075) << 52) | (mant & 0xFFFFFFFFFFFFFull));
    return std::bit_cast<double>(mant);  // subnormal: exp is -1074
  }
  return std::ldexp(static_cast<double>(mant), exp);
}

// The exact value of number as num / den (den = 1 or a power of ten).
void exact_ratio(const decimal_number &x, bin_big &num, bin_big &den) {
  bin_from_digits(num, x.digits, x.n);
  std::int64_t e = x.exp10;
  if (x.sticky) {
    // A nonzero tail beyond the kept digits: append a 1. No boundary of any
    // format has as many digits, so the rounding is unchanged.
    bin_mul_add(num, 10, 1);
    --e;
  }
  bin_set(den, 1);
  if (e >= 0) bin_mul_pow10(num, static_cast<int>(e));
  else bin_mul_pow10(den, static_cast<int>(-e));
}

// Magnitude range beyond which no conversion is needed: the value is below
// 10^(mag-1) ... 10^mag with mag = n + exp10.
enum class range : std::uint8_t { normal, huge, tiny };
range classify_range(const decimal_number &x) {
  std::int64_t mag = x.n + x.exp10;
  if (mag > 310) return range::huge;
  if (mag < -330) return range::tiny;
  return range::normal;
}

// a *= v (v < 2^63).
void bin_mul_u64(bin_big &a, std::uint64_t v) {
  u128 carry = 0;
  for (int i = 0; i < a.n; ++i) {
    u128 t = static_cast<u128>(a.l[i]) * v + carry;
    a.l[i] = static_cast<std::uint32_t>(t);
    carry = t >> 32;
  }
  while (carry && a.n < kBinLimbs) {
    a.l[a.n++] = static_cast<std::uint32_t>(carry);
    carry >>= 32;
  }
}

// Sign of x - n * 2^s, exactly.
int compare_exact(const decimal_number &x, std::uint64_t n, int s) {
  bin_big num, den;
  exact_ratio(x, num, den);  // x = num / den
  bin_mul_u64(den, n);       // compare num with den * n * 2^s
  if (s >= 0) bin_shl(den, s);
  else bin_shl(num, -s);
  return bin_cmp(num, den);
}

bool fast_to_binary(const decimal_number &x, const binary_format &f, rmode m, bool *overflow,
                    double *result) {
  // More than 19 digits: the first 19, and a tail that only says "more".
  int n = x.n < 19 ? x.n : 19;
  bool sticky = x.sticky;
  for (int i = n; i < x.n && !sticky; ++i) sticky = x.digits[i] != '0';
  std::int64_t k64 = x.exp10 + (x.n - n);
  if (k64 < kPowMin || k64 > kPowMax) return false;
  std::uint64_t w = x.head;
  if (x.head_n != n) {
    w = 0;
    for (int i = 0; i < n; ++i) w = w * 10 + static_cast<std::uint64_t>(x.digits[i] - '0');
  }
  int k = static_cast<int>(k64);
  const pow10_entry &p = kPow10.e[k - kPowMin];
  u192 prod = mul_64x128(w, p.hi, p.lo);
  // The true product lies in [prod, prod + err]: w for the table's truncation,
  // and 10^k (hi:lo + 1) more for a nonzero tail past the 19 digits.
  u192 err{{p.exact ? 0 : w, 0, 0}};
  if (sticky) err = add192(err, add192(u192{{p.lo, p.hi, 0}}, u192{{1, 0, 0}}));
  bool exact = p.exact && !sticky;
  int B = bitlen192(prod);
  int prec = f.precision;
  int e = p.exp2 + B - prec;
  int etiny = f.emin - prec + 1;
  if (e < etiny) e = etiny;
  int drop = e - p.exp2;
  if (drop < 1 || drop >= 191) return false;
  tail t;
  u192 r = low_bits(prod, drop);
  std::uint64_t mant = bits_at(prod, drop);
  if (!classify(r, drop, exact, err, &t)) {
    // The interval holds a boundary: the midpoint above mant, or the next
    // value mant + 1 (the true value is never below prod, so those are the
    // only two). One exact comparison tells on which side x lies.
    bool at_next = cmp192(add192(r, err), pow2_192(drop)) >= 0;
    int c = compare_exact(x, at_next ? mant + 1 : 2 * mant + 1, at_next ? e : e - 1);
    if (at_next) {
      if (c >= 0 && ++mant == std::uint64_t{1} << prec) {
        // Into the next binade: the ulp doubles, and "less than half the
        // old ulp above" is still less than half the new one.
        mant >>= 1;
        ++e;
      }
      t = c < 0 ? tail::above_half : c == 0 ? tail::zero : tail::below_half;
    } else {
      t = c < 0 ? tail::below_half : c == 0 ? tail::half : tail::above_half;
    }
  }
  if (rounds_up(m, t, mant & 1)) ++mant;
  *result = make_double(mant, e, f, m, overflow);
  return true;
}

}  // namespace

double to_binary(const decimal_number &x, const binary_format &f, rmode m, bool *overflow) {
  *overflow = false;
  if (x.n == 0) return 0.0;
  switch (classify_range(x)) {
    case range::huge:
      return make_double(1, f.emax + 1, f, m, overflow);
    case range::tiny:
      return m == rmode::away_from_zero ? std::ldexp(1.0, f.emin - f.precision + 1) : 0.0;
    case range::normal: break;
  }
  double r;
  if (fast_to_binary(x, f, m, overflow, &r)) return r;
  bin_big num, den;
  exact_ratio(x, num, den);
  rounded v = round_rational(num, den, 0, f, m);
  return make_double(v.mant, v.exp, f, m, overflow);
}

kaf_dd to_double_double(const decimal_number &x, rmode m, bool *overflow) {
  *overflow = false;
  if (x.n == 0) return {0.0, 0.0};
  switch (classify_range(x)) {
    case range::huge:
      return {make_double(1, kDouble.emax + 1, kDouble, m, overflow), 0.0};
    case range::tiny:
      return {m == rmode::away_from_zero ? std::ldexp(1.0, -1074) : 0.0, 0.0};
    case range::normal: break;
  }
  bin_big num, den;
  exact_ratio(x, num, den);
  bin_big n2 = num, d2 = den;
  rounded h = round_rational(n2, d2, 0, kDouble, rmode::nearest_even);
  double hi = make_double(h.mant, h.exp, kDouble, rmode::nearest_even, overflow);
  if (*overflow) return {make_double(1, kDouble.emax + 1, kDouble, m, overflow), 0.0};
  if (hi == 0) {
    // Below half the smallest subnormal: lo would be the directed result.
    return {to_binary(x, kDouble, m, overflow), 0.0};
  }
  // rest = x - hi = (num - mant * 2^exp * den) / den, kept as an integer
  // numerator over den with a common binary scale 2^e0.
  int e0 = h.exp < 0 ? h.exp : 0;
  bin_big hv = den;  // hv = mant * den * 2^(exp - e0)
  bin_mul_u64(hv, h.mant);
  bin_shl(hv, h.exp - e0);
  bin_shl(num, -e0);
  int c = bin_cmp(num, hv);
  if (c == 0) return {hi, 0.0};
  bool below = c < 0;  // x < hi: the rest is negative
  if (below) {
    bin_sub(hv, num);
    num = hv;
  } else {
    bin_sub(num, hv);
  }
  // Rounding the value toward zero means rounding a negative rest away
  // from zero, and the other way round.
  rmode lm = m;
  if (below) {
    if (m == rmode::toward_zero) lm = rmode::away_from_zero;
    else if (m == rmode::away_from_zero) lm = rmode::toward_zero;
  }
  bool lo_over = false;
  rounded l = round_rational(num, den, e0, kDouble, lm);
  double lo = make_double(l.mant, l.exp, kDouble, lm, &lo_over);
  if (below) lo = -lo;
  // Renormalise: a directed rest may reach half an ulp of hi (or, near the
  // subnormal range, a whole one).
  double s = hi + lo;
  return {s, lo - (s - hi)};
}

}  // namespace kaf::dec
