# One process with a pool of threads that contend for a lock; neither MPI nor OpenMP.
start 2026-07-01T16:45:30
target /home/ada.example/queue/build/worker
command-line ./worker --threads 12 --jobs 50000
host-name workstation.example
profiled-ranks All
omp-num-threads 1
processes 1
nodes 1
samples 16 1000
cores 16 8
main compute 22
main pthread_sync 76 1
main io_read 2
others pthread_compute 540
others pthread_sync 660 40
alone compute 3
active-cores 5.6 6.1
series instr_vector_fp 0.1
series instr_vector_int 2.6
series instr_fp 2.2
series instr_int 51
series instr_mem 39
whole-run bytes_read 5e7
whole-run bytes_written 2e3
series rss 9e7 1.6e8 1.9e8
series node_mem_percent 31.2 32.4
series load_avg 76.3
whole-run memory_per_node 3.36e10
