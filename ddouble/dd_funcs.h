// Internal workers of the elemental functions, shared between the files of
// this folder.
#pragma once

#include "ddouble/dd_arith.h"

namespace kafdd {

// exp(x) = 2^k * m for finite x with |x.hi| < 746; m is within [0.7, 1.5].
dd exp_scaled(dd x, int &k);
// The same for x + x3, x3 a third part below x.lo.
dd exp_scaled3(dd x, double x3, int &k);
dd exp(dd x);
dd log(dd x);
// exp(b log a + extra + extra2) for positive finite a, the exponent formed
// to about 2^-150 of itself apart from the part from log(1 + r), |r| <
// 2^-7.5.
dd exp_of_product(dd b, dd a, dd extra, dd extra2);
// sin(pi x), exact reduction of x first.
dd sinpi(dd x);
// log(1 + y), accurate for small y.
dd log1p(dd y);
// sin and cos of x (both finite results); either pointer may be null.
void sincos(dd x, dd *s, dd *c);
dd atan(dd x);
dd atan2(dd y, dd x);
dd aint(dd x);
dd floor(dd x);
dd anint(dd x);

// The complex kind inside the library.
struct cdd {
  dd re, im;
};
cdd cdivide(cdd a, cdd b);
cdd cmul(cdd a, cdd b);
dd hypot(dd x, dd y);
dd sinh(dd x);
dd cosh(dd x);
dd asinh(dd x);

inline constexpr double kDblMax = 0x1.fffffffffffffp1023;
inline double quiet_nan() {
  volatile double z = 0.0;
  return z / z;  // raises the invalid exception, as the IEEE operation would
}

}  // namespace kafdd
