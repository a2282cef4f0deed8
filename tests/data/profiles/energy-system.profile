# Nodes with sensors of the whole system beside those of the CPUs.
start 2026-09-10T10:10:10
target /opt/lattice.example/bin/lbm
command-line mpirun -n 64 lbm -s 12000
host-name node201.cluster.example
profiled-ranks All
omp-num-threads 1
processes 64
nodes 4
samples 30 30000
cores 32 16
main compute 151000
main mpi_collective 12000
main mpi_p2p 26000
main io_write 3000
alone compute 151000
alone mpi_collective 12000
alone mpi_p2p 26000
active-cores 0.99 1
series instr_vector_fp 21
series instr_vector_int 1
series instr_fp 33
series instr_int 11
series instr_mem 22
series mpi_collective_bytes 1.2e5
series mpi_p2p_bytes 3.1e7
whole-run bytes_read 64*4e5
whole-run bytes_written 64*3.3e9
readings rss 2.1e9,2.2e9 3.2e9,3.3e9
series node_mem_percent 41.1 52.7
series load_avg 99.8
whole-run memory_per_node 4*6.7e10
readings rapl_power 188,190,186,181 205,206,201,199
readings rapl_energy 5640,5700,5580,5430 183600,184700,180300,178200
readings system_power 310,322,305,299 351,366,347,340
readings system_energy 9300,9660,9150,8970 312700,326100,309400,303200
