# A particle code with a bad partition: most ranks wait for messages of the slow ones.
start 2026-01-31T23:59:58
target /opt/particles.example/bin/pic
command-line mpiexec -n 16 ./pic -i drift.toml --partition slabs
host-name login2.cluster.example
profiled-ranks 0-7,12
omp-num-threads 1
processes 16
nodes 1
samples 25 2000
cores 32 16
main compute 1150
main mpi_p2p 1720
main mpi_collective 210
main mpi_other 20
main io_write 100
alone compute 1150
alone mpi_p2p 1720
alone mpi_collective 210
active-cores 0.97 1
series instr_vector_fp 0
series instr_vector_int 0
series instr_fp 22.2
series instr_int 31.1
series instr_mem 28.4
series mpi_collective_bytes 3.4e4
series mpi_p2p_bytes 4.8e5
whole-run bytes_read 16*2.2e5
whole-run bytes_written 15*1.2e7 9.6e8
readings rss 3.1e8,3.3e8 3.9e8,1.9e9
series node_mem_percent 14.3 17.8
series load_avg 99.1
whole-run memory_per_node 6.6e10
