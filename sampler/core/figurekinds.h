#ifndef SAMPLER_CORE_FIGUREKINDS_H
#define SAMPLER_CORE_FIGUREKINDS_H

#include "spoolformat.h" // beside this file, for whoever includes it

namespace fern::spool {

// How the readings of a figure become a metric: what the host's table of metrics says of it
// (host/profile/metricids.h), for ranks that merge their profiles before the host sees them. A test compares
// the two.
enum class FigureKind {
    Gauge, // a level
    Rate, // something per time
    Total, // counts up over the run
    Ratio, // of the counts of two figures, of which this is the first: cycles per instruction
    NodeGauge, // a level of the node, read by each of its processes
    MadeByHost // not read: the host makes it of something else
};

constexpr FigureKind kindOf(FigureId figure)
{
    if (figure >= FigureSiteEvent && figure < FigureSiteEventEnd)
        return FigureKind::Rate;
    switch (figure) { // without a default, so that the compiler asks for new ones
    case FigureRss:
        return FigureKind::Gauge;
    case FigureNodeMemoryUsedPercent:
    case FigureLoadAveragePercent:
    case FigureCpuPower:
    case FigureSystemPower:
    case FigureLustreRead:
    case FigureLustreWritten:
        return FigureKind::NodeGauge;
    case FigureBytesRead:
    case FigureBytesWritten:
        return FigureKind::Total;
    case FigureMpiCollectiveBytes:
    case FigureMpiPointToPointBytes:
    case FigureCpuTime:
        return FigureKind::Rate;
    case FigureCycles:
        return FigureKind::Ratio;
    case FigureGpuUsage: // read by a process of their own
    case FigureGpuMemoryAccess:
    case FigureGpuMemoryUsed:
    case FigureGpuPower:
    case FigureInstructions:
    case FigureSiteEvent:
    case FigureInstrVectorFp:
    case FigureInstrVectorInt:
    case FigureInstrFp:
    case FigureInstrInt:
    case FigureInstrMemory:
    case FigureCount:
        return FigureKind::MadeByHost;
    }
    return FigureKind::MadeByHost;
}

// What a rate's count in a nanosecond stands for: bytes are told by the second, CPU time by the CPU time
// that could have passed.
constexpr double perSecond(FigureId figure)
{
    return figure == FigureCpuTime ? 1.0 : 1e9;
}

// Node figures whose integral over the time is a metric, too, and its place among these; -1 for others.
constexpr int IntegralCount = 4;
constexpr int integralOf(FigureId figure)
{
    return figure == FigureCpuPower     ? 0
        : figure == FigureSystemPower   ? 1
        : figure == FigureLustreRead    ? 2
        : figure == FigureLustreWritten ? 3
                                        : -1;
}

// Whether the integral is divided among the node's processes.
constexpr bool isDivided(int integral)
{
    return integral >= 2;
}

} // namespace fern::spool

#endif
