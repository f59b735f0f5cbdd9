! gfortran's MATMUL intrinsic on explicit-shape arrays, called from the GEMM
! benchmark so that it runs interleaved with the other implementations.
subroutine gf_smatmul(m, n, k, a, b, c) bind(c)
  use iso_c_binding
  integer(c_int), value :: m, n, k
  real(c_float), intent(in) :: a(m, k), b(k, n)
  real(c_float), intent(out) :: c(m, n)
  c = matmul(a, b)
end subroutine

subroutine gf_dmatmul(m, n, k, a, b, c) bind(c)
  use iso_c_binding
  integer(c_int), value :: m, n, k
  real(c_double), intent(in) :: a(m, k), b(k, n)
  real(c_double), intent(out) :: c(m, n)
  c = matmul(a, b)
end subroutine

subroutine gf_cmatmul(m, n, k, a, b, c) bind(c)
  use iso_c_binding
  integer(c_int), value :: m, n, k
  complex(c_float_complex), intent(in) :: a(m, k), b(k, n)
  complex(c_float_complex), intent(out) :: c(m, n)
  c = matmul(a, b)
end subroutine

subroutine gf_zmatmul(m, n, k, a, b, c) bind(c)
  use iso_c_binding
  integer(c_int), value :: m, n, k
  complex(c_double_complex), intent(in) :: a(m, k), b(k, n)
  complex(c_double_complex), intent(out) :: c(m, n)
  c = matmul(a, b)
end subroutine
