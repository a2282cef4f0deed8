// The table of MPI requests that are still to be counted.

#include "mpi/requests.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

using fern::Word;
using fern::mpi::Request;
using fern::mpi::RequestKind;

namespace {

// Like handles of a library that allocates them one behind another.
Word keyOf(int i)
{
    return 0x55550000 + 0x1c0 * static_cast<Word>(i);
}

} // namespace

TEST(MpiRequests, AreFoundUntilTheyAreForgotten)
{
    EXPECT_FALSE(Request::find(keyOf(1)));
    ASSERT_TRUE(Request::note(keyOf(1), RequestKind::Receive, 800));
    const Request request = Request::find(keyOf(1));
    ASSERT_TRUE(request);
    EXPECT_EQ(request.kind(), RequestKind::Receive);
    EXPECT_EQ(request.bytes(), 800U);
    EXPECT_FALSE(request.isGivenUp());
    Request::forget(keyOf(1));
    EXPECT_FALSE(Request::find(keyOf(1)));
    Request::forget(keyOf(1));
}

TEST(MpiRequests, AreReplacedByThoseWithTheSameHandle)
{
    ASSERT_TRUE(Request::note(keyOf(2), RequestKind::Receive, 8));
    Request::find(keyOf(2)).setGivenUp(true);
    EXPECT_TRUE(Request::find(keyOf(2)).isGivenUp());
    EXPECT_EQ(Request::find(keyOf(2)).bytes(), 8U);
    ASSERT_TRUE(Request::note(keyOf(2), RequestKind::PersistentCollective, std::uint64_t{1} << 50));
    EXPECT_FALSE(Request::find(keyOf(2)).isGivenUp());
    EXPECT_EQ(Request::find(keyOf(2)).kind(), RequestKind::PersistentCollective);
    EXPECT_EQ(Request::find(keyOf(2)).bytes(), std::uint64_t{1} << 50);
    Request::forget(keyOf(2));
    EXPECT_FALSE(Request::find(keyOf(2)));
}

TEST(MpiRequests, ThatFindNoPlaceAreRefusedAndTheOthersKept)
{
    constexpr int Number = 20000; // more than there are places
    std::vector<bool> isNoted(Number);
    int noted = 0;
    for (int i = 0; i < Number; ++i) {
        isNoted[static_cast<std::size_t>(i)]
            = Request::note(keyOf(i), RequestKind::Receive, static_cast<std::uint64_t>(i));
        noted += isNoted[static_cast<std::size_t>(i)] ? 1 : 0;
    }
    EXPECT_GT(noted, 4000);
    EXPECT_LE(noted, 8192);
    for (int i = 0; i < Number; ++i) {
        const Request request = Request::find(keyOf(i));
        ASSERT_EQ(static_cast<bool>(request), isNoted[static_cast<std::size_t>(i)]);
        if (request) {
            EXPECT_EQ(request.bytes(), static_cast<std::uint64_t>(i));
        }
        Request::forget(keyOf(i));
    }
}

TEST(MpiRequests, OfSeveralThreadsDontMix)
{
    std::atomic<int> wrong{0};
    constexpr int Number = 4;
    std::vector<std::thread> threads;
    threads.reserve(Number);
    for (int thread = 0; thread < Number; ++thread) {
        threads.emplace_back([thread, &wrong] {
            for (int i = 0; i < 100000; ++i) {
                const Word key = keyOf(Number * (i % 50) + thread);
                const auto bytes = static_cast<std::uint64_t>(i);
                if (!Request::note(key, RequestKind::Receive, bytes))
                    continue;
                const Request request = Request::find(key);
                wrong += !request || request.bytes() != bytes ? 1 : 0;
                Request::forget(key);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}
