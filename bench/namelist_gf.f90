! Namelist WRITE and READ through a file with gfortran, the peer of
! namelist_bench.cpp: one group holding two arrays of 200,000 values
! ("array"), or 20,000 statements on a group of four scalars ("small").
program namelist_gf
  implicit none
  integer, parameter :: n = 200000, m = 20000
  real(8), allocatable :: x(:), y(:), r(:), s(:)
  integer, allocatable :: k(:), kk(:)
  integer :: i, ok
  real(8) :: d
  character(len=8) :: t
  logical :: b
  character(len=16) :: shape
  character(len=256) :: path
  integer(8) :: t0, t1, rate
  real(8) :: write_s, read_s
  namelist /big/ x, k
  namelist /small/ i, d, t, b
  call get_command_argument(1, shape)
  call get_command_argument(2, path)
  allocate (x(n), y(n), r(n), s(n), k(n), kk(n))
  call random_number(r)
  call random_number(s)
  x = r * 10d0**(int(s * 11) - 5)
  k = int(r * 1d6)
  y = x
  kk = k
  call system_clock(t0, rate)
  open (20, file=trim(path), status='replace')
  if (shape == 'small') then
    do i = 1, m
      d = x(i)
      t = 'value'
      b = mod(i, 2) == 0
      write (20, nml=small)
    end do
  else
    write (20, nml=big)
  end if
  close (20)
  call system_clock(t1)
  write_s = real(t1 - t0, 8) / rate
  x = 0
  k = 0
  ok = 0
  call system_clock(t0)
  open (20, file=trim(path), status='old')
  if (shape == 'small') then
    do i = 1, m
      read (20, nml=small)
      if (d == y(i)) ok = ok + 1
    end do
  else
    read (20, nml=big)
    ok = count(x == y .and. k == kk)
  end if
  close (20)
  call system_clock(t1)
  read_s = real(t1 - t0, 8) / rate
  write (*, '(A,A,A,F0.3,A,F0.3,A,I0,A)') 'gfortran ', trim(shape), ' write ', write_s, ' s read ', &
      read_s, ' s (', ok, ' values back)'
end program namelist_gf
