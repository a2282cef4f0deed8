#ifndef HOST_PROFILE_METRICIDS_H
#define HOST_PROFILE_METRICIDS_H

#include <QString>

// The one table of the metrics that a profile can hold. A row is
//   (constant, id, display name, units, scope, kind, what it is)
// with the scope saying what a reading belongs to, PerProcess or PerNode, and the kind saying how readings
// behave in time: a Gauge stands at a level, a Rate is something per second, a Total counts up over the
// run, each reading being the count so far, and a Static figure doesn't change while the job runs. The ids
// are part of .fern files and of report definitions: a row may be added, an id never changed.
#define FERN_METRICS(X)                                                                                      \
    X(METRIC_NUM_CORES_PER_NODE, "num_cores_per_node", "Logical cores", "", PerNode, Static,                 \
        "Logical cores of a node, hardware threads counted")                                                 \
    X(METRIC_NUM_PHYSICAL_CORES_PER_NODE, "num_physical_cores_per_node", "Physical cores", "", PerNode,      \
        Static, "Physical cores of a node")                                                                  \
    X(METRIC_MEMORY_PER_NODE, "memory_per_node", "Node memory", "B", PerNode, Static,                        \
        "Main memory of a node")                                                                             \
    X(METRIC_RSS, "rss", "Memory usage", "B", PerProcess, Gauge,                                             \
        "Memory of a process that is in main memory")                                                        \
    X(METRIC_NODE_MEM_USED, "node_mem_percent", "Node memory usage", "%", PerNode, Gauge,                    \
        "Main memory of a node in use by all its processes")                                                 \
    X(METRIC_LOAD_AVG, "load_avg", "System load", "%", PerNode, Gauge,                                       \
        "Load average of a node against its physical cores")                                                 \
    X(METRIC_ACTIVE_CORES, "active_cores", "Active cores", "", PerProcess, Rate,                             \
        "CPU time that a process used per time that passed")                                                 \
    X(METRIC_CHARS_READ, "bytes_read", "Bytes read", "B", PerProcess, Total,                                 \
        "Bytes that a process has read by system calls, from the page cache as well")                        \
    X(METRIC_CHARS_WRITTEN, "bytes_written", "Bytes written", "B", PerProcess, Total,                        \
        "Bytes that a process has written by system calls, to the page cache as well")                       \
    X(METRIC_LUSTRE_CHARS_READ, "lustre_bytes_read", "Lustre bytes read", "B", PerProcess, Total,            \
        "Bytes that were read from a parallel file system")                                                  \
    X(METRIC_LUSTRE_CHARS_WRITTEN, "lustre_bytes_written", "Lustre bytes written", "B", PerProcess, Total,   \
        "Bytes that were written to a parallel file system")                                                 \
    X(METRIC_MPI_COLLECTIVE_BYTES_PER_SEC, "mpi_collective_bytes", "MPI collective bytes", "B/s",            \
        PerProcess, Rate, "Payload that a process sent and received in collective calls")                    \
    X(METRIC_MPI_P2P_BYTES_PER_SEC, "mpi_p2p_bytes", "MPI point-to-point bytes", "B/s", PerProcess, Rate,    \
        "Payload that a process sent and received in point-to-point calls")                                  \
    X(METRIC_INSTR_VECTOR_FP, "instr_vector_fp", "Vector floating-point", "%", PerProcess, Gauge,            \
        "Vector floating-point instructions, of all instructions")                                           \
    X(METRIC_INSTR_VECTOR_INT, "instr_vector_int", "Vector integer", "%", PerProcess, Gauge,                 \
        "Vector integer instructions, of all instructions")                                                  \
    X(METRIC_INSTR_FP, "instr_fp", "Floating-point", "%", PerProcess, Gauge,                                 \
        "Floating-point instructions, scalar and vector, of all instructions")                               \
    X(METRIC_INSTR_INT, "instr_int", "Integer", "%", PerProcess, Gauge,                                      \
        "Integer instructions, scalar and vector, of all instructions")                                      \
    X(METRIC_INSTR_MEM, "instr_mem", "Memory access", "%", PerProcess, Gauge,                                \
        "Instructions that access memory, of all instructions")                                              \
    X(METRIC_NVIDIA_GPUS_COUNT, "nvidia_gpus_count", "GPUs", "", PerNode, Static, "GPUs of a node")          \
    X(METRIC_NVIDIA_GPU_USAGE, "nvidia_gpu_usage", "GPU utilization", "%", PerNode, Gauge,                   \
        "Time in which the GPUs of a node were busy")                                                        \
    X(METRIC_NVIDIA_POWER, "nvidia_power", "GPU power", "mW", PerNode, Gauge, "Power of the GPUs of a node") \
    X(METRIC_NVIDIA_TOTAL_MEMORY, "nvidia_total_memory", "GPU memory", "B", PerNode, Static,                 \
        "Memory of all GPUs of a node")                                                                      \
    X(METRIC_NVIDIA_MEMORY_USED, "nvidia_memory_used", "GPU memory usage", "B", PerNode, Gauge,              \
        "GPU memory of a node in use")                                                                       \
    X(METRIC_NVIDIA_MEMORY_SYS_USAGE, "nvidia_memory_sys_usage", "GPU memory accesses", "%", PerNode, Gauge, \
        "Time in which the memory of the GPUs was read or written")                                          \
    X(METRIC_RAPL_POWER, "rapl_power", "CPU power", "W", PerNode, Gauge, "Power of the CPUs of a node")      \
    X(METRIC_RAPL_ENERGY, "rapl_energy", "CPU energy", "J", PerNode, Total,                                  \
        "Energy of the CPUs of a node, counted from the start of the run")                                   \
    X(METRIC_SYSTEM_POWER, "system_power", "System power", "W", PerNode, Gauge, "Power of a whole node")     \
    X(METRIC_SYSTEM_ENERGY, "system_energy", "System energy", "J", PerNode, Total,                           \
        "Energy of a whole node, counted from the start of the run")                                         \
    X(METRIC_BUDGETED_POWER, "budgeted_power", "Power budget", "W", PerNode, Static,                         \
        "Power that a node was allowed to use")                                                              \
    X(METRIC_SAMPLER_LOOKS, "sampler_looks", "Looks", "", PerProcess, Static,                                \
        "How often the sampler looked at a process")                                                         \
    X(METRIC_SAMPLER_BINS, "sampler_bins", "Bins", "", PerProcess, Static,                                   \
        "Stretches of time that the sampler kept of a process")                                              \
    X(METRIC_SAMPLER_INTERVAL, "sampler_interval", "Interval", "ms", PerProcess, Static,                     \
        "Length of such a stretch at the end of the run")                                                    \
    X(METRIC_SAMPLER_THREADS, "sampler_threads", "Threads", "", PerProcess, Static,                          \
        "Most threads of a process that the sampler saw at a time")                                          \
    X(METRIC_SAMPLER_THREADS_MISSED, "sampler_threads_missed", "Threads missed", "", PerProcess, Static,     \
        "Threads of a process that the sampler had no room for")                                             \
    X(METRIC_SAMPLER_COUNTERS, "sampler_program_counters", "Program counters", "", PerProcess, Static,       \
        "Program counters that the sampler kept of a process")                                               \
    X(METRIC_SAMPLER_COUNTERS_LOST, "sampler_program_counters_lost", "Program counters lost", "",            \
        PerProcess, Static, "Program counters without code, or that came too fast")                          \
    X(METRIC_SAMPLER_CPU_TIME, "sampler_cpu_time", "Sampler CPU time", "s", PerProcess, Static,              \
        "CPU time that the sampling thread of a process used")                                               \
    X(METRIC_SAMPLER_CPU_PERCENT, "sampler_cpu_percent", "Sampler CPU share", "%", PerProcess, Static,       \
        "The same in percent of the process's run time")                                                     \
    X(METRIC_PERF_CYCLES_PER_INS, "com.brivane.metrics.perf.cycles_per_instruction",                         \
        "Cycles per instruction", "", PerProcess, Gauge, "CPU cycles that an instruction took")

// Inline, so that tables in other files can be made from them before main() begins.
#define FERN_DECLARE_METRIC(constant, id, name, units, scope, kind, description)                             \
    inline const QString constant = QStringLiteral(id);
FERN_METRICS(FERN_DECLARE_METRIC)
#undef FERN_DECLARE_METRIC

#endif
