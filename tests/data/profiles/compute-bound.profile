# A stencil code on four nodes that computes most of the time: nothing but its own loops bounds it.
start 2026-03-06T14:05:09
target /opt/stencil.example/bin/stencil3d
command-line mpirun -n 64 /opt/stencil.example/bin/stencil3d --grid 2048 --steps 900
host-name node017.cluster.example
profiled-ranks All
omp-num-threads 1
processes 64
nodes 4
samples 40 6000
cores 32 16
# 600 hits of each process in a sample, by what the main thread was doing
main compute 34600
main mpi_collective 1900
main mpi_p2p 1300
main io_write 600
alone compute 34600
alone mpi_collective 1900
alone mpi_p2p 1300
active-cores 0.99 1
series instr_vector_fp 4.2
series instr_vector_int 0.6
series instr_fp 31.5
series instr_int 22.5
series instr_mem 35.2
series mpi_collective_bytes 2.1e6
series mpi_p2p_bytes 1.9e7
whole-run bytes_read 64*4.2e6
whole-run bytes_written 64*6.4e8
readings rss 1.1e9,1.2e9 1.42e9,1.46e9 1.42e9,1.47e9
series node_mem_percent 22.6 38.4 38.9
series load_avg 91.4 100.2
whole-run memory_per_node 4*1.34e11
whole-run sampler_cpu_time 64*0.72
whole-run sampler_wrapper_time 64*0.02
whole-run sampler_job_percent 0.31
whole-run cpu_time 64*238
