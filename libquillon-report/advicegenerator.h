#ifndef QUILLON_REPORT_ADVICEGENERATOR_H
#define QUILLON_REPORT_ADVICEGENERATOR_H

#include "performancedata.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace quillon::report {

// An ordered list of rules, each a sentence and what must hold of a job's figures for it to be said. Unlike
// the tables of performanceadvice, which choose one or two sentences, every rule that holds has its say.
class AdviceGenerator {
public:
    // A rule.
    class Advice {
    public:
        explicit Advice(const QString &advice)
            : mAdvice(advice)
        {
        }
        virtual ~Advice() = default;
        virtual bool operator()(const PerformanceData &data) const = 0;

        QString advice() const { return mAdvice; }

    private:
        QString mAdvice;
    };

    // A rule whose condition is a function or a functor, of which it keeps a copy.
    template <class Func> class AdviceWrapper : public Advice {
    public:
        AdviceWrapper(const QString &advice, Func fn)
            : Advice(advice)
            , mFn(fn)
        {
        }
        bool operator()(const PerformanceData &data) const override { return mFn(data); }

    private:
        Func mFn;
    };

    AdviceGenerator() = default;
    ~AdviceGenerator();

    template <class Func> void addAdvice(const QString &advice, Func fn)
    {
        mAdvice.append(new AdviceWrapper<Func>(advice, fn));
    }

    // The sentences of all rules that hold, in the order in which the rules were added.
    QStringList adviceStrings(const PerformanceData &data) const;

private:
    Q_DISABLE_COPY(AdviceGenerator)

    QList<Advice *> mAdvice;
};

// The figures that rules on threads look at: those of threads outside OpenMP, or those of OpenMP's.
class ThreadMetrics {
public:
    virtual double compute(const PerformanceData &data) const;
    virtual double overhead(const PerformanceData &data) const;
    virtual double physicalCoreUtilization(const PerformanceData &data) const;
    virtual ~ThreadMetrics() = default;
};

class OpenMpMetrics final : public ThreadMetrics {
public:
    double compute(const PerformanceData &data) const override;
    double overhead(const PerformanceData &data) const override;
    double physicalCoreUtilization(const PerformanceData &data) const override;
};

// Conditions. Figures that couldn't be measured are NaNs, for which every comparison is false.

// Power. The budget is that of all nodes, while the peak is one node's.
bool peakPowerWouldExceedBudget(const PerformanceData &data);
// The next two trust a sensor of the whole system only from a minute on.
bool meanPowerIsLow(const PerformanceData &data);
bool powerIsConsistent(const PerformanceData &data);

bool acceleratorsAreUnused(const PerformanceData &data);
bool acceleratorUsageIsLow(const PerformanceData &data);
bool lowMemoryAndHighMpi(const PerformanceData &data);

// Computation. What is dominant isn't high as well.
bool waitingForAcceleratorsIsDominant(const PerformanceData &data);
bool waitingForAcceleratorsIsHigh(const PerformanceData &data);
bool serialCodeIsDominant(const PerformanceData &data);
bool serialCodeIsHigh(const PerformanceData &data);
bool vectorInstructionsAreUnused(const PerformanceData &data);
bool vectorInstructionUsageIsLow(const PerformanceData &data);
bool memoryInstructionsAreDominant(const PerformanceData &data);
bool memoryInstructionsAreHigh(const PerformanceData &data);

// Transfers. Their time is significant only if a core draws less power in it than in computing, where that
// can be told. One of the three holds of MPI, and one of I/O.
bool mpiTimeIsSignificant(const PerformanceData &data);
bool noMpiTime(const PerformanceData &data);
bool mpiTimeIsInsignificant(const PerformanceData &data);
bool ioTimeIsSignificant(const PerformanceData &data);
bool noIoTime(const PerformanceData &data);
bool ioTimeIsInsignificant(const PerformanceData &data);
bool p2pRateIsLow(const PerformanceData &data);
bool collectiveRateIsLow(const PerformanceData &data);
bool readRateIsLow(const PerformanceData &data);
bool writeRateIsLow(const PerformanceData &data);

class EnergyBasisIs {
public:
    explicit EnergyBasisIs(TotalEnergyBasis value)
        : mValue(value)
    {
    }
    bool operator()(const PerformanceData &data) const;

private:
    TotalEnergyBasis mValue;
};

// What the conditions on threads have in common: the figures that they look at, which outlive them.
class ThreadCondition {
public:
    explicit ThreadCondition(const ThreadMetrics *metrics)
        : mMetrics(metrics)
    {
    }

protected:
    // Cores were left idle beyond what the overhead of threads explains.
    bool utilizationIsLow(const PerformanceData &data) const;

    const ThreadMetrics *mMetrics;
};

class OverheadIsHigh : ThreadCondition {
public:
    using ThreadCondition::ThreadCondition;
    bool operator()(const PerformanceData &data) const;
};

class BadThreadAffinity : ThreadCondition {
public:
    using ThreadCondition::ThreadCondition;
    bool operator()(const PerformanceData &data) const;
};

// Of the next two neither holds where threads take exactly a twentieth of a percent of the time.
class PhysicalCoreUtilisationIsLowAndMultiCore : ThreadCondition {
public:
    using ThreadCondition::ThreadCondition;
    bool operator()(const PerformanceData &data) const;
};

class PhysicalCoreUtilisationIsLowAndSingleCore : ThreadCondition {
public:
    using ThreadCondition::ThreadCondition;
    bool operator()(const PerformanceData &data) const;
};

} // namespace quillon::report

#endif
