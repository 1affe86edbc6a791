#include "Lifecycle.h"

namespace server {

namespace {

using S = State;
using E = Event;

// Every allowed move; see the diagram in Lifecycle.h.
const Move kMoves[] = {
    {S::Received, E::Send, S::Sent, 0, Shape::None, "sent"},
    {S::Received, E::Expire, S::NotSent, 503, Shape::Error, "not-sent"},
    {S::Received, E::Refuse, S::Refused, 422, Shape::Error, "refused"},
    {S::Received, E::Abandon, S::NotCommitted, 503, Shape::Error, "settled"},
    {S::Sent, E::Commit, S::Committed, 200, Shape::Answer, "committed"},
    {S::Sent, E::Refuse, S::Refused, 422, Shape::Error, "refused"},
    {S::Sent, E::LoseReply, S::NoReply, 504, Shape::Error, "no-reply"},
    {S::Sent, E::BecomeAmbiguous, S::Ambiguous, 202, Shape::Pending, "ambiguous"},
    {S::Sent, E::SettleCommitted, S::Committed, 200, Shape::Answer, "settled"},
    {S::Sent, E::SettleNotCommitted, S::NotCommitted, 503, Shape::Error, "settled"},
    {S::Sent, E::SettleNoReply, S::NoReply, 504, Shape::Error, "settled"},
    {S::Ambiguous, E::SettleCommitted, S::Committed, 200, Shape::Answer, "settled"},
    {S::Ambiguous, E::SettleNotCommitted, S::NotCommitted, 503, Shape::Error, "settled"},
    {S::Ambiguous, E::SettleNoReply, S::NoReply, 504, Shape::Error, "settled"},
    {S::Ambiguous, E::RunAgain, S::Received, 0, Shape::None, "settled"},
    {S::Ambiguous, E::ByHandCommitted, S::Committed, 200, Shape::Answer, "settled-by-hand"},
    {S::Ambiguous, E::ByHandNotCommitted, S::NotCommitted, 503, Shape::Error, "settled-by-hand"},
    {S::NotSent, E::Repeat, S::Received, 0, Shape::None, "received"},
    {S::NotCommitted, E::Repeat, S::Received, 0, Shape::None, "received"},
};

const char* const kStateNames[kStateCount] = {"received", "sent",      "committed",
                                              "refused",  "ambiguous", "not-committed",
                                              "not-sent", "no-reply"};

const char* const kEventNames[kEventCount] = {"send",
                                              "commit",
                                              "refuse",
                                              "lose-reply",
                                              "become-ambiguous",
                                              "expire",
                                              "abandon",
                                              "settle-committed",
                                              "settle-not-committed",
                                              "settle-no-reply",
                                              "run-again",
                                              "repeat",
                                              "by-hand-committed",
                                              "by-hand-not-committed"};

}  // namespace

const Move* findMove(State from, Event event) {
    for (const Move& move : kMoves)
        if (move.from == from && move.event == event) return &move;
    return nullptr;
}

const Move* moves(size_t& count) {
    count = sizeof kMoves / sizeof kMoves[0];
    return kMoves;
}

const char* stateName(State state) {
    return kStateNames[static_cast<int>(state)];
}

const char* eventName(Event event) {
    return kEventNames[static_cast<int>(event)];
}

bool stateFromName(const std::string& name, State& state) {
    for (int i = 0; i < kStateCount; ++i)
        if (name == kStateNames[i]) {
            state = static_cast<State>(i);
            return true;
        }
    return false;
}

bool isFinal(State state) {
    return state == S::Committed || state == S::Refused || state == S::NotCommitted ||
           state == S::NotSent || state == S::NoReply;
}

bool inFlight(State state) {
    return state == S::Sent || state == S::Ambiguous;
}

}  // namespace server
