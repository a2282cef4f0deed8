# A power budget of which the job leaves a good part unused.
start 2026-10-01T00:00:00
target /opt/lattice.example/bin/lbm
command-line mpirun -n 32 lbm -s 6000
host-name node077.cluster.example
profiled-ranks All
omp-num-threads 1
processes 32
nodes 2
samples 60 60000
cores 32 16
main compute 103000
main mpi_collective 38000
main mpi_p2p 41000
main io_write 10000
alone compute 103000
alone mpi_collective 38000
alone mpi_p2p 41000
active-cores 0.98 1
series instr_vector_fp 8
series instr_vector_int 1
series instr_fp 28
series instr_int 16
series instr_mem 33
series mpi_collective_bytes 2.2e6
series mpi_p2p_bytes 4.1e7
whole-run bytes_read 32*4e5
whole-run bytes_written 32*9.3e9
readings rss 2.1e9,2.2e9 3.2e9,3.3e9
series node_mem_percent 21.1 27.7
series load_avg 99.2
whole-run memory_per_node 2*1.34e11
readings rapl_power 150,148 171,166 169,160
readings rapl_energy 9000,8880 304000,297000 608000,594000
readings system_power 290,284 331,326 318,309
readings system_energy 17400,17040 575000,561000 1.15e6,1.12e6
whole-run budgeted_power 450 450
