#ifndef VERDA_SERVER_LIFECYCLE_H
#define VERDA_SERVER_LIFECYCLE_H

// The life of a request that changes a register: its states, and the one
// table of the moves between them. The journal applies a move only from the
// state that its row names; a move that matches no row is a defect, refused
// and logged, never applied.
//
//   (new) ─► received ─send─► sent ─commit─────────────► committed      200
//              │   ▲            │   ─refuse─────────────► refused        422
//              │   │            │   ─lose-reply─────────► no-reply       504
//              │   │            │   ─settle-*───────────► committed | not-committed | no-reply
//              │   │            └── become-ambiguous ───► ambiguous      202
//              │   │                                        │ ─settle-*───► committed |
//              │   │                                        │               not-committed |
//              no-reply │   │                                        │ ─by-hand-*──► committed |
//              not-committed │   └─────────────── run-again ──────────────┘ │ ─refuse────► refused
//              422          (refused before anything was sent) │ ─expire────► not-sent 503      ─┐
//              └ ─abandon───► not-committed 503 ─┴─ repeat ─► received
//                                                 (not-committed, by any move, too)
//
// (The row of each move, with its HTTP status and the shape of its answer,
// is the table kMoves in Lifecycle.cpp.)
//
// - "received" is written (the request inserted) before anything else; a
//   request in it has reached no register.
// - "sent" is written with the witness (the register's identity and the
//   counters that a fiscal step moves) before the first command that changes
//   the register; its answer is cleared, so that a request run again never
//   keeps the answer of its earlier run.
// - A request whose link fails once it may have fiscalised a document
//   becomes ambiguous (202). It is settled from the register (settle-*),
//   only from the register it was sent to and only with its own document
//   read back from the electronic journal; a request that the register
//   cannot settle (another register at the address, another document past
//   the witness) stays ambiguous until a person settles it (by-hand-*).
// - A request that did not take effect (not-sent, not-committed) runs again
//   when its client repeats it with the same key; any other repeat gets the
//   recorded answer and never touches the register.
// - While a register has a request in sent or ambiguous, it takes no new
//   change (Settlement.h).

#include <string>

namespace server {

enum class State { Received, Sent, Committed, Refused, Ambiguous, NotCommitted, NotSent, NoReply };

enum class Event {
    Send,                // the witness is written; commands follow
    Commit,              // the register did it
    Refuse,              // the register refused; an open document was cancelled
    LoseReply,           // a request that cannot fiscalise lost its link
    BecomeAmbiguous,     // a request that may have fiscalised lost its link, or
                         // its settlement cannot decide
    Expire,              // the register stayed offline until the deadline
    Abandon,             // nothing was sent, and its run has ended (a restart,
                         // a journal error)
    SettleCommitted,     // the register shows the request's own document
    SettleNotCommitted,  // the register shows that it did not take effect
    SettleNoReply,       // a request that cannot fiscalise, interrupted
    RunAgain,            // settled as not taken effect, run again at once
    Repeat,              // the client repeats a request that did not take effect
    ByHandCommitted,     // a person settles an ambiguous request
    ByHandNotCommitted,
};

// What the answer recorded with a move looks like.
enum class Shape {
    None,     // no answer: the request is under way
    Answer,   // the register's answer, {"state": "committed", ...}
    Error,    // {"error": {...}, "state": ...}
    Pending,  // {"state": "ambiguous", "key", "operation"}
};

struct Move {
    State from;
    Event event;
    State to;
    int status;  // of the recorded answer; 0 with no answer
    Shape shape;
    const char* step;  // the step written to the journal
};

// The table's row of this state and event; null when there is none.
const Move* findMove(State from, Event event);
// Every row, for the journal's checks and the tests.
const Move* moves(size_t& count);

// The state's name in the journal and in answers: "received", "not-sent", ...
const char* stateName(State state);
const char* eventName(Event event);
// False for a name that is no state.
bool stateFromName(const std::string& name, State& state);
// Whether nothing more will happen to a request in this state.
bool isFinal(State state);
// Whether the register may have done something that is not yet known.
bool inFlight(State state);

constexpr int kStateCount = static_cast<int>(State::NoReply) + 1;
constexpr int kEventCount = static_cast<int>(Event::ByHandNotCommitted) + 1;

}  // namespace server

#endif
