! The gfortran side of the namelist differential test.
!   nml_oracle w VALUES OUT N : reads N cases of values, writes each with
!                                WRITE (NML=G) to OUT
!   nml_oracle r IN VALUES N  : reads N groups with READ (NML=G) from IN and
!                                writes their values to VALUES
! Values travel as integers: reals as their bit patterns, logicals as 0/1,
! characters as their codes.
program nml_oracle
  implicit none
  type pt
    integer :: x
    real(8) :: y(2)
    character(len=4) :: s
  end type
  integer(1) :: i1
  integer(2) :: i2
  integer :: i(3)
  integer(8) :: i8
  logical :: l(2)
  logical(1) :: l1
  real :: r(2)
  real(8) :: d(2,2)
  complex :: c
  complex(8) :: z
  character(len=6) :: s(2)
  type(pt) :: p, pa(2)
  namelist /g/ i1, i2, i, i8, l, l1, r, d, c, z, s, p, pa
  character(len=512) :: mode, fin, fout, arg
  integer :: n, k

  call get_command_argument(1, mode)
  call get_command_argument(2, fin)
  call get_command_argument(3, fout)
  call get_command_argument(4, arg)
  read (arg, *) n
  open (10, file=fin, status='old')
  open (11, file=fout, status='replace')
  do k = 1, n
    if (mode(1:1) == 'w') then
      call get_values(10)
      write (11, nml=g)
    else
      read (10, nml=g)
      call put_values(11)
    end if
  end do
  close (10)
  close (11)

contains

  subroutine get_values(u)
    integer, intent(in) :: u
    integer :: il(2), il1, rb(2), cb(2), sc(12), psc(4), k, j
    integer(8) :: db(4), zb(2), pyb(2)
    read (u, *) i1, i2, i, i8, il, il1, rb, db, cb, zb, sc
    l = il /= 0
    l1 = il1 /= 0
    r = transfer(rb, r)
    d = reshape(transfer(db, 1.0d0, 4), [2, 2])
    c = cmplx(transfer(cb(1), 1.0), transfer(cb(2), 1.0))
    z = cmplx(transfer(zb(1), 1.0d0), transfer(zb(2), 1.0d0), kind=8)
    do k = 1, 2
      do j = 1, 6
        s(k)(j:j) = achar(sc(6 * (k - 1) + j))
      end do
    end do
    read (u, *) p%x, pyb, psc
    call set_pt(p, pyb, psc)
    do k = 1, 2
      read (u, *) pa(k)%x, pyb, psc
      call set_pt(pa(k), pyb, psc)
    end do
  end subroutine

  subroutine set_pt(q, yb, sc)
    type(pt), intent(inout) :: q
    integer(8), intent(in) :: yb(2)
    integer, intent(in) :: sc(4)
    integer :: j
    q%y = transfer(yb, 1.0d0, 2)
    do j = 1, 4
      q%s(j:j) = achar(sc(j))
    end do
  end subroutine

  subroutine put_values(u)
    integer, intent(in) :: u
    integer :: k, j
    write (u, *) i1, i2, i, i8, merge(1, 0, l), merge(1, 0, l1)
    write (u, *) transfer(r, 1, 2), transfer(d, 1_8, 4)
    write (u, *) transfer(real(c), 1), transfer(aimag(c), 1), transfer(real(z), 1_8), transfer(aimag(z), 1_8)
    write (u, *) ((iachar(s(k)(j:j)), j = 1, 6), k = 1, 2)
    write (u, *) p%x, transfer(p%y, 1_8, 2), (iachar(p%s(j:j)), j = 1, 4)
    do k = 1, 2
      write (u, *) pa(k)%x, transfer(pa(k)%y, 1_8, 2), (iachar(pa(k)%s(j:j)), j = 1, 4)
    end do
  end subroutine

end program
