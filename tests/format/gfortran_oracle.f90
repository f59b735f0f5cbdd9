! Oracle for the format tests: reads cases from standard input (a format
! line, a count, that many integers) and writes each case's output between
! marker lines, as GNU Fortran's runtime edits it.
program gfortran_oracle
  implicit none
  character(len=400) :: fmt
  integer :: n, ios, k
  integer :: values(64)
  do
    read (*, '(A)', iostat=ios) fmt
    if (ios /= 0) exit
    read (*, *) n
    read (*, *) values(1:n)
    write (*, '(A)') '<<<'
    write (*, fmt, iostat=ios) (values(k), k = 1, n)
    if (ios /= 0) write (*, '(A, I0)') 'error ', ios
    write (*, '(A)') '>>>'
  end do
end program
