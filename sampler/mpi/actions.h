#ifndef SAMPLER_MPI_ACTIONS_H
#define SAMPLER_MPI_ACTIONS_H

// What happens around a call besides saying what the thread does: the last column of mpicalls.table. Each
// action has a before(), which may exchange arguments, and an after() for calls that succeeded. The request
// or status of those that count is the last argument of the C binding (number `Last`).

#include "mpi/account.h"
#include "mpi/payload.h"
#include "mpi/requests.h"
#include "mpi/scratch.h"

namespace fern::mpi::action {

// Nothing more.
struct None {
    template <class A> void before(A &) { }
    template <class A> void after(const A &, const Account &) { }
};

// All bytes count at once.
template <class Rule, int Last> struct OnCall : None {
    template <class A> void after(const A &a, const Account &account)
    {
        const payload::Payload payload = Rule::of(a);
        account.add(payload.moved + payload.room);
    }
};

// What was received stands in the status. If the program doesn't want to know, we do.
template <class Rule, int Last> struct OnStatus {
    template <class A> void before(A &a)
    {
        if (a.isStatusIgnored(Last))
            a.setStatus(Last, status);
    }
    template <class A> void after(const A &a, const Account &account)
    {
        const payload::Payload payload = Rule::of(a);
        account.add(payload.moved + (payload.room != 0 ? receivedBytes(a.status(Last), payload.room) : 0));
    }
    alignas(16) unsigned char status[MostOfAStatus];
};

// What is received turns out when the request completes. Where there is no more room to keep that in mind, a
// receive counts as long as its buffer.
template <class Rule, int Last> struct OnRequest : None {
    template <class A> void after(const A &a, const Account &account)
    {
        const payload::Payload payload = Rule::of(a);
        account.add(payload.moved);
        const Word key = a.requestKey(a.requests(Last));
        if (payload.room == 0)
            Request::forget(key);
        else if (!Request::note(key, RequestKind::Receive, payload.room))
            account.add(payload.room);
    }
};

// Each start counts, of receives each completion.
template <class Rule, int Last> struct OnStarts : None {
    template <class A> void after(const A &a, const Account &account)
    {
        const payload::Payload payload = Rule::of(a);
        const Word key = a.requestKey(a.requests(Last));
        if (payload.room != 0)
            Request::note(key, RequestKind::PersistentReceive, payload.room);
        else if (payload.moved != 0 && account.category() == spool::MpiCollective)
            Request::note(key, RequestKind::PersistentCollective, payload.moved);
        else if (payload.moved != 0)
            Request::note(key, RequestKind::PersistentPointToPoint, payload.moved);
        else
            Request::forget(key);
    }
};

inline void countStart(Word key, const Account &account)
{
    const Request request = Request::find(key);
    if (!request)
        return;
    if (request.kind() == RequestKind::PersistentPointToPoint)
        account.add(request.bytes(), spool::MpiPointToPoint);
    else if (request.kind() == RequestKind::PersistentCollective)
        account.add(request.bytes(), spool::MpiCollective);
}

struct Start : None {
    template <class A> void after(const A &a, const Account &account)
    {
        countStart(a.requestKey(a.requests(0)), account);
    }
};

// number, requests
struct Startall : None {
    template <class A> void after(const A &a, const Account &account)
    {
        const int number = a.number(0);
        for (int i = 0; i < number; ++i)
            countStart(a.requestKey(a.requests(1) + static_cast<std::size_t>(i) * a.requestSize()), account);
    }
};

// The end of one operation, told from its status.
inline void complete(Word key, const unsigned char *status, const Account &account)
{
    const Request request = Request::find(key);
    if (!request)
        return;
    const bool isOnce = request.kind() == RequestKind::Receive;
    if (!isOnce && request.kind() != RequestKind::PersistentReceive)
        return;
    if (!request.isGivenUp() || !isCancelled(status))
        account.add(receivedBytes(status, request.bytes()));
    if (isOnce)
        request.forget();
    else
        request.setGivenUp(false);
}

struct Cancel : None {
    template <class A> void after(const A &a, const Account &)
    {
        if (const Request request = Request::find(a.requestKey(a.requests(0))))
            request.setGivenUp(true);
    }
};

// A key that no request has.
constexpr Word NoRequest = -1;

// A call that may complete one request, and takes its handle away then.
template <int Status> struct OnOne {
    template <class A> void before(A &a)
    {
        key = a.requests(0) != nullptr ? a.requestKey(a.requests(0)) : NoRequest;
        if (a.isStatusIgnored(Status))
            a.setStatus(Status, status);
    }
    Word key;
    alignas(16) unsigned char status[MostOfAStatus];
};

// request, status
struct Wait : OnOne<1> {
    template <class A> void after(const A &a, const Account &account) { complete(key, a.status(1), account); }
};

// request, flag, status
struct Test : OnOne<2> {
    template <class A> void after(const A &a, const Account &account)
    {
        if (a.isTrue(1))
            complete(key, a.status(2), account);
    }
};

// A call that may complete some of many requests, and takes their handles away then.
class OnMany {
protected:
    // Keeps the handles, and gives the call statuses of ours if it has none: one or as many as requests.
    template <class A> void keep(A &a, int requests, int status, bool hasManyStatuses)
    {
        const int number = a.number(0);
        if (number <= 0 || a.requests(requests) == nullptr)
            return;
        const bool isIgnored = hasManyStatuses ? a.areStatusesIgnored(status) : a.isStatusIgnored(status);
        const std::size_t size = static_cast<std::size_t>(number) * a.requestSize();
        const std::size_t room
            = hasManyStatuses ? static_cast<std::size_t>(number) * statusSize() : MostOfAStatus;
        const std::size_t start = (size + 15) & ~static_cast<std::size_t>(15);
        mNow = a.requests(requests);
        mRequests = mScratch.take(isIgnored ? start + room : size);
        if (mRequests == nullptr)
            return;
        __builtin_memcpy(mRequests, a.requests(requests), size);
        if (isIgnored)
            a.setStatus(status, mRequests + start);
    }
    bool hasKept() const { return mRequests != nullptr; }
    // The first index of those that a call gave.
    template <class A> int firstIndex(const A &a, int indices, int number) const
    {
        if (!a.isFirstIndexUnsure())
            return A::FirstIndex;
        for (int i = 0; i < number; ++i) {
            if (!mayBeCompleted(a, a.index(indices, i, A::FirstIndex)))
                return 0;
        }
        return A::FirstIndex;
    }
    template <class A>
    void completeOne(const A &a, int index, const unsigned char *status, const Account &account)
    {
        complete(
            a.requestKey(mRequests + static_cast<std::size_t>(index) * a.requestSize()), status, account);
    }
    template <class A> void completeAll(const A &a, int status, const Account &account)
    {
        const int number = a.number(0);
        for (int i = 0; hasKept() && i < number; ++i)
            completeOne(a, i, a.status(status) + static_cast<std::size_t>(i) * statusSize(), account);
    }

private:
    // Its handle is gone, or it is one of those that keep it.
    template <class A> bool mayBeCompleted(const A &a, int index) const
    {
        if (index < 0 || index >= a.number(0))
            return false;
        const std::size_t place = static_cast<std::size_t>(index) * a.requestSize();
        const Word key = a.requestKey(mRequests + place);
        if (key != a.requestKey(mNow + place))
            return true;
        const Request request = Request::find(key);
        return request && request.kind() != RequestKind::Receive;
    }

    const unsigned char *mNow = nullptr;
    unsigned char *mRequests = nullptr;
    Scratch mScratch;
};

// number, requests, statuses
struct Waitall : OnMany {
    template <class A> void before(A &a) { keep(a, 1, 2, true); }
    template <class A> void after(const A &a, const Account &account) { completeAll(a, 2, account); }
};

// number, requests, flag, statuses
struct Testall : OnMany {
    template <class A> void before(A &a) { keep(a, 1, 3, true); }
    template <class A> void after(const A &a, const Account &account)
    {
        if (a.isTrue(2))
            completeAll(a, 3, account);
    }
};

// number, requests, index, status
struct Waitany : OnMany {
    template <class A> void before(A &a) { keep(a, 1, 3, false); }
    template <class A> void after(const A &a, const Account &account)
    {
        if (!hasKept())
            return;
        const int index = a.index(2, 0, firstIndex(a, 2, 1));
        if (index >= 0)
            completeOne(a, index, a.status(3), account);
    }
};

// number, requests, index, flag, status
struct Testany : OnMany {
    template <class A> void before(A &a) { keep(a, 1, 4, false); }
    template <class A> void after(const A &a, const Account &account)
    {
        if (!hasKept() || !a.isTrue(3))
            return;
        const int index = a.index(2, 0, firstIndex(a, 2, 1));
        if (index >= 0)
            completeOne(a, index, a.status(4), account);
    }
};

// number, requests, number of the completed, their indices, their statuses
struct Waitsome : OnMany {
    template <class A> void before(A &a) { keep(a, 1, 4, true); }
    template <class A> void after(const A &a, const Account &account)
    {
        if (!hasKept())
            return;
        const int completed = a.given(2);
        const int first = firstIndex(a, 3, completed);
        for (int i = 0; i < completed; ++i)
            completeOne(
                a, a.index(3, i, first), a.status(4) + static_cast<std::size_t>(i) * statusSize(), account);
    }
};

using Testsome = Waitsome;

// A receive whose end nobody will hear of counts as long as its buffer.
struct RequestFree {
    template <class A> void before(A &a)
    {
        key = a.requests(0) != nullptr ? a.requestKey(a.requests(0)) : NoRequest;
    }
    template <class A> void after(const A &, const Account &account)
    {
        const Request request = Request::find(key);
        if (!request)
            return;
        if (request.kind() == RequestKind::Receive)
            account.add(request.bytes());
        request.forget();
    }
    Word key;
};

} // namespace fern::mpi::action

#endif
