# A post-processing job that reads many small pieces of large files.
start 2026-05-02T08:12:44
target /opt/post.example/bin/regrid
command-line mpirun -n 8 regrid --in /scratch/ensemble.example/member_00/output/very/deep/folder/with/long/names/surface_temperature_hourly.nc --out /scratch/ensemble.example/regridded.nc
host-name io-node3.cluster.example
profiled-ranks All
omp-num-threads 1
processes 8
nodes 2
samples 30 4000
cores 16 8
main compute 610
main mpi_collective 90
main mpi_p2p 40
main io_read 1580
main io_write 540
main io_other 140
main mpi_io_read 120
main mpi_io_write 80
alone compute 610
alone mpi_collective 90
alone mpi_p2p 40
active-cores 0.31 0.52
series instr_vector_fp 0.9
series instr_vector_int 0.2
series instr_fp 8.8
series instr_int 39.6
series instr_mem 47.2
series mpi_collective_bytes 1.1e6
series mpi_p2p_bytes 5.5e6
whole-run bytes_read 8*4.1e8
whole-run bytes_written 8*1.9e9
readings rss 2e8,2.1e8 8.8e8,9.1e8
series node_mem_percent 9.9 31.2
series load_avg 41.5
whole-run memory_per_node 2*6.7e10
