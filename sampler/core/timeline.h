#ifndef SAMPLER_CORE_TIMELINE_H
#define SAMPLER_CORE_TIMELINE_H

// The samples of a job, laid over the bins of its processes. The sampler lays them where the ranks of a job
// merge their profiles, the host where it reads their spools: by the same rules, so that both give the same.
//
// Processes are structures with firstBinNs, intervalNs, beginNs and endNs, all of them real times or widths
// in nanoseconds.

#include <cstdint>

namespace fern {

class Timeline {
public:
    static constexpr std::int64_t MaxSamples = 1000;

    Timeline() = default;
    // For a job that lived from `beginNs` to `endNs` and whose widest bins are `widthNs`, counted from an
    // epoch that its processes have in common. The samples are that wide, or wider by a power of two where
    // the job would otherwise have more than `maxSamples`, at least 2: one border can always lie within the
    // job.
    Timeline(std::int64_t epochNs, std::int64_t beginNs, std::int64_t endNs, std::int64_t widthNs,
        std::int64_t maxSamples)
        : mEpochNs(epochNs)
        , mBeginNs(beginNs)
        , mEndNs(endNs)
    {
        while ((endNs - beginNs) / widthNs > 2 * MaxSamples)
            widthNs *= 2; // keeps the count of samples within its type
        setWidth(widthNs);
        while (mNumSamples > maxSamples && mWidthNs <= endNs - beginNs)
            setWidth(mWidthNs * 2);
    }

    int numSamples() const { return mNumSamples; }
    std::int64_t epochNs() const { return mEpochNs; }
    std::int64_t beginNs() const { return mBeginNs; }
    std::int64_t endNs() const { return mEndNs; }
    std::int64_t widthNs() const { return mWidthNs; }
    std::int64_t borderNs(int sample) const { return mFirstBorderNs + sample * mWidthNs; }

    // The sample that a bin of a process belongs to.
    template <typename Process> int sampleOf(const Process &process, int bin) const
    {
        return numberOf(process.firstBinNs + bin * process.intervalNs);
    }
    // The sample that a moment belongs to: the first or the last where it lies outside.
    int numberOf(std::int64_t timeNs) const
    {
        const std::int64_t sample = floorDivide(timeNs - mFirstBorderNs, mWidthNs);
        const std::int64_t last = mNumSamples - 1;
        // cppcheck-suppress duplicateExpression; it takes the last sample for the first
        return static_cast<int>(sample < 0 ? 0 : sample > last ? last : sample);
    }
    // For how long a process lived in a sample.
    template <typename Process> std::int64_t livedNs(const Process &process, int sample) const
    {
        const std::int64_t from = process.beginNs > borderNs(sample) ? process.beginNs : borderNs(sample);
        const std::int64_t to = process.endNs < borderNs(sample + 1) ? process.endNs : borderNs(sample + 1);
        return to > from ? to - from : 0;
    }
    // Whether that is long enough to say how much of something was in a second. Over a sliver of time at
    // either end of a process it says nothing: what was counted late by a tick would make it leap.
    template <typename Process> bool isLongEnough(const Process &process, int sample) const
    {
        constexpr std::int64_t Slivers = 20;
        const std::int64_t wholeNs = process.endNs > process.beginNs ? process.endNs - process.beginNs : 1;
        const std::int64_t leastNs = process.intervalNs < wholeNs ? process.intervalNs : wholeNs;
        const std::int64_t ns = livedNs(process, sample);
        return ns > 0 && ns >= leastNs / Slivers;
    }

private:
    static std::int64_t floorDivide(std::int64_t dividend, std::int64_t divisor)
    {
        return dividend / divisor - (dividend % divisor < 0 ? 1 : 0);
    }
    void setWidth(std::int64_t widthNs)
    {
        mWidthNs = widthNs;
        const std::int64_t first = floorDivide(mBeginNs - mEpochNs, widthNs);
        const std::int64_t end = mEndNs - 1 > mBeginNs ? mEndNs - 1 : mBeginNs;
        const std::int64_t last = floorDivide(end - mEpochNs, widthNs);
        mFirstBorderNs = mEpochNs + first * widthNs;
        mNumSamples = static_cast<int>(last - first + 1);
    }

    std::int64_t mEpochNs = 0;
    std::int64_t mBeginNs = 0;
    std::int64_t mEndNs = 0;
    std::int64_t mWidthNs = 1;
    std::int64_t mFirstBorderNs = 0;
    int mNumSamples = 0;
};

} // namespace fern

#endif
