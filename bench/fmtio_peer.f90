! The peer of fmtio_bench.c: the same 10 million integers written with
! (I12) and with (8I10) in one WRITE each and read back with one READ.
program fmtio_peer
  implicit none
  integer, parameter :: n = 10000000
  integer, allocatable :: a(:), b(:)
  integer :: i
  character(len=256) :: path
  allocate (a(n), b(n))
  path = "fmtio_peer.txt"
  if (command_argument_count() > 0) call get_command_argument(1, path)
  do i = 0, n - 1
    a(i + 1) = int(mod(mod(int(i, 8) * 2654435761_8, 4294967296_8), 199999999_8)) - 99999999
  end do
  call run('(I12)')
  call run('(8I10)')
contains
  subroutine run(fmt)
    character(len=*), intent(in) :: fmt
    real(8) :: c0, c1, c2
    call cpu_time(c0)
    open (10, file=trim(path), status='replace')
    write (10, fmt) a
    close (10)
    call cpu_time(c1)
    open (10, file=trim(path), status='old')
    read (10, fmt) b
    close (10, status='delete')
    call cpu_time(c2)
    if (any(a /= b)) stop 'values differ'
    write (*, '(A, A6, A, F6.3, A, F6.3, A)') 'gfortran ', fmt, ' write ', &
        c1 - c0, ' s  read ', c2 - c1, ' s'
  end subroutine
end program
