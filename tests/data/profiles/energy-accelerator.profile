# Energy of the CPUs and of the GPUs is known, that of the whole node isn't.
start 2026-09-11T11:11:11
target /opt/md.example/bin/md
command-line mpirun -n 2 md protein.tpr
host-name gpu01.cluster.example
profiled-ranks All
omp-num-threads 12
processes 2
nodes 1
samples 30 12000
cores 48 24
main compute 330
main omp 1160
main omp_runtime_in_region 90
main accelerator 620
main mpi_p2p 140
main io_write 60
others omp 12400
others omp_runtime_in_region 1100 900
others omp_runtime_out_of_region 7500 300
alone compute 330
alone mpi_p2p 140
active-cores 8.4 11.2
series instr_vector_fp 17
series instr_vector_int 2
series instr_fp 30
series instr_int 20
series instr_mem 27
series mpi_collective_bytes 0
series mpi_p2p_bytes 2.3e7
whole-run bytes_read 2*8e7
whole-run bytes_written 2*4e8
readings rss 1.4e9,1.5e9
series node_mem_percent 8.8
series load_avg 79
whole-run memory_per_node 2.7e11
whole-run nvidia_gpus_count 2
series nvidia_gpu_usage 47
series nvidia_power 340e3 352e3
whole-run nvidia_total_memory 8.6e10
series nvidia_memory_used 5e9 6.1e9
series nvidia_memory_sys_usage 19
series rapl_power 231 244
series rapl_energy 2772 87400
error system_power Requires a sensor of the whole node.
