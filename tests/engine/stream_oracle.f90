! GNU Fortran as the oracle of formatted stream access (stream_test.cpp).
!   stream_oracle gen FILE SEED    writes FILE with a pseudo-random sequence
!                                  of statements and prints INQUIRE(POS=)
!                                  after each one, then a last record and
!                                  POS= and SIZE=
!   stream_oracle dump FILE        reads FILE record by record, printing
!                                  the position before each record and the
!                                  record, then reads from every 7th byte
!                                  with POS=
! The test replays the same sequence through the engine (the same
! generator: x = mod(x * 1103515245 + 12345, 2**31)).
program stream_oracle
  implicit none
  character(len=16) :: mode
  character(len=512) :: path
  character(len=16) :: seed_text
  integer(8) :: x
  integer :: u, step, kind, n, j, ios
  integer(8) :: p, size
  integer :: v
  character(len=64) :: text
  character(len=400) :: line

  call get_command_argument(1, mode)
  call get_command_argument(2, path)
  if (mode == 'gen') then
    call get_command_argument(3, seed_text)
    read (seed_text, *) x
    open (newunit=u, file=trim(path), access='stream', form='formatted', status='replace')
    do step = 1, 120
      kind = int(mod(next(), 6_8))
      select case (kind)
      case (0)
        v = int(mod(next(), 100000_8)) - 50000
        write (u, '(I0)') v
      case (1)
        n = int(mod(next(), 30_8))
        call letters(n)
        write (u, '(A)') text(1:n)
      case (2)
        n = int(mod(next(), 5_8)) + 1
        call letters(n)
        write (u, '(A)', advance='no') text(1:n)
      case (3)
        v = int(mod(next(), 100000_8)) - 50000
        write (u, '(I6,F10.3)') v, real(v, 8) / 7
      case (4)
        ! Back over the last few bytes: the file ends after what is written.
        inquire (u, pos=p)
        n = int(mod(next(), 20_8))
        p = max(1_8, p - n)
        write (u, '(A)', pos=p) 'X'
      case default
        ! A newline inside the data starts a new record.
        n = int(mod(next(), 8_8)) + 1
        call letters(n)
        write (u, '(A)') text(1:n) // achar(10) // text(1:n)
      end select
      inquire (u, pos=p)
      print '(I0)', p
    end do
    ! SIZE= once a record is ended (GNU Fortran leaves the part a
    ! non-advancing WRITE put into an open record out of it).
    write (u, '(A)') 'end'
    inquire (u, pos=p, size=size)
    print '(I0)', p
    print '(I0)', size
    close (u)
  else
    open (newunit=u, file=trim(path), access='stream', form='formatted', status='old', action='read')
    do
      inquire (u, pos=p)
      read (u, '(A)', iostat=ios) line
      if (ios /= 0) exit
      print '(I0,1X,A)', p, trim(line)
    end do
    inquire (u, size=size)
    do p = 1, size, 7
      read (u, '(A)', pos=p, iostat=ios) line
      if (ios /= 0) exit
      print '(I0,1X,A)', p, trim(line)
    end do
    close (u)
  end if

contains

  integer(8) function next()
    x = mod(x * 1103515245_8 + 12345_8, 2147483648_8)
    next = x / 8
  end function next

  subroutine letters(count)
    integer, intent(in) :: count
    integer :: r
    r = int(mod(next(), 26_8))
    do j = 1, count
      text(j:j) = achar(97 + mod(j * 7 + r, 26))
    end do
  end subroutine letters

end program stream_oracle
