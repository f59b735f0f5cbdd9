! Oracle for the differential test of the array intrinsics: reads cases from
! standard input and writes gfortran's RESHAPE, PACK, SPREAD, TRANSPOSE,
! CSHIFT and EOSHIFT results. Every element is an integer(8) id (its position
! in a parent array), so the result shows where each element came from.
!
! A case: op rank, parent extents n1 n2 n3, section l1 u1 s1 l2 u2 s2 l3 u3 s3
! (dimensions beyond rank use l as a scalar subscript; rank 0, SPREAD only,
! takes the scalar a(l1, l2, l3) as SOURCE), then the operation's
! own numbers. Output: the result's rank and extents on one line, its
! elements in array element order on the next.
module oracle_data
  implicit none
  integer(8), allocatable :: a(:,:,:), padp(:), vecp(:)
  integer :: op
contains
  subroutine out_shape(r, e)
    integer, intent(in) :: r
    integer, intent(in) :: e(:)
    write (*, '(*(i0,:,1x))') r, e
  end subroutine
  subroutine out1(y)
    integer(8), intent(in) :: y(:)
    call out_shape(1, shape(y))
    write (*, '(*(i0,:,1x))') y
  end subroutine
  subroutine out2(y)
    integer(8), intent(in) :: y(:,:)
    call out_shape(2, shape(y))
    write (*, '(*(i0,:,1x))') y
  end subroutine
  subroutine out3(y)
    integer(8), intent(in) :: y(:,:,:)
    call out_shape(3, shape(y))
    write (*, '(*(i0,:,1x))') y
  end subroutine
  subroutine out4(y)
    integer(8), intent(in) :: y(:,:,:,:)
    call out_shape(4, shape(y))
    write (*, '(*(i0,:,1x))') y
  end subroutine
  subroutine rs1(x, ns, shp, haspad, pad, hasorder, order)
    integer(8), intent(in) :: x(:)
    integer, intent(in) :: ns, shp(:), haspad, hasorder, order(:)
    integer(8), intent(in) :: pad(:)
    ! Each combination spelled out: an absent optional dummy passed on as
    ! PAD or ORDER is not reliable in every gfortran release.
    select case (ns * 4 + 2 * min(haspad, 1) + min(hasorder, 1))
    case (4)
      call out1(reshape(x, [shp(1)]))
    case (5)
      call out1(reshape(x, [shp(1)], order=order(1:1)))
    case (6)
      call out1(reshape(x, [shp(1)], pad))
    case (7)
      call out1(reshape(x, [shp(1)], pad, order(1:1)))
    case (8)
      call out2(reshape(x, [shp(1), shp(2)]))
    case (9)
      call out2(reshape(x, [shp(1), shp(2)], order=order(1:2)))
    case (10)
      call out2(reshape(x, [shp(1), shp(2)], pad))
    case (11)
      call out2(reshape(x, [shp(1), shp(2)], pad, order(1:2)))
    case (12)
      call out3(reshape(x, [shp(1), shp(2), shp(3)]))
    case (13)
      call out3(reshape(x, [shp(1), shp(2), shp(3)], order=order(1:3)))
    case (14)
      call out3(reshape(x, [shp(1), shp(2), shp(3)], pad))
    case (15)
      call out3(reshape(x, [shp(1), shp(2), shp(3)], pad, order(1:3)))
    end select
  end subroutine
  subroutine rs2(x, ns, shp, haspad, pad, hasorder, order)
    integer(8), intent(in) :: x(:,:)
    integer, intent(in) :: ns, shp(:), haspad, hasorder, order(:)
    integer(8), intent(in) :: pad(:)
    ! Each combination spelled out: an absent optional dummy passed on as
    ! PAD or ORDER is not reliable in every gfortran release.
    select case (ns * 4 + 2 * min(haspad, 1) + min(hasorder, 1))
    case (4)
      call out1(reshape(x, [shp(1)]))
    case (5)
      call out1(reshape(x, [shp(1)], order=order(1:1)))
    case (6)
      call out1(reshape(x, [shp(1)], pad))
    case (7)
      call out1(reshape(x, [shp(1)], pad, order(1:1)))
    case (8)
      call out2(reshape(x, [shp(1), shp(2)]))
    case (9)
      call out2(reshape(x, [shp(1), shp(2)], order=order(1:2)))
    case (10)
      call out2(reshape(x, [shp(1), shp(2)], pad))
    case (11)
      call out2(reshape(x, [shp(1), shp(2)], pad, order(1:2)))
    case (12)
      call out3(reshape(x, [shp(1), shp(2), shp(3)]))
    case (13)
      call out3(reshape(x, [shp(1), shp(2), shp(3)], order=order(1:3)))
    case (14)
      call out3(reshape(x, [shp(1), shp(2), shp(3)], pad))
    case (15)
      call out3(reshape(x, [shp(1), shp(2), shp(3)], pad, order(1:3)))
    end select
  end subroutine
  subroutine rs3(x, ns, shp, haspad, pad, hasorder, order)
    integer(8), intent(in) :: x(:,:,:)
    integer, intent(in) :: ns, shp(:), haspad, hasorder, order(:)
    integer(8), intent(in) :: pad(:)
    ! Each combination spelled out: an absent optional dummy passed on as
    ! PAD or ORDER is not reliable in every gfortran release.
    select case (ns * 4 + 2 * min(haspad, 1) + min(hasorder, 1))
    case (4)
      call out1(reshape(x, [shp(1)]))
    case (5)
      call out1(reshape(x, [shp(1)], order=order(1:1)))
    case (6)
      call out1(reshape(x, [shp(1)], pad))
    case (7)
      call out1(reshape(x, [shp(1)], pad, order(1:1)))
    case (8)
      call out2(reshape(x, [shp(1), shp(2)]))
    case (9)
      call out2(reshape(x, [shp(1), shp(2)], order=order(1:2)))
    case (10)
      call out2(reshape(x, [shp(1), shp(2)], pad))
    case (11)
      call out2(reshape(x, [shp(1), shp(2)], pad, order(1:2)))
    case (12)
      call out3(reshape(x, [shp(1), shp(2), shp(3)]))
    case (13)
      call out3(reshape(x, [shp(1), shp(2), shp(3)], order=order(1:3)))
    case (14)
      call out3(reshape(x, [shp(1), shp(2), shp(3)], pad))
    case (15)
      call out3(reshape(x, [shp(1), shp(2), shp(3)], pad, order(1:3)))
    end select
  end subroutine
  ! A scalar SOURCE: SPREAD only.
  subroutine case0(x)
    integer(8), intent(in) :: x
    integer :: dim, ncopies
    read (*, *) dim, ncopies
    call out1(spread(x, dim, ncopies))
  end subroutine
  subroutine case1(x)
    integer(8), intent(in) :: x(:)
    integer :: ns, shp(3), haspad, pl, pu, ps, hasorder, order(3), dim, ncopies, hasvec
    integer :: vl, vu, vs, kind, bkind, i, n
    integer, allocatable :: mi(:)
    integer(8) :: s, b
    integer(8), allocatable :: sv(:), bv(:)
    logical, allocatable :: m(:)
    integer :: oshape(3)
    select case (op)
    case (1)
      read (*, *) ns, shp(1:ns), haspad, pl, pu, ps, hasorder, order(1:ns)
      call rs1(x, ns, shp, haspad, padp(pl:pu:ps), hasorder, order)
    case (2)
      allocate (mi(size(x)))
      read (*, *) mi, hasvec, vl, vu, vs
      m = reshape(mi /= 0, shape(x))
      if (hasvec /= 0) then
        call out1(pack(x, m, vecp(vl:vu:vs)))
      else
        call out1(pack(x, m))
      end if
    case (3)
      read (*, *) dim, ncopies
      call out2(spread(x, dim, ncopies))
    case (5, 6)
      read (*, *) dim, kind
      n = 0
      do i = 1, 1
        if (i /= dim) then
          n = n + 1
          oshape(n) = size(x, i)
        end if
      end do
      if (kind == 0) then
        read (*, *) s
      else
        allocate (sv(product(oshape(1:n))))
        read (*, *) sv
      end if
      bkind = 0
      if (op == 6) then
        read (*, *) bkind
        if (bkind == 1) read (*, *) b
        if (bkind == 2) then
          allocate (bv(product(oshape(1:n))))
          read (*, *) bv
        end if
      end if
      if (op == 5) then
        call out1(cshift(x, s, dim))
      else if (bkind == 0) then
        call out1(eoshift(x, s, dim=dim))
      else
        call out1(eoshift(x, s, b, dim))
      end if
    end select
  end subroutine
  subroutine case2(x)
    integer(8), intent(in) :: x(:,:)
    integer :: ns, shp(3), haspad, pl, pu, ps, hasorder, order(3), dim, ncopies, hasvec
    integer :: vl, vu, vs, kind, bkind, i, n
    integer, allocatable :: mi(:)
    integer(8) :: s, b
    integer(8), allocatable :: sv(:), bv(:)
    logical, allocatable :: m(:,:)
    integer :: oshape(3)
    select case (op)
    case (1)
      read (*, *) ns, shp(1:ns), haspad, pl, pu, ps, hasorder, order(1:ns)
      call rs2(x, ns, shp, haspad, padp(pl:pu:ps), hasorder, order)
    case (2)
      allocate (mi(size(x)))
      read (*, *) mi, hasvec, vl, vu, vs
      m = reshape(mi /= 0, shape(x))
      if (hasvec /= 0) then
        call out1(pack(x, m, vecp(vl:vu:vs)))
      else
        call out1(pack(x, m))
      end if
    case (3)
      read (*, *) dim, ncopies
      call out3(spread(x, dim, ncopies))
    case (4)
      call out2(transpose(x))
    case (5, 6)
      read (*, *) dim, kind
      n = 0
      do i = 1, 2
        if (i /= dim) then
          n = n + 1
          oshape(n) = size(x, i)
        end if
      end do
      if (kind == 0) then
        read (*, *) s
      else
        allocate (sv(product(oshape(1:n))))
        read (*, *) sv
      end if
      bkind = 0
      if (op == 6) then
        read (*, *) bkind
        if (bkind == 1) read (*, *) b
        if (bkind == 2) then
          allocate (bv(product(oshape(1:n))))
          read (*, *) bv
        end if
      end if
      if (op == 5) then
        if (kind == 0) then
          call out2(cshift(x, s, dim))
        else
          call out2(cshift(x, sv, dim))
        end if
      else if (kind == 0) then
        if (bkind == 0) call out2(eoshift(x, s, dim=dim))
        if (bkind == 1) call out2(eoshift(x, s, b, dim))
        if (bkind == 2) call out2(eoshift(x, s, bv, dim))
      else
        if (bkind == 0) call out2(eoshift(x, sv, dim=dim))
        if (bkind == 1) call out2(eoshift(x, sv, b, dim))
        if (bkind == 2) call out2(eoshift(x, sv, bv, dim))
      end if
    end select
  end subroutine
  subroutine case3(x)
    integer(8), intent(in) :: x(:,:,:)
    integer :: ns, shp(3), haspad, pl, pu, ps, hasorder, order(3), dim, ncopies, hasvec
    integer :: vl, vu, vs, kind, bkind, i, n
    integer, allocatable :: mi(:)
    integer(8) :: s, b
    integer(8), allocatable :: sv(:), bv(:)
    logical, allocatable :: m(:,:,:)
    integer :: oshape(3)
    select case (op)
    case (1)
      read (*, *) ns, shp(1:ns), haspad, pl, pu, ps, hasorder, order(1:ns)
      call rs3(x, ns, shp, haspad, padp(pl:pu:ps), hasorder, order)
    case (2)
      allocate (mi(size(x)))
      read (*, *) mi, hasvec, vl, vu, vs
      m = reshape(mi /= 0, shape(x))
      if (hasvec /= 0) then
        call out1(pack(x, m, vecp(vl:vu:vs)))
      else
        call out1(pack(x, m))
      end if
    case (3)
      read (*, *) dim, ncopies
      call out4(spread(x, dim, ncopies))
    case (5, 6)
      read (*, *) dim, kind
      n = 0
      do i = 1, 3
        if (i /= dim) then
          n = n + 1
          oshape(n) = size(x, i)
        end if
      end do
      if (kind == 0) then
        read (*, *) s
      else
        allocate (sv(product(oshape(1:n))))
        read (*, *) sv
      end if
      bkind = 0
      if (op == 6) then
        read (*, *) bkind
        if (bkind == 1) read (*, *) b
        if (bkind == 2) then
          allocate (bv(product(oshape(1:n))))
          read (*, *) bv
        end if
      end if
      if (op == 5) then
        if (kind == 0) then
          call out3(cshift(x, s, dim))
        else
          call out3(cshift(x, reshape(sv, oshape(1:2)), dim))
        end if
      else if (kind == 0) then
        if (bkind == 0) call out3(eoshift(x, s, dim=dim))
        if (bkind == 1) call out3(eoshift(x, s, b, dim))
        if (bkind == 2) call out3(eoshift(x, s, reshape(bv, oshape(1:2)), dim))
      else
        if (bkind == 0) call out3(eoshift(x, reshape(sv, oshape(1:2)), dim=dim))
        if (bkind == 1) call out3(eoshift(x, reshape(sv, oshape(1:2)), b, dim))
        if (bkind == 2) call out3(eoshift(x, reshape(sv, oshape(1:2)), reshape(bv, oshape(1:2)), dim))
      end if
    end select
  end subroutine
end module

program oracle
  use oracle_data
  implicit none
  integer :: r, n(3), l(3), u(3), st(3), ios, i, j, k
  allocate (padp(1000), vecp(1000))
  padp = [(100001_8 + i, i = 0, 999)]
  vecp = [(200001_8 + i, i = 0, 999)]
  do
    read (*, *, iostat=ios) op, r
    if (ios /= 0) exit
    read (*, *) n, l(1), u(1), st(1), l(2), u(2), st(2), l(3), u(3), st(3)
    if (allocated(a)) deallocate (a)
    allocate (a(n(1), n(2), n(3)))
    do k = 1, n(3)
      do j = 1, n(2)
        do i = 1, n(1)
          a(i, j, k) = 1 + (i - 1) + (j - 1) * n(1) + (k - 1) * n(1) * n(2)
        end do
      end do
    end do
    select case (r)
    case (0)
      call case0(a(l(1), l(2), l(3)))
    case (1)
      call case1(a(l(1):u(1):st(1), l(2), l(3)))
    case (2)
      call case2(a(l(1):u(1):st(1), l(2):u(2):st(2), l(3)))
    case (3)
      call case3(a(l(1):u(1):st(1), l(2):u(2):st(2), l(3):u(3):st(3)))
    end select
    flush (6)
  end do
end program
