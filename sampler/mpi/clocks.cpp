#include "mpi/clocks.h"

#include "core/sampler.h"

namespace fern::mpi {

namespace {

constexpr int Rounds = 16;
constexpr std::int64_t Unknown = std::int64_t(1) << 62;

// They outlive a message that doesn't come in time.
std::int64_t question;
std::int64_t answer;
std::int64_t known;

bool answerQuestions(const Communicator &leaders, int rank, std::int64_t offset, Patience patience)
{
    for (int round = 0; round < Rounds; ++round) {
        if (!receive(leaders, rank, &question, sizeof(question), patience, true))
            return false;
        answer = offset == Unknown ? Unknown : static_cast<std::int64_t>(sampler::timeNs()) + offset;
        if (!send(leaders, rank, &answer, sizeof(answer), patience, true))
            return false;
    }
    return true;
}

std::int64_t ask(const Communicator &leaders, int rank, Patience patience)
{
    std::int64_t offset = Unknown;
    std::int64_t quickest = Unknown;
    for (int round = 0; round < Rounds; ++round) {
        question = round;
        const auto before = static_cast<std::int64_t>(sampler::timeNs());
        if (!send(leaders, rank, &question, sizeof(question), patience, true)
            || !receive(leaders, rank, &answer, sizeof(answer), patience, true) || answer == Unknown)
            return Unknown;
        const std::int64_t passed = static_cast<std::int64_t>(sampler::timeNs()) - before;
        if (passed < quickest) {
            quickest = passed;
            offset = answer - before - passed / 2;
        }
    }
    return offset;
}

// Rank 0 of the leaders has the clock; each answers those to whom it is the nearest on the way there.
std::int64_t offsetOf(const Communicator &leaders, Patience patience)
{
    const int rank = leaders.rank;
    const int lowest = rank & -rank;
    std::int64_t offset = rank == 0 ? 0 : ask(leaders, rank - lowest, patience);
    int distance = 1;
    while (distance < leaders.size)
        distance *= 2;
    for (distance = rank == 0 ? distance : lowest / 2; distance > 0; distance /= 2) {
        if (rank + distance < leaders.size && !answerQuestions(leaders, rank + distance, offset, patience))
            offset = Unknown;
    }
    return offset;
}

} // namespace

ClockOffset findClockOffset(const Communicator &node, const Communicator &leaders, Patience patience)
{
    known = node.rank == 0 ? offsetOf(leaders, patience) : Unknown;
    const bool isKnown = (node.size == 1 || spread(node, &known, patience)) && known != Unknown;
    return {isKnown, isKnown ? known : 0};
}

} // namespace fern::mpi
