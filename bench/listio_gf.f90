! List-directed WRITE and READ of 1,000,000 doubles through a file with
! gfortran, the peer of listio_bench.cpp: the whole array in one statement
! ("array") or one statement per value ("scalar").
program listio_gf
  implicit none
  integer, parameter :: n = 1000000
  real(8), allocatable :: x(:), y(:), r(:), s(:)
  character(len=16) :: shape
  character(len=256) :: path
  integer(8) :: t0, t1, rate
  integer :: i
  real(8) :: write_s, read_s
  real :: c0, c1, write_cpu, read_cpu
  call get_command_argument(1, shape)
  call get_command_argument(2, path)
  allocate (x(n), y(n), r(n), s(n))
  call random_number(r)
  call random_number(s)
  x = r * 10d0**(int(s * 11) - 5)
  call system_clock(t0, rate)
  call cpu_time(c0)
  open (20, file=trim(path), status='replace')
  if (shape == 'scalar') then
    do i = 1, n
      write (20, *) x(i)
    end do
  else
    write (20, *) x
  end if
  close (20)
  call system_clock(t1)
  call cpu_time(c1)
  write_s = real(t1 - t0, 8) / rate
  write_cpu = c1 - c0
  call system_clock(t0)
  call cpu_time(c0)
  open (20, file=trim(path), status='old')
  if (shape == 'scalar') then
    do i = 1, n
      read (20, *) y(i)
    end do
  else
    read (20, *) y
  end if
  close (20)
  call system_clock(t1)
  call cpu_time(c1)
  read_s = real(t1 - t0, 8) / rate
  read_cpu = c1 - c0
  write (*, '(A,A,A,F0.3,A,F0.3,A,I0,A,I0,A,F0.3,A,F0.3,A)') 'gfortran ', trim(shape), ' write ', write_s, &
      ' s read ', read_s, ' s (', count(x == y), ' of ', n, ' identical); cpu write ', write_cpu, ' s read ', &
      read_cpu, ' s'
end program listio_gf
