/* Heat spreading through a square plate, on any number of MPI ranks: a small program of the usual shape,
 * for a first report. Each rank owns a band of rows, trades border rows with its neighbours at every step,
 * agrees with all others on how much still changes at every tenth, and saves its band now and then.
 *
 *     mpirun -n 2 ./heat [rows [steps]]
 */
#include <math.h>
#include <mpi.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { TagUp, TagDown };

struct Band {
    int rank, ranks;
    int columns;
    int rows; /* own rows; two more hold the neighbours' border rows */
    double *now, *next;
};

static double *rowOf(const struct Band *band, double *plate, int row)
{
    return plate + (size_t)row * (size_t)band->columns;
}

static int allocate(struct Band *band, int size)
{
    const int share = size / band->ranks;
    const int extra = size % band->ranks;
    band->columns = size;
    band->rows = share + (band->rank < extra ? 1 : 0);
    const size_t cells = (size_t)(band->rows + 2) * (size_t)size;
    band->now = calloc(cells, sizeof(double));
    band->next = calloc(cells, sizeof(double));
    if (!band->now || !band->next)
        return 0;
    if (band->rank == 0) /* the upper edge of the plate is kept at 100 degrees */
        for (int column = 0; column < size; ++column)
            band->now[column] = band->next[column] = 100.0;
    return 1;
}

static void tradeBorders(struct Band *band)
{
    const int up = band->rank > 0 ? band->rank - 1 : MPI_PROC_NULL;
    const int down = band->rank < band->ranks - 1 ? band->rank + 1 : MPI_PROC_NULL;
    MPI_Sendrecv(rowOf(band, band->now, 1), band->columns, MPI_DOUBLE, up, TagUp,
        rowOf(band, band->now, band->rows + 1), band->columns, MPI_DOUBLE, down, TagUp, MPI_COMM_WORLD,
        MPI_STATUS_IGNORE);
    MPI_Sendrecv(rowOf(band, band->now, band->rows), band->columns, MPI_DOUBLE, down, TagDown,
        rowOf(band, band->now, 0), band->columns, MPI_DOUBLE, up, TagDown, MPI_COMM_WORLD, MPI_STATUS_IGNORE);
}

static double relax(struct Band *band)
{
    double change = 0.0;
    for (int row = 1; row <= band->rows; ++row) {
        const double *above = rowOf(band, band->now, row - 1);
        const double *here = rowOf(band, band->now, row);
        const double *below = rowOf(band, band->now, row + 1);
        double *out = rowOf(band, band->next, row);
        for (int column = 1; column < band->columns - 1; ++column) {
            out[column] = 0.25 * (above[column] + below[column] + here[column - 1] + here[column + 1]);
            change += fabs(out[column] - here[column]);
        }
    }
    double *previous = band->now;
    band->now = band->next;
    band->next = previous;
    return change;
}

static int save(const struct Band *band, int step)
{
    char name[64];
    snprintf(name, sizeof name, "heat-%d.dat", band->rank);
    FILE *file = fopen(name, "wb");
    if (!file)
        return 0;
    fprintf(file, "step %d, %d rows of %d\n", step, band->rows, band->columns);
    const size_t cells = (size_t)band->rows * (size_t)band->columns;
    const int ok = fwrite(band->now + band->columns, sizeof(double), cells, file) == cells;
    return fclose(file) == 0 && ok;
}

int main(int argc, char **argv)
{
    MPI_Init(&argc, &argv);
    struct Band band;
    memset(&band, 0, sizeof band);
    MPI_Comm_rank(MPI_COMM_WORLD, &band.rank);
    MPI_Comm_size(MPI_COMM_WORLD, &band.ranks);
    const int size = argc > 1 ? atoi(argv[1]) : 1500;
    const int steps = argc > 2 ? atoi(argv[2]) : 1500;
    if (size < 3 || steps < 1 || !allocate(&band, size)) {
        if (band.rank == 0)
            fprintf(stderr, "heat: needs at least 3 rows, 1 step, and the memory for them\n");
        MPI_Abort(MPI_COMM_WORLD, 2);
    }

    double total = 0.0;
    for (int step = 1; step <= steps; ++step) {
        tradeBorders(&band);
        const double change = relax(&band);
        if (step % 10 == 0)
            MPI_Allreduce(&change, &total, 1, MPI_DOUBLE, MPI_SUM, MPI_COMM_WORLD);
        if (step % 250 == 0 && !save(&band, step)) {
            fprintf(stderr, "heat: rank %d could not save its rows\n", band.rank);
            MPI_Abort(MPI_COMM_WORLD, 1);
        }
    }
    if (band.rank == 0)
        printf("heat: %d x %d cells, %d steps, last change %.6g\n", size, size, steps, total);
    free(band.now);
    free(band.next);
    MPI_Finalize();
    return 0;
}
