! Oracle for the real field tests: reads pairs of lines (a format, then the
! bits of a double as a decimal integer) and writes each field as GNU
! Fortran's runtime edits it, followed by '|', or "error" and the IOSTAT.
program gfortran_fields
  implicit none
  character(len=100) :: fmt
  character(len=300) :: out
  integer(8) :: bits
  real(8) :: x
  integer :: ios
  do
    read (*, '(A)', iostat=ios) fmt
    if (ios /= 0) exit
    read (*, *) bits
    x = transfer(bits, x)
    write (out, fmt, iostat=ios) x
    if (ios /= 0) then
      write (*, '(A, I0)') 'error ', ios
    else
      write (*, '(A)') trim(out) // '|'
    end if
  end do
end program
