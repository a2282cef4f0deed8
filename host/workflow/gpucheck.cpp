#include "workflow/gpucheck.h"

#include "profile/metricreasons.h"
#include "profile/metrictable.h"
#include "workflow/jobenvironment.h"

#include <QFile>
#include <QProcess>

using namespace fern::spool;

namespace {

constexpr int PatienceMs = 30000; // the program itself has less

// Sources in the order in which the program prints what became of them.
constexpr SourceId Sources[] = {SourceGpus, SourceGpuUsage, SourceGpuMemory, SourceGpuPower};

bool hasDevice()
{
    return QFile::exists(QStringLiteral("/dev/nvidiactl")) || QFile::exists(QStringLiteral("/dev/dxg"))
        || qEnvironmentVariableIsSet("QUILLON_SAMPLER_NVML");
}

QList<QByteArray> ask(const QByteArray &program)
{
    QProcess process;
    process.start(QFile::decodeName(program), {QStringLiteral("--check")}, QIODevice::ReadOnly);
    if (program.isEmpty() || !process.waitForFinished(PatienceMs)) {
        process.kill();
        process.waitForFinished();
        return {};
    }
    return process.readAllStandardOutput().simplified().split(' ');
}

} // namespace

GpuCheck::GpuCheck()
{
    const QList<QByteArray> answers = hasDevice() ? ask(gpuReaderPath()) : QList<QByteArray>();
    int index = 0;
    for (const SourceId source : Sources) {
        const quint32 otherwise = hasDevice() ? SourceUnknown : SourceAbsent;
        mStates.insert(source, index < answers.size() ? answers.at(index).toUInt() : otherwise);
        ++index;
    }
}

QString GpuCheck::whyNot(const QString &metric) const
{
    const quint32 state = mStates.value(MetricTable::sourceOf(metric).id, SourceRead);
    return state != SourceRead ? MetricReasons::ofState(metric, state) : QString();
}
