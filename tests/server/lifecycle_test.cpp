// The request lifecycle in-process, on a journal in memory: every row of
// the table of moves is walked, every move that is not in it is refused and
// leaves nothing behind, and a move from a state the request has left is
// refused too.
#include <gtest/gtest.h>

#include <deque>
#include <map>
#include <vector>

#include "server/Lifecycle.h"
#include "server/RequestJournal.h"

namespace server {
namespace {

std::vector<Move> table() {
    size_t count = 0;
    const Move* all = moves(count);
    return std::vector<Move>(all, all + count);
}

// An answer of the shape that a row asks for.
json answerOf(Shape shape, State to, const std::string& key) {
    switch (shape) {
        case Shape::None:
            return nullptr;
        case Shape::Answer:
            return {{"state", stateName(to)}, {"document", 7}};
        case Shape::Error:
            return {{"error", {{"code", 1}, {"text", "t"}, {"field", nullptr}}},
                    {"state", stateName(to)}};
        case Shape::Pending:
            return {{"state", stateName(to)}, {"key", key}};
    }
    return nullptr;
}

class Lifecycle : public ::testing::Test {
  protected:
    void SetUp() override {
        std::string error;
        ASSERT_TRUE(journal.open(":memory:", error)) << error;
    }

    // A new request, moved along the shortest path of rows into state.
    std::string requestIn(State state) {
        const std::string key = "k" + std::to_string(++made);
        Request r;
        r.key = key;
        r.device = "d";
        r.method = "POST";
        r.route = "/devices/d/receipts";
        r.kind = "receipt";
        r.hash = "h";
        r.body = json::object();
        bool inserted = false;
        journal.begin(r, inserted);
        EXPECT_TRUE(inserted);
        for (const Move& m : pathTo(state))
            EXPECT_TRUE(journal.move(key, m.from, m.event, nullptr, answerOf(m.shape, m.to, key)))
                << stateName(m.from) << " " << eventName(m.event);
        EXPECT_EQ(journal.get(key, false)->state, state);
        return key;
    }

    std::vector<Move> pathTo(State state) {
        std::map<State, std::vector<Move>> paths = {{State::Received, {}}};
        std::deque<State> next = {State::Received};
        while (!next.empty()) {
            const State at = next.front();
            next.pop_front();
            for (const Move& m : table()) {
                if (m.from != at || paths.count(m.to) != 0) continue;
                paths[m.to] = paths[at];
                paths[m.to].push_back(m);
                next.push_back(m.to);
            }
        }
        EXPECT_EQ(paths.count(state), 1u) << stateName(state) << " cannot be reached";
        return paths[state];
    }

    RequestJournal journal;
    int made = 0;
};

TEST_F(Lifecycle, EveryStateIsReachedAndEveryRowMovesAsItSays) {
    for (int s = 0; s < kStateCount; ++s) pathTo(static_cast<State>(s));
    for (const Move& m : table()) {
        SCOPED_TRACE(std::string(stateName(m.from)) + " --" + eventName(m.event) + "--> " +
                     stateName(m.to));
        const std::string key = requestIn(m.from);
        const json answer = answerOf(m.shape, m.to, key);
        const json witness = {{"fiscal_document", 41}};
        const auto commits = journal.commits();
        ASSERT_TRUE(journal.move(key, m.from, m.event, {{"why", "test"}}, answer, witness));
        EXPECT_EQ(journal.commits(), commits + 1);  // one synchronous write a move
        const Request r = *journal.get(key);
        EXPECT_EQ(r.state, m.to);
        EXPECT_EQ(r.status, m.status);
        // A row without an answer clears the one of an earlier run.
        EXPECT_EQ(r.answer, answer);
        EXPECT_EQ(r.steps.back().step, m.step);
        EXPECT_EQ(r.steps.back().detail, (json{{"why", "test"}}));
        EXPECT_EQ(r.witness, m.event == Event::Send ? witness : json());
    }
}

TEST_F(Lifecycle, EveryMoveOutsideTheTableIsRefusedAndLeavesNothing) {
    int refused = 0;
    for (int s = 0; s < kStateCount; ++s)
        for (int e = 0; e < kEventCount; ++e) {
            const State from = static_cast<State>(s);
            const Event event = static_cast<Event>(e);
            if (findMove(from, event) != nullptr) continue;
            SCOPED_TRACE(std::string(stateName(from)) + " --" + eventName(event));
            const std::string key = requestIn(from);
            const Request before = *journal.get(key);
            const auto commits = journal.commits();
            for (int shape = 0; shape <= static_cast<int>(Shape::Pending); ++shape)
                for (int to = 0; to < kStateCount; ++to)
                    EXPECT_FALSE(journal.move(
                        key, from, event, nullptr,
                        answerOf(static_cast<Shape>(shape), static_cast<State>(to), key)));
            const Request after = *journal.get(key);
            EXPECT_EQ(after.state, before.state);
            EXPECT_EQ(after.answer, before.answer);
            EXPECT_EQ(after.steps.size(), before.steps.size());
            EXPECT_EQ(journal.commits(), commits);
            ++refused;
        }
    EXPECT_GT(refused, kStateCount * kEventCount / 2);
}

TEST_F(Lifecycle, AMoveFromAStateTheRequestHasLeftIsRefused) {
    for (const Move& m : table()) {
        SCOPED_TRACE(std::string(stateName(m.from)) + " --" + eventName(m.event));
        // The request is elsewhere: in each state that is not the row's.
        for (int s = 0; s < kStateCount; ++s) {
            const State now = static_cast<State>(s);
            if (now == m.from) continue;
            const std::string key = requestIn(now);
            const auto steps = journal.get(key)->steps.size();
            EXPECT_FALSE(journal.move(key, m.from, m.event, nullptr, answerOf(m.shape, m.to, key)));
            EXPECT_EQ(journal.get(key)->state, now);
            EXPECT_EQ(journal.get(key)->steps.size(), steps);
        }
    }
}

TEST_F(Lifecycle, AnAnswerOfAnotherShapeIsRefused) {
    for (const Move& m : table())
        for (int shape = 0; shape <= static_cast<int>(Shape::Pending); ++shape) {
            if (static_cast<Shape>(shape) == m.shape) continue;
            const std::string key = requestIn(m.from);
            EXPECT_FALSE(journal.move(key, m.from, m.event, nullptr,
                                      answerOf(static_cast<Shape>(shape), m.to, key)))
                << stateName(m.from) << " " << eventName(m.event) << " shape " << shape;
            EXPECT_EQ(journal.get(key)->state, m.from);
        }
}

TEST(LifecycleNames, StatesReadBackFromTheirNames) {
    for (int s = 0; s < kStateCount; ++s) {
        State back = State::Received;
        ASSERT_TRUE(stateFromName(stateName(static_cast<State>(s)), back));
        EXPECT_EQ(back, static_cast<State>(s));
    }
    State unknown;
    EXPECT_FALSE(stateFromName("done", unknown));
}

}  // namespace
}  // namespace server
