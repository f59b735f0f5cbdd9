! The peer of bench/freal_bench.cpp: gfortran's internal WRITE of one real
! per statement under (ES24.16), (F20.6), (E15.7) and (G0), and internal
! READ under (F25.0), over the same values the library gets.
module freal_peer
  use iso_c_binding
  implicit none
  character(len=40), save :: sink
contains
  subroutine peer_write(x, n, which) bind(C, name='peer_write')
    integer(c_int), value :: n, which
    real(c_double), intent(in) :: x(n)
    character(len=40) :: buf
    integer :: i
    select case (which)
    case (0)
      do i = 1, n
        write (buf, '(ES24.16)') x(i)
      end do
    case (1)
      do i = 1, n
        write (buf, '(F20.6)') x(i)
      end do
    case (2)
      do i = 1, n
        write (buf, '(E15.7)') x(i)
      end do
    case default
      do i = 1, n
        write (buf, '(G0)') x(i)
      end do
    end select
    sink = buf
  end subroutine

  subroutine peer_read(text, n, y) bind(C, name='peer_read')
    integer(c_int), value :: n
    character(kind=c_char), intent(in) :: text(25, n)
    real(c_double), intent(out) :: y(n)
    character(len=25) :: field
    integer :: i, j
    do i = 1, n
      do j = 1, 25
        field(j:j) = text(j, i)
      end do
      read (field, '(F25.0)') y(i)
    end do
  end subroutine
end module
