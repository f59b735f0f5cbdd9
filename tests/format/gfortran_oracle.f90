! Oracle for the format tests: reads cases from standard input and answers
! each between marker lines, as GNU Fortran's runtime edits it.
!   W <format> / n / n integers     writes the integers with the format
!   R <format> / r / r records / n  reads n integers from the r records (an
!                                   internal file of 400-character records)
!                                   and writes "ok" and the values, or "error"
program gfortran_oracle
  implicit none
  character(len=400) :: line, fmt
  character(len=400) :: recs(16)
  integer :: n, r, ios, k
  integer :: values(64)
  do
    read (*, '(A)', iostat=ios) line
    if (ios /= 0) exit
    fmt = line(3:)
    if (line(1:1) == 'W') then
      read (*, *) n
      read (*, *) values(1:n)
      write (*, '(A)') '<<<'
      write (*, fmt, iostat=ios) (values(k), k = 1, n)
      if (ios /= 0) write (*, '(A, I0)') 'error ', ios
    else
      read (*, *) r
      do k = 1, r
        read (*, '(A)') recs(k)
      end do
      read (*, *) n
      write (*, '(A)') '<<<'
      values = 0
      read (recs(1:r), fmt, iostat=ios) (values(k), k = 1, n)
      if (ios /= 0) then
        write (*, '(A)') 'error'
      else
        write (*, '(A, *(1X, I0))') 'ok', values(1:n)
      end if
    end if
    write (*, '(A)') '>>>'
  end do
end program
