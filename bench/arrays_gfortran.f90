! The peer of bench/arrays_bench.cpp: gfortran's own RESHAPE, PACK, SPREAD,
! TRANSPOSE and CSHIFT, each producing a fresh allocatable result (as our
! entries hand a fresh block to compiled code), handed to an external sink
! so that nothing is optimised away, then freed. Results of known shape are
! allocated before the assignment: gfortran 12 sizes the left-hand side of
! b = transpose(a(1:m:step, :)) wrongly when it reallocates it itself.
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
  ! Every operand is a(1:m:step, 1:n) of an m x n array.
  subroutine peer_reshape21(a, m, n, step) bind(C, name='peer_reshape21')
    integer(c_int), value :: m, n, step
    real(c_double), intent(in) :: a(m, n)
    real(c_double), allocatable, target :: b(:,:)
    integer :: rows
    rows = (m + step - 1) / step
    allocate (b(rows, n))
    b = reshape(a(1:m:step, :), [rows, n], order=[2, 1])
    call bench_sink(c_loc(b))
    deallocate (b)
  end subroutine

  subroutine peer_pack(a, mask, m, n, step) bind(C, name='peer_pack')
    integer(c_int), value :: m, n, step
    real(c_double), intent(in) :: a(m, n)
    logical(4), intent(in) :: mask((m + step - 1) / step, n)
    real(c_double), allocatable, target :: b(:)
    b = pack(a(1:m:step, :), mask)
    call bench_sink(c_loc(b))
    deallocate (b)
  end subroutine

  subroutine peer_spread(v, k, step, dim, ncopies) bind(C, name='peer_spread')
    integer(c_int), value :: k, step, dim, ncopies
    real(c_double), intent(in) :: v(k)
    real(c_double), allocatable, target :: b(:,:)
    if (dim == 1) then
      allocate (b(ncopies, (k + step - 1) / step))
    else
      allocate (b((k + step - 1) / step, ncopies))
    end if
    b = spread(v(1:k:step), dim, ncopies)
    call bench_sink(c_loc(b))
    deallocate (b)
  end subroutine

  subroutine peer_transpose(a, m, n, step) bind(C, name='peer_transpose')
    integer(c_int), value :: m, n, step
    real(c_double), intent(in) :: a(m, n)
    real(c_double), allocatable, target :: b(:,:)
    allocate (b(n, (m + step - 1) / step))
    b = transpose(a(1:m:step, :))
    call bench_sink(c_loc(b))
    deallocate (b)
  end subroutine

  subroutine peer_cshift(a, m, n, step, shift, dim) bind(C, name='peer_cshift')
    integer(c_int), value :: m, n, step, shift, dim
    real(c_double), intent(in) :: a(m, n)
    real(c_double), allocatable, target :: b(:,:)
    allocate (b((m + step - 1) / step, n))
    b = cshift(a(1:m:step, :), shift, dim)
    call bench_sink(c_loc(b))
    deallocate (b)
  end subroutine
end module
