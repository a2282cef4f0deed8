# A hybrid code: 4 processes of 8 threads, with a good part of the time in the OpenMP runtime.
start 2026-06-11T10:00:00
target /opt/ocean.example/bin/ocean
command-line mpirun -n 4 --map-by socket ocean --case north
host-name node040.cluster.example
profiled-ranks All
omp-num-threads 8
processes 4
nodes 2
samples 20 5000
cores 32 16
main compute 360
main omp 1090
main omp_runtime_in_region 210
main omp_runtime_out_of_region 30
main mpi_collective 130
main mpi_p2p 120
main io_write 60
others omp 7210
others omp_runtime_in_region 2350 1900
others omp_runtime_out_of_region 4300 200
alone compute 360
alone mpi_collective 130
alone mpi_p2p 120
active-cores 5.9 7.8
series instr_vector_fp 14
series instr_vector_int 1
series instr_fp 33
series instr_int 19
series instr_mem 30
series mpi_collective_bytes 4e5
series mpi_p2p_bytes 1.3e7
whole-run bytes_read 4*1e6
whole-run bytes_written 4*1.1e9
readings rss 4e9,4.1e9 7.9e9,8.2e9
series node_mem_percent 28.1 55.4
series load_avg 88.2
whole-run memory_per_node 2*6.7e10
