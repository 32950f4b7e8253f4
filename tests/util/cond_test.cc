// SPDX-FileCopyrightText: 2026 the libzol authors
// SPDX-License-Identifier: MIT
#include "zol/cond.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <string>
#include <vector>

namespace {

// What leaves did, in order: "a?" was checked, "a!" was cleaned.
std::string story;
std::vector<void*> arguments;

struct Leaf {
    xcond cond;
    char name;
    int answer;
};

int checkLeaf(const xcond* condition, void* argument) {
    const auto* const leaf = reinterpret_cast<const Leaf*>(condition);
    story += {leaf->name, '?'};
    arguments.push_back(argument);
    return leaf->answer;
}

void cleanLeaf(xcond* condition) {
    story += {reinterpret_cast<Leaf*>(condition)->name, '!'};
}

Leaf makeLeaf(char name, int answer) {
    return {{checkLeaf, cleanLeaf}, name, answer};
}

class Condition : public ::testing::Test {
  protected:
    Condition() {
        story.clear();
        arguments.clear();
    }

    static int check(const xcond& condition, void* argument = nullptr) {
        return condition.check(&condition, argument);
    }

    Leaf no = makeLeaf('n', 0);
    Leaf yes = makeLeaf('y', 1);
    Leaf five = makeLeaf('5', 5);
    Leaf minus = makeLeaf('m', -1);
    Leaf last = makeLeaf('l', 1);
    Leaf mute = {{nullptr, cleanLeaf}, 'x', 0};
    Leaf tidy = {{checkLeaf, nullptr}, 't', 1};
};

class NotCondition : public Condition {};
class AndCondition : public Condition {};
class OrCondition : public Condition {};
class CleanCondition : public Condition {};

template <class... Leaves>
std::vector<xcond*> childrenOf(Leaves&... leaves) {
    return {&leaves.cond..., nullptr};
}

// --- NOT ---

TEST_F(NotCondition, HoldsWhenTheChildDoesNot) {
    const xnotcond condition = {xnotcond_def, &no.cond};

    EXPECT_EQ(1, check(condition.cond));
}

TEST_F(NotCondition, DoesNotHoldWhenTheChildAnswersAnythingElse) {
    for (Leaf* const leaf : {&yes, &five, &minus}) {
        const xnotcond condition = {xnotcond_def, &leaf->cond};
        EXPECT_EQ(0, check(condition.cond));
    }
    EXPECT_EQ("y?5?m?", story);
}

TEST_F(NotCondition, DoesNotHoldOverAChildWithoutACheck) {
    const xnotcond condition = {xnotcond_def, &mute.cond};

    EXPECT_EQ(0, check(condition.cond));
}

TEST_F(NotCondition, WithoutAChildIsLikeOneOverAChildWithoutACheck) {
    xnotcond condition = {xnotcond_def, nullptr};

    EXPECT_EQ(0, check(condition.cond));
    condition.cond.clean(&condition.cond);
}

// --- AND ---

TEST_F(AndCondition, OverAnEmptyArrayIsTrue) {
    auto children = childrenOf<>();
    const xmulticond condition = {xandcond_def, children.data()};

    EXPECT_EQ(1, check(condition.cond));
}

TEST_F(AndCondition, WithoutAnArrayIsTrue) {
    const xmulticond condition = {xandcond_def, nullptr};

    EXPECT_EQ(1, check(condition.cond));
}

TEST_F(AndCondition, AsksAllChildrenInOrderWhileTheyHold) {
    auto children = childrenOf(yes, five, last);
    const xmulticond condition = {xandcond_def, children.data()};

    EXPECT_EQ(1, check(condition.cond));
    EXPECT_EQ("y?5?l?", story);
}

TEST_F(AndCondition, EndsWithTheFirstChildThatDoesNotHold) {
    auto children = childrenOf(yes, no, last);
    const xmulticond condition = {xandcond_def, children.data()};

    EXPECT_EQ(0, check(condition.cond));
    EXPECT_EQ("y?n?", story);
}

TEST_F(AndCondition, AnswersOneNotTheLastAnswer) {
    auto children = childrenOf(yes, five);
    const xmulticond condition = {xandcond_def, children.data()};

    EXPECT_EQ(1, check(condition.cond));
}

TEST_F(AndCondition, TakesANegativeAnswerForTrue) {
    auto children = childrenOf(minus, yes);
    const xmulticond condition = {xandcond_def, children.data()};

    EXPECT_EQ(1, check(condition.cond));
    EXPECT_EQ("m?y?", story);
}

TEST_F(AndCondition, SkipsAChildWithoutACheck) {
    auto children = childrenOf(mute, yes);
    const xmulticond condition = {xandcond_def, children.data()};
    auto withNo = childrenOf(mute, no);
    const xmulticond refusing = {xandcond_def, withNo.data()};

    EXPECT_EQ(1, check(condition.cond));
    EXPECT_EQ(0, check(refusing.cond));
    EXPECT_EQ("y?n?", story);
}

TEST_F(AndCondition, OverChildrenWithoutChecksIsTrue) {
    auto children = childrenOf(mute, mute);
    const xmulticond condition = {xandcond_def, children.data()};

    EXPECT_EQ(1, check(condition.cond));
}

// --- OR ---

TEST_F(OrCondition, OverAnEmptyArrayIsFalse) {
    auto children = childrenOf<>();
    const xmulticond condition = {xorcond_def, children.data()};

    EXPECT_EQ(0, check(condition.cond));
}

TEST_F(OrCondition, WithoutAnArrayIsFalse) {
    const xmulticond condition = {xorcond_def, nullptr};

    EXPECT_EQ(0, check(condition.cond));
}

TEST_F(OrCondition, EndsWithTheFirstChildThatHolds) {
    auto children = childrenOf(no, five, last);
    const xmulticond condition = {xorcond_def, children.data()};

    EXPECT_EQ(1, check(condition.cond));
    EXPECT_EQ("n?5?", story);
}

TEST_F(OrCondition, TakesANegativeAnswerForTrue) {
    auto children = childrenOf(minus);
    const xmulticond condition = {xorcond_def, children.data()};

    EXPECT_EQ(1, check(condition.cond));
}

TEST_F(OrCondition, IsFalseWhenNoChildHolds) {
    auto children = childrenOf(no, no, no);
    const xmulticond condition = {xorcond_def, children.data()};

    EXPECT_EQ(0, check(condition.cond));
    EXPECT_EQ("n?n?n?", story);
}

TEST_F(OrCondition, AChildWithoutACheckIsTrue) {
    auto children = childrenOf(no, mute, last);
    const xmulticond condition = {xorcond_def, children.data()};

    EXPECT_EQ(1, check(condition.cond));
    EXPECT_EQ("n?", story);
}

// --- trees ---

TEST_F(Condition, HandsItsArgumentToEveryChildAsItIs) {
    auto inner = childrenOf(no, yes);
    xmulticond either = {xorcond_def, inner.data()};
    xnotcond neither = {xnotcond_def, &no.cond};
    std::vector<xcond*> outer = {&either.cond, &neither.cond, &five.cond, nullptr};
    const xmulticond all = {xandcond_def, outer.data()};
    int world = 0;

    EXPECT_EQ(1, check(all.cond, &world));

    EXPECT_EQ("n?y?n?5?", story);
    EXPECT_EQ(std::vector<void*>(4, &world), arguments);
}

TEST_F(Condition, KindsDifferInTheirOperationsAlone) {
    EXPECT_EQ(xnotcond_check, xnotcond_def.check);
    EXPECT_EQ(xnotcond_clean, xnotcond_def.clean);
    EXPECT_EQ(xnotcond_check, xnotcond_dyndef.check);
    EXPECT_EQ(xnotcond_dynclean, xnotcond_dyndef.clean);
    EXPECT_EQ(xandcond_check, xandcond_def.check);
    EXPECT_EQ(xmulticond_clean, xandcond_def.clean);
    EXPECT_EQ(xandcond_check, xandcond_dyndef.check);
    EXPECT_EQ(xmulticond_dynclean, xandcond_dyndef.clean);
    EXPECT_EQ(xorcond_check, xorcond_def.check);
    EXPECT_EQ(xmulticond_clean, xorcond_def.clean);
    EXPECT_EQ(xorcond_check, xorcond_dyndef.check);
    EXPECT_EQ(xmulticond_dynclean, xorcond_dyndef.clean);
}

// --- cleaning ---

// A condition on the heap. What is not given back is found by the leak checkers.
template <class Record>
Record* onHeap(const Record& record) {
    auto* const copy = static_cast<Record*>(malloc(sizeof(Record)));
    *copy = record;
    return copy;
}

TEST_F(CleanCondition, CleansTheChildOfANot) {
    xnotcond condition = {xnotcond_def, &yes.cond};

    condition.cond.clean(&condition.cond);

    EXPECT_EQ("y!", story);
}

TEST_F(CleanCondition, LetsAChildWithoutACleanOperationBe) {
    xnotcond condition = {xnotcond_def, &tidy.cond};
    auto children = childrenOf(yes, tidy, no);
    xmulticond all = {xandcond_def, children.data()};

    condition.cond.clean(&condition.cond);
    all.cond.clean(&all.cond);

    EXPECT_EQ("y!n!", story);
}

TEST_F(CleanCondition, CleansTheChildrenInOrderWhateverTheyAnswer) {
    auto children = childrenOf(no, mute, yes, five);
    xmulticond any = {xorcond_def, children.data()};

    any.cond.clean(&any.cond);

    EXPECT_EQ("n!x!y!5!", story);
}

TEST_F(CleanCondition, OverNothingDoesNothing) {
    auto none = childrenOf<>();
    xmulticond empty = {xandcond_def, none.data()};
    xmulticond missing = {xandcond_def, nullptr};

    empty.cond.clean(&empty.cond);
    missing.cond.clean(&missing.cond);
}

TEST_F(CleanCondition, WalksTheTreeDepthFirst) {
    auto inner = childrenOf(no, five);
    xmulticond either = {xorcond_def, inner.data()};
    xnotcond neither = {xnotcond_def, &yes.cond};
    std::vector<xcond*> outer = {&either.cond, &neither.cond, &last.cond, nullptr};
    xmulticond all = {xandcond_def, outer.data()};

    all.cond.clean(&all.cond);

    EXPECT_EQ("n!5!y!l!", story);
}

TEST_F(CleanCondition, OfConditionsOnTheHeapFreesThemButNotTheArray) {
    auto children = childrenOf(no, yes);
    xmulticond* const both = onHeap(xmulticond{xandcond_dyndef, children.data()});
    xnotcond* const condition = onHeap(xnotcond{xnotcond_dyndef, &both->cond});

    condition->cond.clean(&condition->cond);

    EXPECT_EQ("n!y!", story);
    EXPECT_EQ(&yes.cond, children[1]);
}

TEST_F(CleanCondition, OfAnOrOnTheHeapFreesIt) {
    auto children = childrenOf(yes);
    xmulticond* const any = onHeap(xmulticond{xorcond_dyndef, children.data()});

    any->cond.clean(&any->cond);

    EXPECT_EQ("y!", story);
}

TEST_F(CleanCondition, OfALeafOnTheHeapIsFree) {
    Leaf* const leaf = onHeap(Leaf{{checkLeaf, xdefcond_clean}, 'h', 1});
    xnotcond condition = {xnotcond_def, &leaf->cond};

    condition.cond.clean(&condition.cond);

    EXPECT_EQ("", story);
}

TEST_F(CleanCondition, DefaultTakesNull) {
    xdefcond_clean(nullptr);
}

}  // namespace
