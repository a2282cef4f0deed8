! mpifortran results|shares|bytes|spawn
!
! On two ranks, by one of Fortran's three bindings (BINDING_MPIF, BINDING_USE or BINDING_F08). With "results"
! makes calls with constants that only Fortran has, and prints what they give. With "shares" one rank waits
! for the other in turns, and each prints what it measured and the bytes that it moved by the definition of
! the calls. With "bytes" makes calls with each of those constants, and prints the bytes. With "spawn" starts
! itself once more without arguments, which then answers the one who started it.
#ifdef BINDING_F08
#define COMMUNICATOR type(MPI_Comm)
#define DATATYPE type(MPI_Datatype)
#define REQUEST_HANDLE type(MPI_Request)
#define OPERATION type(MPI_Op)
#define INFO_HANDLE type(MPI_Info)
#define STATUS_LIST(name, size) type(MPI_Status) :: name(size)
#define STATUS_OF(name, i) name(i)
#else
#define COMMUNICATOR integer
#define DATATYPE integer
#define REQUEST_HANDLE integer
#define OPERATION integer
#define INFO_HANDLE integer
#define STATUS_LIST(name, size) integer :: name(MPI_STATUS_SIZE, size)
#define STATUS_OF(name, i) name(:, i)
#endif

module waiting
  use, intrinsic :: iso_fortran_env, only: int64
  implicit none
contains
  function seconds() result(now)
    double precision :: now
    integer(int64) :: ticks, rate
    call system_clock(ticks, rate)
    now = dble(ticks)/dble(rate)
  end function

  function compute(duration) result(spent)
    double precision, intent(in) :: duration
    double precision :: spent, start
    double precision, volatile :: x
    integer :: i
    start = seconds()
    x = 1
    spent = 0
    do while (spent < duration)
      do i = 1, 20000
        x = x*1.0000001d0 + 1d-9
      end do
      spent = seconds() - start
    end do
  end function
end module

program mpifortran
#if defined(BINDING_F08)
  use mpi_f08
#elif defined(BINDING_USE)
  use mpi
#endif
  use waiting
  implicit none
#ifdef BINDING_MPIF
  include 'mpif.h'
#endif
  integer :: ierr, rank, ranks, other, turn
  integer(int64) :: bytesPointToPoint, bytesCollective
  character(len=16) :: what
  COMMUNICATOR :: parent
  call MPI_Init(ierr)
  call MPI_Comm_get_parent(parent, ierr)
  if (parent /= MPI_COMM_NULL) then
    call answer()
    call MPI_Finalize(ierr)
    stop
  end if
  call MPI_Comm_rank(MPI_COMM_WORLD, rank, ierr)
  call MPI_Comm_size(MPI_COMM_WORLD, ranks, ierr)
  if (ranks /= 2) call MPI_Abort(MPI_COMM_WORLD, 2, ierr)
  other = 1 - rank
  bytesPointToPoint = 0
  bytesCollective = 0
  call get_command_argument(1, what)
  select case (what)
  case ('results')
    call results()
  case ('shares')
    call shares()
  case ('bytes')
    call bytes()
  case ('spawn')
    call spawn()
  end select
  call MPI_Finalize(ierr)

contains

  subroutine results()
    double precision :: mine(10), theirs(10), both(20)
    integer(kind=MPI_ADDRESS_KIND) :: places(2)
    integer :: lengths(2), counts(2), steps(2), finished, length, i
    logical :: isThere
    character(len=MPI_MAX_OBJECT_NAME) :: name
    character(len=20) :: found
    COMMUNICATOR :: copy, grid
    DATATYPE :: pair, types(2)
    REQUEST_HANDLE :: requests(2)
    OPERATION :: last
    INFO_HANDLE :: info
    integer :: sources, destinations
    logical :: isWeighted
#ifdef BINDING_F08
    procedure(MPI_User_function) :: takeLast
#else
    external :: takeLast
#endif

    mine = [(dble(rank*100 + i), i=1, 10)]
    theirs = mine
    call MPI_Allreduce(MPI_IN_PLACE, theirs, 10, MPI_DOUBLE_PRECISION, MPI_SUM, MPI_COMM_WORLD, ierr)
    call say('in place', sum(theirs))
    call MPI_Irecv(theirs, 10, MPI_DOUBLE_PRECISION, other, 5, MPI_COMM_WORLD, requests(1), ierr)
    call MPI_Isend(mine, 10, MPI_DOUBLE_PRECISION, other, 5, MPI_COMM_WORLD, requests(2), ierr)
    call MPI_Waitall(2, requests, MPI_STATUSES_IGNORE, ierr)
    call say('statuses ignored', sum(theirs))
    call MPI_Sendrecv_replace(theirs, 10, MPI_DOUBLE_PRECISION, other, 6, other, 6, MPI_COMM_WORLD, &
      MPI_STATUS_IGNORE, ierr)
    call say('status ignored', sum(theirs))
    call MPI_Isend(mine, 10, MPI_DOUBLE_PRECISION, MPI_PROC_NULL, 5, MPI_COMM_WORLD, requests(1), ierr)
    isThere = .false.
    do while (.not. isThere)
      call MPI_Testany(1, requests, finished, isThere, MPI_STATUS_IGNORE, ierr)
    end do
    call say('finished', dble(finished))

    ! Addresses instead of a buffer.
    call MPI_Get_address(mine(1), places(1), ierr)
    call MPI_Get_address(mine(6), places(2), ierr)
    lengths = 2
    call MPI_Type_create_hindexed(2, lengths, places, MPI_DOUBLE_PRECISION, pair, ierr)
    call MPI_Type_commit(pair, ierr)
    call MPI_Bcast(MPI_BOTTOM, 1, pair, 0, MPI_COMM_WORLD, ierr)
    call say('bottom', sum(mine))
    call MPI_Type_free(pair, ierr)

    both(rank*10 + 1:rank*10 + 10) = mine
    call MPI_Allgather(MPI_IN_PLACE, 0, MPI_DATATYPE_NULL, both, 10, MPI_DOUBLE_PRECISION, MPI_COMM_WORLD, ierr)
    call say('gathered in place', sum(both))
    counts = 5
    steps = [0, 40]
    types = MPI_DOUBLE_PRECISION
    call MPI_Alltoallw(mine, counts, steps, types, theirs, counts, steps, types, MPI_COMM_WORLD, ierr)
    call say('exchanged', sum(theirs))
    call MPI_Op_create(takeLast, .false., last, ierr)
    call MPI_Reduce(mine, theirs, 10, MPI_DOUBLE_PRECISION, last, 0, MPI_COMM_WORLD, ierr)
    call say('own operation', sum(theirs))
    call MPI_Op_free(last, ierr)

    ! Texts, whose lengths travel hidden.
    call MPI_Comm_dup(MPI_COMM_WORLD, copy, ierr)
    call MPI_Comm_set_name(copy, 'a name', ierr)
    call MPI_Comm_get_name(copy, name, length, ierr)
    if (rank == 0) print '(a,a,a,i0)', 'name ', trim(name), ' ', length
    call MPI_Comm_free(copy, ierr)
    call MPI_Info_create(info, ierr)
    call MPI_Info_set(info, 'key', 'some value', ierr)
    call MPI_Info_get(info, 'key', 20, found, isThere, ierr)
    if (rank == 0) print '(a,a,l2)', 'info ', trim(found), isThere
    call MPI_Info_free(info, ierr)
    call MPI_Cart_create(MPI_COMM_WORLD, 1, [2], [.true.], .false., grid, ierr)
    call MPI_Neighbor_allgather(mine, 1, MPI_DOUBLE_PRECISION, both, 1, MPI_DOUBLE_PRECISION, grid, ierr)
    call say('neighbours', sum(both(1:2)))
    call MPI_Dist_graph_create_adjacent(MPI_COMM_WORLD, 1, [other], MPI_UNWEIGHTED, 1, [other], MPI_UNWEIGHTED, &
      MPI_INFO_NULL, .false., copy, ierr)
    call MPI_Dist_graph_neighbors_count(copy, sources, destinations, isWeighted, ierr)
    if (rank == 0) print '(a,i0,i2,l2)', 'graph ', sources, destinations, isWeighted
    call MPI_Comm_free(copy, ierr)
    call MPI_Initialized(isThere, ierr)
    if (rank == 0) print '(a,l2,i0)', 'initialised', isThere, ierr
    call say('the end', dble(ierr))
  end subroutine

  ! One line of each rank, in order.
  subroutine say(text, value)
    character(len=*), intent(in) :: text
    double precision, intent(in) :: value
    integer :: r
    do r = 0, 1
      if (r == rank) then
        print '(a,a,i0,a,f0.1)', text, ' ', rank, ' ', value
        flush (6)
      end if
      call MPI_Barrier(MPI_COMM_WORLD, ierr)
    end do
  end subroutine

  subroutine shares()
    integer, parameter :: Rounds = 5
    double precision :: mine(1000), theirs(1000), computing, pointToPoint, collective, start
    integer :: round
    mine = rank
    computing = 0
    pointToPoint = 0
    collective = 0
    do round = 1, Rounds
      computing = computing + compute(merge(0.1d0, 0.25d0, rank == 0))
      start = seconds()
      if (rank == 0) then
        call MPI_Recv(theirs, 1000, MPI_DOUBLE_PRECISION, 1, 0, MPI_COMM_WORLD, MPI_STATUS_IGNORE, ierr)
      else
        call MPI_Send(mine, 1000, MPI_DOUBLE_PRECISION, 0, 0, MPI_COMM_WORLD, ierr)
      end if
      bytesPointToPoint = bytesPointToPoint + 8000
      pointToPoint = pointToPoint + seconds() - start
      if (rank == 0) computing = computing + compute(0.15d0)
      start = seconds()
      call MPI_Barrier(MPI_COMM_WORLD, ierr)
      call MPI_Allreduce(MPI_IN_PLACE, theirs, 1000, MPI_DOUBLE_PRECISION, MPI_SUM, MPI_COMM_WORLD, ierr)
      bytesCollective = bytesCollective + 2*8000
      if (rank == 0) then
        call MPI_Gather(MPI_IN_PLACE, 0, MPI_INTEGER, theirs, 7, MPI_DOUBLE_PRECISION, 0, MPI_COMM_WORLD, ierr)
      else
        call MPI_Gather(mine, 7, MPI_DOUBLE_PRECISION, theirs, 0, MPI_INTEGER, 0, MPI_COMM_WORLD, ierr)
      end if
      bytesCollective = bytesCollective + merge(2*56, 56, rank == 0)
      collective = collective + seconds() - start
    end do
    do turn = 0, 1
      if (turn == rank) then
        call number('pointToPoint', pointToPoint)
        call number('collective', collective)
        call number('compute', computing)
        call number('bytesPointToPoint', dble(bytesPointToPoint))
        call number('bytesCollective', dble(bytesCollective))
        flush (6)
      end if
      call MPI_Barrier(MPI_COMM_WORLD, ierr)
    end do
  end subroutine

  ! A receive that has room for more than comes, and a send of so many to the other.
  subroutine exchange(length, mine, theirs, request)
    integer, intent(in) :: length
    double precision :: mine(64), theirs(64)
    REQUEST_HANDLE :: request
    call MPI_Irecv(theirs, 64, MPI_DOUBLE_PRECISION, MPI_ANY_SOURCE, length, MPI_COMM_WORLD, request, ierr)
    call MPI_Send(mine, length, MPI_DOUBLE_PRECISION, other, length, MPI_COMM_WORLD, ierr)
    bytesPointToPoint = bytesPointToPoint + 2*length*8
  end subroutine

  subroutine bytes()
    double precision, save :: mine(64), theirs(64), both(128)
    double precision :: spent
    mine = rank + 1
    call bytesOfReceives(mine, theirs)
    call bytesOfCollectives(mine, both)
    call bytesOfAddresses(mine, theirs)
    spent = compute(0.1d0)
    do turn = 0, 1
      if (turn == rank) then
        call number('bytesPointToPoint', dble(bytesPointToPoint))
        call number('bytesCollective', dble(bytesCollective))
        flush (6)
      end if
      call MPI_Barrier(MPI_COMM_WORLD, ierr)
    end do
  end subroutine

  subroutine bytesOfReceives(mine, theirs)
    double precision :: mine(64), theirs(64)
    REQUEST_HANDLE :: requests(2), once
    STATUS_LIST(statuses, 2)
    integer :: finished, indices(2), i
    logical :: isDone
    if (rank == 0) then
      call MPI_Send(mine, 3, MPI_DOUBLE_PRECISION, other, 1, MPI_COMM_WORLD, ierr)
      call MPI_Recv(theirs, 64, MPI_DOUBLE_PRECISION, other, 1, MPI_COMM_WORLD, MPI_STATUS_IGNORE, ierr)
    else
      call MPI_Recv(theirs, 64, MPI_DOUBLE_PRECISION, other, 1, MPI_COMM_WORLD, STATUS_OF(statuses, 1), ierr)
      call MPI_Send(mine, 3, MPI_DOUBLE_PRECISION, other, 1, MPI_COMM_WORLD, ierr)
    end if
    bytesPointToPoint = bytesPointToPoint + 2*3*8
    call MPI_Sendrecv(mine, 5, MPI_DOUBLE_PRECISION, other, 2, theirs, 64, MPI_DOUBLE_PRECISION, other, 2, &
      MPI_COMM_WORLD, MPI_STATUS_IGNORE, ierr)
    bytesPointToPoint = bytesPointToPoint + 2*5*8
    call MPI_Send(mine, 7, MPI_DOUBLE_PRECISION, MPI_PROC_NULL, 2, MPI_COMM_WORLD, ierr)
    call exchange(11, mine, theirs, once)
    call MPI_Wait(once, MPI_STATUS_IGNORE, ierr)
    call exchange(13, mine, theirs, requests(1))
    call exchange(15, mine, theirs, requests(2))
    call MPI_Waitall(2, requests, MPI_STATUSES_IGNORE, ierr)
    call exchange(17, mine, theirs, requests(1))
    call exchange(19, mine, theirs, requests(2))
    call MPI_Waitall(2, requests, statuses, ierr)
    call exchange(21, mine, theirs, requests(2))
    call MPI_Waitany(2, requests, finished, MPI_STATUS_IGNORE, ierr)
    if (finished /= 2) print *, 'finished ', finished
    call exchange(23, mine, theirs, requests(2))
    call MPI_Waitsome(2, requests, finished, indices, MPI_STATUSES_IGNORE, ierr)
    call exchange(25, mine, theirs, requests(1))
    isDone = .false.
    do while (.not. isDone)
      call MPI_Testany(2, requests, finished, isDone, MPI_STATUS_IGNORE, ierr)
    end do
    call exchange(27, mine, theirs, requests(2))
    isDone = .false.
    do while (.not. isDone)
      call MPI_Testall(2, requests, isDone, MPI_STATUSES_IGNORE, ierr)
    end do
    call exchange(29, mine, theirs, once)
    isDone = .false.
    do while (.not. isDone)
      call MPI_Test(once, isDone, MPI_STATUS_IGNORE, ierr)
    end do
    call MPI_Send_init(mine, 31, MPI_DOUBLE_PRECISION, other, 3, MPI_COMM_WORLD, requests(1), ierr)
    call MPI_Recv_init(theirs, 64, MPI_DOUBLE_PRECISION, other, 3, MPI_COMM_WORLD, requests(2), ierr)
    do i = 1, 3
      call MPI_Startall(2, requests, ierr)
      call MPI_Waitall(2, requests, MPI_STATUSES_IGNORE, ierr)
      bytesPointToPoint = bytesPointToPoint + 2*31*8
    end do
    call MPI_Request_free(requests(1), ierr)
    call MPI_Request_free(requests(2), ierr)
  end subroutine

  subroutine bytesOfCollectives(mine, both)
    double precision :: mine(64), both(128)
    COMMUNICATOR :: line
    both = 1
    call MPI_Allreduce(MPI_IN_PLACE, both, 33, MPI_DOUBLE_PRECISION, MPI_SUM, MPI_COMM_WORLD, ierr)
    bytesCollective = bytesCollective + 2*33*8
    call MPI_Allgather(MPI_IN_PLACE, 0, MPI_DATATYPE_NULL, both, 35, MPI_DOUBLE_PRECISION, MPI_COMM_WORLD, ierr)
    bytesCollective = bytesCollective + 2*35*8
    call MPI_Alltoall(MPI_IN_PLACE, 0, MPI_DATATYPE_NULL, both, 37, MPI_DOUBLE_PRECISION, MPI_COMM_WORLD, ierr)
    bytesCollective = bytesCollective + 2*2*37*8
    if (rank == 0) then
      call MPI_Scatter(both, 39, MPI_DOUBLE_PRECISION, MPI_IN_PLACE, 0, MPI_DATATYPE_NULL, 0, MPI_COMM_WORLD, ierr)
      bytesCollective = bytesCollective + 2*39*8
    else
      call MPI_Scatter(both, 0, MPI_DATATYPE_NULL, mine, 39, MPI_DOUBLE_PRECISION, 0, MPI_COMM_WORLD, ierr)
      bytesCollective = bytesCollective + 39*8
    end if
    ! Rank 0 sends to rank 1 alone.
    call MPI_Dist_graph_create_adjacent(MPI_COMM_WORLD, rank, [0], MPI_UNWEIGHTED, 1 - rank, [1], MPI_UNWEIGHTED, &
      MPI_INFO_NULL, .false., line, ierr)
    call MPI_Neighbor_alltoall(mine, 41, MPI_DOUBLE_PRECISION, both, 41, MPI_DOUBLE_PRECISION, line, ierr)
    bytesCollective = bytesCollective + 41*8
    call MPI_Comm_free(line, ierr)
  end subroutine

  subroutine bytesOfAddresses(mine, theirs)
    double precision :: mine(64), theirs(64)
    integer(kind=MPI_ADDRESS_KIND) :: places(2)
    integer :: lengths(2)
    DATATYPE :: pair
    REQUEST_HANDLE :: request
    call MPI_Get_address(mine(1), places(1), ierr)
    call MPI_Get_address(mine(6), places(2), ierr)
    lengths = 2
    call MPI_Type_create_hindexed(2, lengths, places, MPI_DOUBLE_PRECISION, pair, ierr)
    call MPI_Type_commit(pair, ierr)
    call MPI_Irecv(theirs, 64, MPI_DOUBLE_PRECISION, other, 4, MPI_COMM_WORLD, request, ierr)
    call MPI_Send(MPI_BOTTOM, 1, pair, other, 4, MPI_COMM_WORLD, ierr)
    call MPI_Wait(request, MPI_STATUS_IGNORE, ierr)
    bytesPointToPoint = bytesPointToPoint + 2*4*8
    call MPI_Bcast(MPI_BOTTOM, 1, pair, 0, MPI_COMM_WORLD, ierr)
    bytesCollective = bytesCollective + 4*8
    call MPI_Type_free(pair, ierr)
  end subroutine

  subroutine spawn()
    character(len=1000) :: itself
    COMMUNICATOR :: child
    integer :: got
    call get_command_argument(0, itself)
    call MPI_Comm_spawn(trim(itself), MPI_ARGV_NULL, 1, MPI_INFO_NULL, 0, MPI_COMM_WORLD, child, &
      MPI_ERRCODES_IGNORE, ierr)
    got = 0
    if (rank == 0) call MPI_Recv(got, 1, MPI_INTEGER, 0, 0, child, MPI_STATUS_IGNORE, ierr)
    call say('answer', dble(got))
    call MPI_Comm_disconnect(child, ierr)
  end subroutine

  ! To the first of those who started this process.
  subroutine answer()
    call MPI_Send(42, 1, MPI_INTEGER, 0, 0, parent, ierr)
    call MPI_Comm_disconnect(parent, ierr)
  end subroutine

  subroutine number(name, value)
    character(len=*), intent(in) :: name
    double precision, intent(in) :: value
    print '(a,i0,a,a,a,f0.6)', 'rank', rank, '.', name, ' ', value
  end subroutine
end program

! An operation that gives what comes last.
subroutine takeLast(given, kept, length, kind)
#ifdef BINDING_F08
  use mpi_f08, only: MPI_Datatype
  use, intrinsic :: iso_c_binding, only: c_ptr, c_f_pointer
  implicit none
  type(c_ptr), value :: given, kept
  integer :: length
  type(MPI_Datatype) :: kind
  double precision, pointer :: from(:), to(:)
  call c_f_pointer(given, from, [length])
  call c_f_pointer(kept, to, [length])
  to = from + 2*to
#else
  implicit none
  integer :: length, kind
  double precision :: given(length), kept(length)
  kept = given + 2*kept
#endif
  if (.false.) print *, kind
end subroutine
