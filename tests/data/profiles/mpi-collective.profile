# A spectral code whose transposes are all-to-all calls: half of the run is collective communication.
start 2026-04-17T02:30:00
target /opt/spectral.example/bin/turbulence
command-line srun -n 256 /opt/spectral.example/bin/turbulence input.nml
host-name node102.cluster.example
profiled-ranks All
omp-num-threads 1
processes 256
nodes 8
samples 60 10000
cores 64 32
main compute 97000
main mpi_collective 141000
main mpi_p2p 9000
main mpi_other 6000
main io_read 3000 3000 0-4
main compute 3000 3000 5-59
alone compute 97000
alone mpi_collective 141000
alone mpi_p2p 9000
active-cores 0.98 1
series instr_vector_fp 11.9
series instr_vector_int 0.4
series instr_fp 19.8
series instr_int 18.3
series instr_mem 44.1
series mpi_collective_bytes 9.7e6
series mpi_p2p_bytes 8e5
whole-run bytes_read 256*3.6e8
whole-run bytes_written 256*1.2e5
readings rss 6.1e8,6.3e8 2.31e9,2.42e9 2.31e9,2.44e9
series node_mem_percent 12.1 29.7
series load_avg 98.7
whole-run memory_per_node 8*2.68e11
