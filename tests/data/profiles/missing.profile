# Nothing could be measured: no thread was ever looked at, and every source of metrics failed or is absent.
start 2026-11-05T05:05:05
target /opt/quiet.example/bin/quiet
command-line mpirun -n 4 quiet
host-name node001.cluster.example
profiled-ranks All
omp-num-threads 1
processes 4
nodes 1
samples 5 1000
error bytes_read Not permitted on this system.
error bytes_written Not permitted on this system.
error rss Not permitted on this system.
error node_mem_percent Not permitted on this system.
error load_avg Not permitted on this system.
error mpi_collective_bytes Not available for this MPI library.
error rapl_power Requires access to the energy counters of the CPU.
error system_power Not supported on this system.
