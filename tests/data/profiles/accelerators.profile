# A training job on two nodes of four GPUs; the node without all of its GPUs makes the count uneven.
start 2026-08-20T21:07:03
target /opt/nets.example/bin/train
command-line mpirun -n 7 train --model wide --batch 512 --epochs 3
host-name gpu05.cluster.example
profiled-ranks All
omp-num-threads 1
processes 7
nodes 2
samples 50 20000
cores 48 24
main compute 3900
main accelerator 8600
main mpi_collective 1050
main io_read 450
others pthread_compute 5200
others pthread_sync 9000 100
alone compute 300
alone mpi_collective 800
active-cores 1.9 2.6
series instr_vector_fp 3
series instr_vector_int 2
series instr_fp 9
series instr_int 36
series instr_mem 41
series mpi_collective_bytes 6.5e7
series mpi_p2p_bytes 0
whole-run bytes_read 7*2.4e10
whole-run bytes_written 7*8e8
readings rss 5e9,5.2e9 1.4e10,1.5e10 1.5e10,1.7e10
series node_mem_percent 19.3 33.8
series load_avg 31.2
whole-run memory_per_node 2*5.4e11
whole-run nvidia_gpus_count 4 3
readings nvidia_gpu_usage 61,58 83,79 86,84
readings nvidia_power 900e3,650e3 1.31e6,9.7e5
whole-run nvidia_total_memory 1.72e11 1.29e11
readings nvidia_memory_used 2e10,1.5e10 1.31e11,1.02e11 1.33e11,1.05e11
series nvidia_memory_sys_usage 22 47
