// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/list.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <stdlib.h>
#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// A record that may be in a list, in another list, and in a FIFO or LIFO, at the same time.
struct Record {
    int id = 0;
    xlist_link_s link = {nullptr, nullptr};
    Record* below = nullptr;
    struct {
        Record* previous = nullptr;
        Record* next = nullptr;
    } other;
};

constexpr size_t kLink = offsetof(Record, link);
constexpr size_t kOther = offsetof(Record, other);
constexpr size_t kBelow = offsetof(Record, below);

std::vector<int> idsOf(const xlist& list) {
    std::vector<int> forward;
    std::vector<int> backward;
    for (auto* r = static_cast<Record*>(list.head); r; r = static_cast<Record*>(r->link.next)) {
        forward.push_back(r->id);
    }
    for (auto* r = static_cast<Record*>(list.tail); r; r = static_cast<Record*>(r->link.previous)) {
        backward.push_back(r->id);
    }
    std::reverse(backward.begin(), backward.end());
    EXPECT_EQ(forward, backward);
    EXPECT_EQ(static_cast<int>(forward.size()), xlist_get_count(&list));
    return forward;
}

std::vector<int> idsFrom(const void* first) {
    std::vector<int> ids;
    for (auto* r = static_cast<const Record*>(first); r; r = r->below) {
        ids.push_back(r->id);
    }
    return ids;
}

class Lists : public testing::Test {
  protected:
    Lists() {
        for (int i = 0; i < 5; ++i) {
            r[i].id = i;
        }
    }
    void fill(int count) {
        for (int i = 0; i < count; ++i) {
            xlist_add_tail(&list, &r[i], kLink);
        }
    }

    Record r[5];
    xlist list = xlist_null;
};

using List = Lists;

TEST_F(List, InitMakesItEmpty) {
    fill(3);

    xlist_init(&list);

    EXPECT_EQ(nullptr, list.head);
    EXPECT_EQ(nullptr, list.tail);
    EXPECT_EQ(0, list.count);
}

TEST_F(List, InsertIntoAnEmptyListMakesHeadAndTail) {
    xlist_insert(&list, &r[0], nullptr, kLink);

    EXPECT_EQ(&r[0], list.head);
    EXPECT_EQ(&r[0], list.tail);
    EXPECT_EQ(1, xlist_get_count(&list));
    EXPECT_EQ(nullptr, r[0].link.previous);
    EXPECT_EQ(nullptr, r[0].link.next);
}

TEST_F(List, InsertPutsInFront) {
    fill(2);

    xlist_insert(&list, &r[2], &r[0], kLink);
    xlist_insert(&list, &r[3], &r[1], kLink);

    EXPECT_THAT(idsOf(list), ElementsAre(2, 0, 3, 1));
}

TEST_F(List, InsertBeforeNullAppendsAtTheTail) {
    fill(2);

    xlist_insert(&list, &r[2], nullptr, kLink);

    EXPECT_THAT(idsOf(list), ElementsAre(0, 1, 2));
}

TEST_F(List, AppendPutsBehind) {
    fill(2);

    xlist_append(&list, &r[2], &r[0], kLink);
    xlist_append(&list, &r[3], &r[1], kLink);

    EXPECT_THAT(idsOf(list), ElementsAre(0, 2, 1, 3));
}

TEST_F(List, AppendBehindNullMakesTheHead) {
    fill(2);

    xlist_append(&list, &r[2], nullptr, kLink);

    EXPECT_THAT(idsOf(list), ElementsAre(2, 0, 1));
}

TEST_F(List, AppendToAnEmptyListMakesHeadAndTail) {
    xlist_append(&list, &r[0], nullptr, kLink);

    EXPECT_THAT(idsOf(list), ElementsAre(0));
}

TEST_F(List, AddsAtBothEnds) {
    xlist_add_head(&list, &r[0], kLink);
    xlist_add_head(&list, &r[1], kLink);
    xlist_add_tail(&list, &r[2], kLink);

    EXPECT_THAT(idsOf(list), ElementsAre(1, 0, 2));
}

TEST_F(List, RemoveClearsTheLinks) {
    fill(3);

    xlist_remove(&list, &r[1], kLink);

    EXPECT_THAT(idsOf(list), ElementsAre(0, 2));
    EXPECT_EQ(nullptr, r[1].link.previous);
    EXPECT_EQ(nullptr, r[1].link.next);
}

TEST_F(List, RemoveAtTheEndsMovesHeadAndTail) {
    fill(3);

    xlist_remove(&list, &r[0], kLink);
    xlist_remove(&list, &r[2], kLink);
    EXPECT_THAT(idsOf(list), ElementsAre(1));
    xlist_remove(&list, &r[1], kLink);

    EXPECT_THAT(idsOf(list), IsEmpty());
    EXPECT_EQ(nullptr, list.tail);
}

TEST_F(List, RemoveHeadAndTailAnswerTheElement) {
    fill(3);

    EXPECT_EQ(&r[0], xlist_remove_head(&list, kLink));
    EXPECT_EQ(&r[2], xlist_remove_tail(&list, kLink));

    EXPECT_THAT(idsOf(list), ElementsAre(1));
}

TEST_F(List, RemoveHeadAndTailOfAnEmptyListAnswerNull) {
    EXPECT_EQ(nullptr, xlist_remove_head(&list, kLink));
    EXPECT_EQ(nullptr, xlist_remove_tail(&list, kLink));

    EXPECT_EQ(0, list.count);
    EXPECT_EQ(nullptr, list.head);
    EXPECT_EQ(nullptr, list.tail);
}

TEST_F(List, IndexCountsFromTheHead) {
    fill(3);

    EXPECT_EQ(0, xlist_get_index(&list, &r[0], kLink));
    EXPECT_EQ(2, xlist_get_index(&list, &r[2], kLink));
    EXPECT_EQ(-1, xlist_get_index(&list, &r[3], kLink));
    EXPECT_EQ(1, xlist_is_element(&list, &r[1], kLink));
    EXPECT_EQ(0, xlist_is_element(&list, &r[3], kLink));
    EXPECT_EQ(-1, xlist_get_index(&xlist_null, &r[0], kLink));
}

TEST_F(List, RecordsAreInSeveralListsThroughDifferentLinks) {
    xlist second = xlist_null;
    fill(3);
    for (const int i : {2, 1, 0}) {
        xlist_add_tail(&second, &r[i], kOther);
    }

    xlist_remove(&list, &r[1], kLink);

    EXPECT_THAT(idsOf(list), ElementsAre(0, 2));
    EXPECT_EQ(3, second.count);
    EXPECT_EQ(&r[1], r[2].other.next);
    EXPECT_EQ(1, xlist_get_index(&second, &r[1], kOther));
}

TEST(ListDeleteAll, FreesTheElementsAndEmptiesTheList) {
    xlist list = xlist_null;
    for (int i = 0; i < 3; ++i) {
        xlist_add_tail(&list, calloc(1, sizeof(Record)), kLink);
    }

    xlist_delete_all(&list, kLink);  // a leak checker would tell if one stayed

    EXPECT_EQ(nullptr, list.head);
    EXPECT_EQ(nullptr, list.tail);
    EXPECT_EQ(0, list.count);
}

TEST(ListRandom, BehavesLikeAVector) {
    const unsigned seed = std::random_device{}();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Record records[50];
    for (int i = 0; i < 50; ++i) {
        records[i].id = i;
    }
    xlist list = xlist_null;
    std::vector<int> model;

    for (int step = 0; step < 20000; ++step) {
        Record& r = records[random() % 50];
        const auto at = std::find(model.begin(), model.end(), r.id);
        ASSERT_EQ(at == model.end() ? -1 : at - model.begin(), xlist_get_index(&list, &r, kLink));
        if (at != model.end()) {
            model.erase(at);
            xlist_remove(&list, &r, kLink);
        } else if (model.empty() || random() % 4 == 0) {
            model.push_back(r.id);
            xlist_insert(&list, &r, nullptr, kLink);
        } else {
            const auto where = static_cast<long>(random() % model.size());
            Record& neighbour = records[model[static_cast<size_t>(where)]];
            const bool behind = random() % 2 == 0;
            model.insert(model.begin() + where + (behind ? 1 : 0), r.id);
            (behind ? xlist_append : xlist_insert)(&list, &r, &neighbour, kLink);
        }
        ASSERT_EQ(model, idsOf(list));
    }
}

// --- FIFO ---

class Fifo : public Lists {
  protected:
    void fillFifo(int count) {
        for (int i = 0; i < count; ++i) {
            xfifo_add(&fifo, &r[i], kBelow);
        }
    }
    xfifo fifo = xfifo_null;
};

TEST_F(Fifo, LeavesInTheOrderOfEntry) {
    fillFifo(3);

    EXPECT_EQ(&r[0], xfifo_remove(&fifo, kBelow));
    EXPECT_EQ(&r[1], xfifo_remove(&fifo, kBelow));
    EXPECT_EQ(&r[2], xfifo_remove(&fifo, kBelow));
    EXPECT_EQ(nullptr, xfifo_remove(&fifo, kBelow));
}

TEST_F(Fifo, AddingAnswersTheContainer) {
    EXPECT_EQ(&fifo, xfifo_add(&fifo, &r[0], kBelow));
}

TEST_F(Fifo, WithOneElementHasItAtBothEnds) {
    fillFifo(1);
    EXPECT_EQ(&r[0], fifo.head);
    EXPECT_EQ(&r[0], fifo.tail);

    EXPECT_EQ(&r[0], xfifo_remove(&fifo, kBelow));

    EXPECT_EQ(nullptr, fifo.head);
    EXPECT_EQ(nullptr, fifo.tail);
}

TEST_F(Fifo, RemovingTheOnlyElementClearsItsLink) {
    r[0].below = &r[4];
    xfifo_add(&fifo, &r[0], kBelow);

    EXPECT_EQ(&r[0], xfifo_remove(&fifo, kBelow));

    EXPECT_EQ(nullptr, r[0].below);
    EXPECT_EQ(nullptr, fifo.head);
}

TEST_F(Fifo, AddingLeavesTheElementsOwnLinkUntouched) {
    r[0].below = &r[4];
    r[1].below = &r[4];

    xfifo_add(&fifo, &r[0], kBelow);
    EXPECT_EQ(&r[4], r[0].below);
    xfifo_add(&fifo, &r[1], kBelow);

    EXPECT_EQ(&r[1], r[0].below);
    EXPECT_EQ(&r[4], r[1].below);
}

TEST_F(Fifo, RemovingClearsTheLink) {
    fillFifo(2);

    xfifo_remove(&fifo, kBelow);

    EXPECT_EQ(nullptr, r[0].below);
    EXPECT_THAT(idsFrom(fifo.head), ElementsAre(1));
}

TEST_F(Fifo, CountsAndFindsByWalking) {
    fillFifo(3);

    EXPECT_EQ(3, xfifo_get_count(&fifo, kBelow));
    EXPECT_EQ(0, xfifo_get_index(&fifo, &r[0], kBelow));
    EXPECT_EQ(2, xfifo_get_index(&fifo, &r[2], kBelow));
    EXPECT_EQ(-1, xfifo_get_index(&fifo, &r[3], kBelow));
    EXPECT_EQ(1, xfifo_is_element(&fifo, &r[1], kBelow));
    EXPECT_EQ(0, xfifo_is_element(&fifo, &r[3], kBelow));
    EXPECT_EQ(0, xfifo_get_count(&xfifo_null, kBelow));
}

TEST_F(Fifo, RemovingTheTailMakesItsPredecessorTheTail) {
    fillFifo(3);

    xfifo_remove_element(&fifo, &r[2], kBelow);

    EXPECT_EQ(&r[1], fifo.tail);
    EXPECT_EQ(nullptr, r[1].below);
    EXPECT_THAT(idsFrom(fifo.head), ElementsAre(0, 1));
}

TEST_F(Fifo, RemovesAnElementWhereverItIs) {
    fillFifo(4);

    xfifo_remove_element(&fifo, &r[1], kBelow);
    EXPECT_THAT(idsFrom(fifo.head), ElementsAre(0, 2, 3));
    EXPECT_EQ(nullptr, r[1].below);
    xfifo_remove_element(&fifo, &r[0], kBelow);

    EXPECT_THAT(idsFrom(fifo.head), ElementsAre(2, 3));
}

TEST_F(Fifo, RemovingTheOnlyElementEmptiesIt) {
    fillFifo(1);

    xfifo_remove_element(&fifo, &r[0], kBelow);

    EXPECT_EQ(nullptr, fifo.head);
    EXPECT_EQ(nullptr, fifo.tail);
}

TEST_F(Fifo, RemovingAnAbsentElementDoesNothing) {
    fillFifo(2);
    r[3].below = &r[4];

    xfifo_remove_element(&fifo, &r[3], kBelow);

    EXPECT_THAT(idsFrom(fifo.head), ElementsAre(0, 1));
    EXPECT_EQ(&r[4], r[3].below);
}

TEST(FifoDeleteAll, FreesTheElements) {
    xfifo fifo = xfifo_null;
    for (int i = 0; i < 3; ++i) {
        xfifo_add(&fifo, calloc(1, sizeof(Record)), kBelow);
    }

    xfifo_delete_all(&fifo, kBelow);

    EXPECT_EQ(nullptr, fifo.head);
    EXPECT_EQ(nullptr, fifo.tail);
}

// --- LIFO ---

class Lifo : public Lists {
  protected:
    void push(int count) {
        for (int i = 0; i < count; ++i) {
            xlifo_push(&lifo, &r[i], kBelow);
        }
    }
    xlifo lifo = xlifo_null;
};

TEST_F(Lifo, LeavesInTheReverseOrderOfEntry) {
    push(3);

    EXPECT_EQ(&r[2], xlifo_pull(&lifo, kBelow));
    EXPECT_EQ(&r[1], xlifo_pull(&lifo, kBelow));
    EXPECT_EQ(&r[0], xlifo_pull(&lifo, kBelow));
    EXPECT_EQ(nullptr, xlifo_pull(&lifo, kBelow));
}

TEST_F(Lifo, PushingAnswersTheContainer) {
    EXPECT_EQ(&lifo, xlifo_push(&lifo, &r[0], kBelow));
}

TEST_F(Lifo, PushingOnAnEmptyStackLeavesTheElementsLinkUntouched) {
    r[0].below = &r[4];

    xlifo_push(&lifo, &r[0], kBelow);

    EXPECT_EQ(&r[4], r[0].below);
}

TEST_F(Lifo, PullingClearsTheLink) {
    push(2);

    xlifo_pull(&lifo, kBelow);

    EXPECT_EQ(nullptr, r[1].below);
    EXPECT_EQ(&r[0], lifo.top);
}

TEST_F(Lifo, CountsAndFindsByWalkingFromTheTop) {
    push(3);

    EXPECT_EQ(3, xlifo_get_count(&lifo, kBelow));
    EXPECT_EQ(0, xlifo_get_index(&lifo, &r[2], kBelow));
    EXPECT_EQ(2, xlifo_get_index(&lifo, &r[0], kBelow));
    EXPECT_EQ(-1, xlifo_get_index(&lifo, &r[3], kBelow));
    EXPECT_EQ(1, xlifo_is_element(&lifo, &r[1], kBelow));
    EXPECT_EQ(0, xlifo_is_element(&lifo, &r[3], kBelow));
}

TEST(LifoDeleteAll, FreesTheElements) {
    xlifo lifo = xlifo_null;
    for (int i = 0; i < 3; ++i) {
        xlifo_push(&lifo, calloc(1, sizeof(Record)), kBelow);
    }

    xlifo_delete_all(&lifo, kBelow);

    EXPECT_EQ(nullptr, lifo.top);
}

// --- zol::CListElem ---

class Job : public zol::CListElem<Job> {
  public:
    explicit Job(int number) : id(number) {}
    virtual ~Job() = default;  // moves the links away from the beginning of the object
    int id;
};

TEST(ListElem, WalksAListOfObjects) {
    Job a(1);
    Job b(2);
    Job c(3);
    xlist jobs = xlist_null;

    Job::append(jobs, a);
    Job::append(jobs, b);
    Job::append(jobs, c);
    Job::remove(jobs, b);

    EXPECT_EQ(&a, Job::first(jobs));
    EXPECT_EQ(&c, a.next());
    EXPECT_EQ(nullptr, c.next());
    EXPECT_EQ(&a, c.previous());
    EXPECT_EQ(&c, Job::last(jobs));
    EXPECT_TRUE(Job::isIn(jobs, a));
    EXPECT_FALSE(Job::isIn(jobs, b));
    EXPECT_EQ(2, xlist_get_count(&jobs));
}

TEST(ListElem, OfAnEmptyListIsNull) {
    EXPECT_EQ(nullptr, Job::first(xlist_null));
    EXPECT_EQ(nullptr, Job::last(xlist_null));
}

TEST(ListElem, HoldsTwoLinks) {
    EXPECT_EQ(2 * sizeof(void*), sizeof(zol::CListElem<int>));
}

}  // namespace
