/* mpinames
 *
 * Is linked to no MPI library, and prints what comes of calls whose names are MPI's: one that nobody has but by
 * a weak reference, and one of a library that means something else (foreign.c). */
#include <stdio.h>

extern int MPI_Session_init(int info, int handler, int *session) __attribute__((weak));
extern void mpi_session_init_(const int *info, const int *handler, int *session, int *code) __attribute__((weak));
extern long mpi_get(long first, long second, long third);

int main(void)
{
    int session = 5;
    int code = 0;
    const int zero = 0;
    printf("foreign %ld\n", mpi_get(1, 20, 300));
    if (MPI_Session_init) {
        code = MPI_Session_init(0, 0, &session);
        printf("C fails %d, session %d\n", code != 0, session);
    }
    if (mpi_session_init_) {
        code = 0;
        mpi_session_init_(&zero, &zero, &session, &code);
        printf("Fortran fails %d, session %d\n", code != 0, session);
    }
    return 0;
}
