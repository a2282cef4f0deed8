# A node that measures the energy of its CPUs only: the total is an estimate.
start 2026-09-09T09:09:09
target /opt/lattice.example/bin/lbm
command-line mpirun -n 16 lbm -s 12000
host-name node009.cluster.example
profiled-ranks All
omp-num-threads 1
processes 16
nodes 1
samples 30 30000
cores 32 16
main compute 39200
main mpi_collective 2400
main mpi_p2p 5600
main io_write 800
alone compute 39200
alone mpi_collective 2400
alone mpi_p2p 5600
active-cores 0.99 1
series instr_vector_fp 21
series instr_vector_int 1
series instr_fp 33
series instr_int 11
series instr_mem 50
series mpi_collective_bytes 1.2e5
series mpi_p2p_bytes 3.1e7
whole-run bytes_read 16*4e5
whole-run bytes_written 16*3.3e9
readings rss 2.1e9,2.2e9 3.2e9,3.3e9
series node_mem_percent 41.1 83.2
series load_avg 99.8
whole-run memory_per_node 6.7e10
series rapl_power 188 205 203
series rapl_energy 5640 91000 183600
error system_power Not supported on this system.
error system_energy Not supported on this system.
