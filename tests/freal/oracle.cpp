#include "oracle.h"

#include <cstdlib>

namespace oracle {
namespace {

std::string mpfr_format(const char *conv, double hi, double lo, int p, mpfr_rnd_t rnd,
                        bool negative) {
  mpfr_t x;
  mpfr_init2(x, 2300);
  mpfr_set_d(x, std::fabs(hi), MPFR_RNDN);
  mpfr_add_d(x, x, hi < 0 ? -lo : lo, MPFR_RNDN);  // exact at 2300 bits
  if (negative) mpfr_neg(x, x, MPFR_RNDN);
  char fmt[16];
  std::snprintf(fmt, sizeof fmt, "%%.*R*%s", conv);
  char *s = nullptr;
  mpfr_asprintf(&s, fmt, p, rnd, x);
  std::string r = s[0] == '-' ? s + 1 : s;
  mpfr_free_str(s);
  mpfr_clear(x);
  return r;
}

std::string format(const char *conv, double hi, double lo, int p, unsigned mode, bool negative) {
  if ((mode == 0 || mode == 4) && lo == 0) {
    char fmt[16];
    std::snprintf(fmt, sizeof fmt, "%%.*%s", conv);
    int n = std::snprintf(nullptr, 0, fmt, p, std::fabs(hi));
    std::string r(static_cast<std::size_t>(n) + 1, '\0');
    std::snprintf(r.data(), r.size(), fmt, p, std::fabs(hi));
    r.resize(static_cast<std::size_t>(n));
    return r;
  }
  if (mode == 0 || mode == 4) return mpfr_format(conv, hi, lo, p, MPFR_RNDN, negative);
  if (mode == 5) {
    // Ties away from zero: nearest, except at an exact tie, which the value
    // cut to one digit more shows (exact there, last digit 5).
    std::string z = mpfr_format(conv, hi, lo, p + 1, MPFR_RNDZ, negative);
    std::string a = mpfr_format(conv, hi, lo, p + 1, MPFR_RNDA, negative);
    std::size_t last = z.find_first_of("eE");
    char digit = last == std::string::npos ? z.back() : z[last - 1];
    bool tie = z == a && digit == '5';
    return mpfr_format(conv, hi, lo, p, tie ? MPFR_RNDA : MPFR_RNDN, negative);
  }
  return mpfr_format(conv, hi, lo, p, mpfr_mode(mode), negative);
}

}  // namespace

std::string sci(double hi, double lo, int p, unsigned mode, bool negative) {
  return format("e", hi, lo, p, mode, negative);
}

std::string fixed(double hi, double lo, int p, unsigned mode, bool negative) {
  return format("f", hi, lo, p, mode, negative);
}

std::string sci_of(const kaf::dec::decimal_digits &d, int p) {
  std::string r;
  auto dig = [&](int i) { return i < d.n ? d.d[i] : '0'; };
  r += dig(0);
  if (p > 0) r += '.';
  for (int i = 1; i <= p; ++i) r += dig(i);
  int e = d.n == 0 ? 0 : d.decpt - 1;
  char buf[16];
  std::snprintf(buf, sizeof buf, "e%c%02d", e < 0 ? '-' : '+', std::abs(e));
  return r + buf;
}

std::string fixed_of(const kaf::dec::decimal_digits &d, int p) {
  std::string r;
  auto dig = [&](int i) { return i >= 0 && i < d.n ? d.d[i] : '0'; };
  if (d.n == 0 || d.decpt <= 0) r += '0';
  else
    for (int i = 0; i < d.decpt; ++i) r += dig(i);
  if (p > 0) r += '.';
  for (int j = 0; j < p; ++j) r += d.n == 0 ? '0' : dig(d.decpt + j);
  return r;
}

}  // namespace oracle
