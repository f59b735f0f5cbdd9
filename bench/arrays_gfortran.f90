! The peer of bench/arrays_bench.cpp: gfortran's own RESHAPE, PACK, SPREAD,
! TRANSPOSE and CSHIFT, assigned to a result array that the caller allocated
! once (so gfortran pays for no allocation at all, while our entries take a
! fresh block per call), then handed to an external sink.
module arrays_peer
  use iso_c_binding
  implicit none
  interface
    subroutine bench_sink(p) bind(C, name='bench_sink')
      import :: c_ptr
      type(c_ptr), value :: p
    end subroutine
  end interface
contains
  ! Every operand is a(1:m:step, 1:n) of an m x n array; rows = m / step.
  subroutine peer_reshape21(a, b, m, n, step) bind(C, name='peer_reshape21')
    integer(c_int), value :: m, n, step
    real(c_double), intent(in) :: a(m, n)
    real(c_double), intent(out), target :: b(m / step, n)
    b = reshape(a(1:m:step, :), [m / step, n], order=[2, 1])
    call bench_sink(c_loc(b))
  end subroutine

  subroutine peer_pack(a, mask, b, count, m, n, step) bind(C, name='peer_pack')
    integer(c_int), value :: count, m, n, step
    real(c_double), intent(in) :: a(m, n)
    logical(4), intent(in) :: mask(m / step, n)
    real(c_double), intent(out), target :: b(count)
    b = pack(a(1:m:step, :), mask)
    call bench_sink(c_loc(b))
  end subroutine

  subroutine peer_spread(v, b, k, step, dim, ncopies) bind(C, name='peer_spread')
    integer(c_int), value :: k, step, dim, ncopies
    real(c_double), intent(in) :: v(k)
    real(c_double), intent(out), target :: b(k / step * ncopies)
    if (dim == 1) then
      call spread1(b)
    else
      call spread2(b)
    end if
  contains
    subroutine spread1(r)
      real(c_double), intent(out), target :: r(ncopies, k / step)
      r = spread(v(1:k:step), 1, ncopies)
      call bench_sink(c_loc(r))
    end subroutine
    subroutine spread2(r)
      real(c_double), intent(out), target :: r(k / step, ncopies)
      r = spread(v(1:k:step), 2, ncopies)
      call bench_sink(c_loc(r))
    end subroutine
  end subroutine

  subroutine peer_transpose(a, b, m, n, step) bind(C, name='peer_transpose')
    integer(c_int), value :: m, n, step
    real(c_double), intent(in) :: a(m, n)
    real(c_double), intent(out), target :: b(n, m / step)
    b = transpose(a(1:m:step, :))
    call bench_sink(c_loc(b))
  end subroutine

  subroutine peer_cshift(a, b, m, n, step, shift, dim) bind(C, name='peer_cshift')
    integer(c_int), value :: m, n, step, shift, dim
    real(c_double), intent(in) :: a(m, n)
    real(c_double), intent(out), target :: b(m / step, n)
    b = cshift(a(1:m:step, :), shift, dim)
    call bench_sink(c_loc(b))
  end subroutine
end module
