// Complex numbers at working precision, with the textbook product and quotient.
//
// std::complex<double> is no substitute: its product and quotient repair infinities and NaNs, and
// its quotient may scale, so their bits would differ from the formulas below.
#ifndef LUMOMIXCALC_KERNELS_COMPLEX_VALUE_H
#define LUMOMIXCALC_KERNELS_COMPLEX_VALUE_H

#include <complex>

namespace lumomixcalc {

struct Complex {
  double re = 0.0;
  double im = 0.0;

  constexpr Complex() = default;
  constexpr Complex(double real, double imaginary) : re(real), im(imaginary) {}
  // A real number is x + 0i.
  constexpr explicit Complex(double real) : re(real) {}
  constexpr explicit Complex(std::complex<float> z) : re(z.real()), im(z.imag()) {}
};

constexpr Complex operator+(Complex a, Complex b) { return {a.re + b.re, a.im + b.im}; }

constexpr Complex operator*(Complex a, Complex b) {
  return {a.re * b.re - a.im * b.im, b.re * a.im + a.re * b.im};
}

// a / b as a * conj(b) scaled by one reciprocal of |b|^2. A zero b gives NaN in both parts, since
// the reciprocal is infinite and the products are zero.
constexpr Complex operator/(Complex a, Complex b) {
  const double reciprocal = 1.0 / (b.re * b.re + b.im * b.im);
  return {(b.re * a.re + b.im * a.im) * reciprocal, (a.im * b.re - b.im * a.re) * reciprocal};
}

constexpr Complex Conj(Complex a) { return {a.re, -a.im}; }

}  // namespace lumomixcalc

#endif
