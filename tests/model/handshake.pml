/*
 * The control handshake: how the service manager's stop gets to the run of the service, and what of
 * it the manager is told. Five parties: the thread of the dispatcher with the control handler, the
 * service's own thread, whoever asks for a stop, the platform with its TPM event, and time.
 *
 * Two models are made of this text. As it stands every step that another thread can see is a step
 * of its own, each failure may come, and waits may run out at any time: all orders are searched.
 * With REPLAY defined the turn passes at the platform calls only, at those that CALL marks, the
 * failures are drawn ahead of the run, and each end prints the calls of the run in their order;
 * HandshakeReplayTest.cpp makes the machine go the same way.
 *
 * A name in capitals is a constant; what stands under "seen" serves the claims alone.
 */

#define NEVER_TOLD 0
#define STOPPED 1
#define START_PENDING 2
#define STOP_PENDING 3
#define RUNNING 4

/* The handle of the stop event. */
#define NO_EVENT 0
#define OPEN 1
#define CLOSED 2

/* What a wait of the loop came to. */
#define BY_STOP 0
#define BY_TPM 1
#define BY_TIME 2

/* Of the ten tries two show all: a first, and one after it. */
#define TRIES 2

/* The bounds of the replay: how often a thread that could go on is made to wait for another, and
 * after how many turns of the handler's loop the handler is held until the loop ends. */
#ifndef PREEMPTIONS
#define PREEMPTIONS 2
#endif
#define TURNS_OF_LOOP 1

/* --- what the threads share ------------------------------------------------------------------ */

byte record;          /* the one status record; both threads fill it in place, with no lock */
byte told;            /* the state that the manager was told last */
byte queued;          /* stops that were accepted and not handed over yet */
bool instance;        /* the published pointer */
bool alive;           /* the object behind it */
bool running;         /* the run has begun and not ended */
byte stopEvent;
bool stopSet;
bool tpmThere;        /* the platform has published its event */
bool tpmSet;
bool tpmOpen;         /* the service holds it */
bool waiting;         /* the service is in the wait of its loop */
byte wokenBy;
bool serviceEnded;
bool processEnded;

/* The lock of the running flag, first come first served: a lock that let a newcomer overtake would
 * let the polling handler starve the service, which the platform's mutex does not. */
bit nextTicket;
bit nowServing;

/* The goals. */
bool method2Done;
bool arranged;

/* --- what happens from outside, or goes wrong ------------------------------------------------ */

byte stopsLeft;
byte refusalsLeft;    /* reports that the manager refuses */
byte failuresLeft;    /* connection errors of method 2, for the replay */
byte publishing;      /* 0: never, 1: from the start, 2: some time later; for the replay */
bool initFails;
bool createFails;
bool loadFails;

/* --- seen ------------------------------------------------------------------------------------ */

bool stopTried;       /* a handler has come to signalling the event */
bool hitNothing;      /* ... when there was none */
bool delivered;       /* ... and it was there */
bool takenByATry;
bool hasBegun;        /* the run has begun, whether or not it has ended */
bool foundNoRun;      /* a handler returned because the run had not begun */
bool polls;           /* a handler has seen the run and goes on asking */
bool handlerGaveUp;   /* a handler's report was refused ahead of the signal */
bool mixedRecord;     /* a report told another state than its caller filled in */
bool toldTwice;       /* STOPPED after STOPPED */
bool pendingAfterStopped;
byte stoppedTries;    /* reports of STOPPED that the service's thread began */
bool stoppedRefused;
bool closedEventUsed;
bool deadObjectUsed;
bool tooEarly;        /* a handler ran before RUNNING was told */

/* --- the turn -------------------------------------------------------------------------------- */

#define DISPATCHER 1
#define SERVICE 2
#define MANAGER 3
#define PLATFORM 4

#ifdef REPLAY

#define REPORT 1
#define LOCK 2
#define CREATE 3
#define CHECK 4
#define WAIT 5
#define WOKE 6
#define UNLOAD 7
#define CLOSE 8
#define SET 9
#define STOP 10
#define PUBLISH 11
#define SIGNAL 12
#define LOOK_FOR_EVENT 13

#define MOST_STEPS 120
byte steps[MOST_STEPS];   /* thread, call and outcome, one after the other */
byte length;
byte turn;
bool woken;               /* the service's wait is over and it has not had its turn yet */
bool idle = true;         /* the dispatcher waits for a control */
byte last;                /* who made the last call */
bool atCall[5];
byte preemptions;
bool timeIsUp;            /* the service's wait ran out, which is seen at once */

/* A thread that was woken runs on to its next call before anybody else moves. */
#define EVERYBODY_ELSE_AT_A_CALL (turn == 0 && !woken && !(idle && (queued > 0 || serviceEnded)))
#define PASS(who) turn = (turn == who -> 0 : turn)
/* Whether the thread that called last could have gone on: another that goes on instead is a
 * pre-emption, and there are so many in a run. */
#define COSTS(who) (last != who && atCall[last] && !timeIsUp)
#define MAKES(condition, who, what) \
  atomic { EVERYBODY_ELSE_AT_A_CALL && (who == SERVICE || !timeIsUp) && (condition) && \
           (!COSTS(who) || preemptions < PREEMPTIONS) -> \
           if :: COSTS(who) -> preemptions++ :: else fi; \
           turn = who; last = who; atCall[who] = false; \
           steps[length] = who; steps[length + 1] = what; steps[length + 2] = 0; \
           length = length + 3; assert(length < MOST_STEPS) }
/* Comes to a call, and makes it when the condition holds too. */
#define CALL_WHEN(condition, who, what) \
  atomic { PASS(who); atCall[who] = (condition) }; MAKES(condition, who, what)
#define CALL(who, what) CALL_WHEN(true, who, what)
#define WAKE(by) waiting = false; wokenBy = by; woken = true
#define OUTCOME(value) steps[length - 1] = value
/* A call at which the turn does not pass. */
#define SAY(who, what, value) \
  d_step { steps[length] = who; steps[length + 1] = what; steps[length + 2] = value; \
           length = length + 3; assert(length < MOST_STEPS) }

#else

#define CALL(who, what) skip
#define MAKES(condition, who, what) condition
#define CALL_WHEN(condition, who, what) skip
#define WAKE(by) waiting = false; wokenBy = by
#define OUTCOME(value) skip
#define SAY(who, what, value) skip
#define PASS(who) skip

#endif

/* --- calls ----------------------------------------------------------------------------------- */

/* Leaves `refused` set if the manager did not take the report. */
inline report(who, state) {
  record = state;
  CALL(who, REPORT);
  atomic {
    if
#ifdef REPLAY
    :: refusalsLeft > 0 && who == SERVICE && state == STOPPED -> refusalsLeft--; refused = true
    :: else -> refused = false
#else
    :: refusalsLeft > 0 -> refusalsLeft--; refused = true
    :: refused = false
#endif
    fi;
    if
    :: refused -> OUTCOME(0); stoppedRefused = stoppedRefused || state == STOPPED
    :: else ->
       OUTCOME(record);
       mixedRecord = mixedRecord || record != state;
       toldTwice = toldTwice || (told == STOPPED && record == STOPPED);
       pendingAfterStopped = pendingAfterStopped || (told == STOPPED && record == STOP_PENDING);
       told = record
    fi
  }
}

inline lock(who, condition) {
  CALL_WHEN(condition, who, LOCK);
  atomic { ticket = nextTicket; nextTicket = 1 - nextTicket };
  nowServing == ticket
}

inline unlock() {
  d_step { nowServing = 1 - nowServing; ticket = 0 }
}

/* --- the dispatcher's thread ----------------------------------------------------------------- */

inline handleStop() {
  tooEarly = tooEarly || told == NEVER_TOLD || told == START_PENDING;
  report(DISPATCHER, STOP_PENDING);
  if
  :: refused -> handlerGaveUp = true; goto handled
  :: else
  fi;
  if
  :: !instance -> goto handled
  :: else
  fi;
  CALL(DISPATCHER, SET);
  d_step {
    stopTried = true;
    if
    :: stopEvent == OPEN ->
       OUTCOME(1);
       delivered = true;
       /* Whoever waits is released by the signal itself, not when it gets to run. */
       if
       :: waiting -> WAKE(BY_STOP)
       :: else -> stopSet = true
       fi
    :: stopEvent == NO_EVENT -> OUTCOME(0); hitNothing = true
    :: stopEvent == CLOSED -> OUTCOME(0); closedEventUsed = true
    fi
  };
  do
  :: if
     :: !instance -> break
     :: else
     fi;
     lock(DISPATCHER, turnsOfLoop < TURNS_OF_LOOP || !running || !alive);
     deadObjectUsed = deadObjectUsed || !alive;
     runs = running;
     deadObjectUsed = deadObjectUsed || !alive;
     unlock();
     if
     :: !runs -> foundNoRun = foundNoRun || !hasBegun; break
     :: else
     fi;
     polls = true;
     report(DISPATCHER, STOP_PENDING);
     if
     :: refused -> break
     :: else
     fi;
#ifdef REPLAY
     turnsOfLoop++
#endif
  od;
handled:
  polls = false
}

proctype Dispatcher() {
  bit ticket;
  byte turnsOfLoop;
  bool refused, runs;
  do
  :: atomic {
       PASS(DISPATCHER);
#ifdef REPLAY
       idle = true;
       turn == 0 && (queued > 0 || serviceEnded) -> turn = DISPATCHER; idle = false
#else
       queued > 0 || serviceEnded
#endif
     };
     if
     :: serviceEnded -> break
     :: else -> queued--
     fi;
     turnsOfLoop = 0;
     handleStop()
  od;
  atomic { processEnded = true; PASS(DISPATCHER) }
}

/* --- the service's thread -------------------------------------------------------------------- */

inline beginRun() {
  lock(SERVICE, true);
  running = true;
  hasBegun = true;
  unlock();
  CALL(SERVICE, CREATE);
  if
  :: createFails ->
     OUTCOME(0);
     lock(SERVICE, true);
     running = false;
     unlock();
     goto over
  :: else ->
     stopEvent = OPEN;
     OUTCOME(1)
  fi;
  /* The exception leaves the flag set. */
  if
  :: loadFails -> goto thrown
  :: else
  fi
}

inline openTpmEvent() {
  tpmOpen = tpmThere;
  SAY(SERVICE, LOOK_FOR_EVENT, tpmOpen)
}

inline lookForTpmEvent() {
  openTpmEvent();
  tries = TRIES;
  do
  :: tpmOpen || tries == 0 -> break
  :: else ->
     tries--;
     CALL(SERVICE, CHECK);
     if
     :: atomic { stopSet -> stopSet = false; OUTCOME(1); takenByATry = true }; break
     :: else -> OUTCOME(0)
     fi;
     openTpmEvent()
  od;
  tries = 0;
  if
  :: tpmOpen
  :: else -> arranged = true
  fi
}

/* Method 1 counts as done at once: while it is open the loop only waits, as it does later. */
inline tryMethods() {
  if
  :: !arranged && !tpmOpen -> lookForTpmEvent()
  :: else
  fi;
  if
#ifdef REPLAY
  :: failuresLeft > 0 -> failuresLeft--
  :: else -> method2Done = true
#else
  :: method2Done = true
  :: true
#endif
  fi
}

#define ALL_GOALS (method2Done && arranged)

/* The wait of the loop: of two events that are set, the stop comes first. */
inline waitForEvents() {
  CALL(SERVICE, WAIT);
  atomic {
    if
    :: stopSet -> stopSet = false; wokenBy = BY_STOP
    :: !stopSet && tpmOpen && tpmSet -> tpmSet = false; wokenBy = BY_TPM
    :: else -> waiting = true; PASS(SERVICE)
    fi
  };
#ifdef REPLAY
  if
  :: waiting || woken -> atomic { turn == 0 && woken -> woken = false; turn = SERVICE }
  :: else
  fi;
#else
  !waiting;
#endif
  CALL(SERVICE, WOKE);
#ifdef REPLAY
  timeIsUp = false;
#endif
  OUTCOME(wokenBy)
}

proctype Service() {
  bit ticket;
  byte tries;
  bool refused;

  report(SERVICE, START_PENDING);
  if
  :: refused -> goto thrown
  :: else
  fi;
  alive = true;
  instance = true;
  if
  :: initFails -> goto over
  :: else
  fi;
  report(SERVICE, RUNNING);
  if
  :: refused -> goto thrown
  :: else
  fi;
  beginRun();
  do
  :: tryMethods();
     if
     :: ALL_GOALS -> break
     :: else
     fi;
     waitForEvents();
     if
     :: wokenBy == BY_STOP -> break
     :: wokenBy == BY_TPM ->
        wokenBy = BY_STOP;
#ifdef REPLAY
        arranged = true
#else
        /* The program may fail to start, and the event is waited for again. */
        if
        :: arranged = true
        :: true
        fi
#endif
     :: else -> wokenBy = BY_STOP
     fi;
     if
     :: ALL_GOALS -> break
     :: else
     fi
  od;
  running = false;
  CALL(SERVICE, UNLOAD);

over:
  stoppedTries++;
  report(SERVICE, STOPPED);
  if
  :: refused -> goto thrown
  :: else
  fi;
  instance = false;
  CALL(SERVICE, CLOSE);
  stopEvent = CLOSED;
  alive = false;
  goto ended;

thrown:
  instance = false;
  if
  :: alive ->
     CALL(SERVICE, CLOSE);
     if
     :: stopEvent == OPEN -> stopEvent = CLOSED
     :: else
     fi;
     alive = false
  :: else
  fi;
  stoppedTries++;
  report(SERVICE, STOPPED);

ended:
  atomic { serviceEnded = true; PASS(SERVICE) }
}

/* --- from outside ---------------------------------------------------------------------------- */

/* A control is taken only while RUNNING is what was told last. */
proctype Manager() {
  do
  :: MAKES(stopsLeft > 0 && !serviceEnded, MANAGER, STOP) ->
     atomic {
       stopsLeft--;
       if
       :: told == RUNNING -> queued++; OUTCOME(1)
       :: told != RUNNING -> OUTCOME(0)
       fi;
       PASS(MANAGER)
     }
  :: break
  od
}

inline signalTpmEvent() {
  d_step {
    if
    :: waiting && tpmOpen -> WAKE(BY_TPM)
    :: else -> tpmSet = true
    fi
  }
}

proctype Platform() {
#ifdef REPLAY
  if
  :: publishing == 2 ->
     CALL(PLATFORM, PUBLISH);
     tpmThere = true
  :: else
  fi;
  if
  :: publishing > 0 -> CALL(PLATFORM, SIGNAL); signalTpmEvent()
  :: else
  fi;
  PASS(PLATFORM)
#else
  do
  /* Whatever comes after the goal stands is seen by nobody. */
  :: !tpmThere && !arranged && !serviceEnded -> tpmThere = true
  :: tpmThere && !tpmSet && !arranged && !serviceEnded -> signalTpmEvent()
  :: break
  od
#endif
}

/* The wait runs out. In the replay only when something is to be tried again then. */
proctype Time() {
end_time:
  do
#ifdef REPLAY
  :: atomic { turn == 0 && !woken && waiting && !method2Done -> timeIsUp = true; WAKE(BY_TIME) }
#else
  :: atomic { waiting -> WAKE(BY_TIME) }
#endif
  :: processEnded -> break
  od
}

/* --- the runs -------------------------------------------------------------------------------- */

#ifdef REPLAY

c_code {
  static const char* const kThreads[] = {"", "dispatcher", "service", "manager", "platform"};

  static const char* callText(int call, int outcome) {
    static char text[32];
    static const char* const kStates[] = {"refused", "STOPPED", "START_PENDING", "STOP_PENDING",
                                          "RUNNING"};
    static const char* const kWokenBy[] = {"stop", "tpm", "time"};
    switch (call) {
      case REPORT: snprintf(text, sizeof(text), "report %s", kStates[outcome]); return text;
      case LOCK: return "lock";
      case CREATE: return outcome ? "create" : "create refused";
      case CHECK: return outcome ? "check stop" : "check nothing";
      case WAIT: return "wait";
      case WOKE: snprintf(text, sizeof(text), "woke %s", kWokenBy[outcome]); return text;
      case UNLOAD: return "unload";
      case CLOSE: return "close";
      case SET: return outcome ? "set" : "set refused";
      case STOP: return outcome ? "stop accepted" : "stop refused";
      case PUBLISH: return "publish";
      case SIGNAL: return "signal";
      case LOOK_FOR_EVENT: return outcome ? "open" : "open refused";
    }
    return "?";
  }

  /* One line a run: what was drawn, what of it cannot be replayed, and the calls. */
  static void printTrace(void) {
    int i;
    printf("RUN publishing=%d failures=%d init=%d create=%d load=%d refusals=%d dead=%d:",
           now.drawnPublishing, now.drawnFailures, !now.initFails, !now.createFails,
           !now.loadFails, now.drawnRefusals, now.deadObjectUsed);
    for (i = 0; i < now.length; i += 3) {
      printf(" %s %s;", kThreads[now.steps[i]], callText(now.steps[i + 1], now.steps[i + 2]));
    }
    printf("\n");
  }
};

byte drawnPublishing, drawnFailures, drawnRefusals;

#endif

/* What can go wrong ahead of the wait goes wrong alone. */
inline drawFailures() {
  if
  :: initFails = true
  :: createFails = true
  :: loadFails = true
  :: true
  fi
}

init {
  atomic {
    drawFailures();
#ifdef REPLAY
    if
    :: initFails || createFails || loadFails -> publishing = 0; stopsLeft = 1
    :: else ->
       if
       :: publishing = 0; failuresLeft = 0; stopsLeft = 1
       :: publishing = 0; failuresLeft = 1; stopsLeft = 1
       :: publishing = 1; failuresLeft = 0; stopsLeft = 1
       :: publishing = 1; failuresLeft = 1; stopsLeft = 1
       :: publishing = 2; failuresLeft = 0; stopsLeft = 1
       :: publishing = 1; failuresLeft = 0; refusalsLeft = 1
       fi
    fi;
    tpmThere = (publishing == 1);
    drawnPublishing = publishing;
    drawnFailures = failuresLeft;
    drawnRefusals = refusalsLeft;
#else
    stopsLeft = 1;
    refusalsLeft = 1;
#endif
    run Dispatcher();
    run Service();
    run Manager();
    run Platform();
    run Time()
  };
#ifdef REPLAY
  atomic { _nr_pr == 1 -> c_code { printTrace(); } }
#endif
}

#ifndef REPLAY

/* --- claims ---------------------------------------------------------------------------------- */

/* A handler has come to the signal, or has given up ahead of it, and the service waits all the
 * same: with no signal pending, because one that is pending ends the wait. */
#define LOST ((stopTried || handlerGaveUp) && waiting)

/* What docs/oddities.md lists must be found: each of these is to be violated. */
ltl stop_before_the_run { [] !(LOST && hitNothing && foundNoRun) }
ltl stop_before_the_stop_event { [] !(LOST && hitNothing && polls) }
ltl stop_in_the_tries { [] !(LOST && takenByATry) }
ltl stop_whose_report_is_refused { [] !(LOST && handlerGaveUp && !stopTried) }
ltl stop_pending_after_stopped { [] !(pendingAfterStopped && !mixedRecord) }
ltl stopped_tried_twice { [] !(stoppedTries == 2) }
ltl stopped_told_twice { [] !toldTwice }
ltl stopped_never_told { [] !(processEnded && told == STOP_PENDING && !pendingAfterStopped) }
ltl signal_to_a_closed_event { [] !closedEventUsed }
ltl question_to_a_dead_object { [] !deadObjectUsed }

/* Nothing else may be: this is to hold. */
#define LOST_AS_LISTED (!LOST || hitNothing || takenByATry || handlerGaveUp)
#define TAKEN_WITH_A_METHOD_OPEN (!LOST || !takenByATry || (!method2Done && arranged && !tpmOpen))
#define GIVEN_UP_BY_REFUSAL_ALONE (!handlerGaveUp || refusalsLeft == 0)
#define TRIED_TWICE_BY_REFUSAL_ALONE (stoppedTries < 2 || (stoppedTries == 2 && stoppedRefused))
#define TOLD_TWICE_BY_MIXING_ALONE (!toldTwice || mixedRecord)
#define NOT_STOPPED_AS_LISTED \
  (!processEnded || told == STOPPED || mixedRecord || pendingAfterStopped || stoppedRefused)
#define NONE_AHEAD_OF_RUNNING (!tooEarly)
#define USED_AFTER_THE_END_ALONE \
  ((!deadObjectUsed || !alive) && (!closedEventUsed || stopEvent == CLOSED))
ltl nothing_else { [] (LOST_AS_LISTED && TAKEN_WITH_A_METHOD_OPEN && GIVEN_UP_BY_REFUSAL_ALONE &&
                       TRIED_TWICE_BY_REFUSAL_ALONE && TOLD_TWICE_BY_MIXING_ALONE &&
                       NOT_STOPPED_AS_LISTED && NONE_AHEAD_OF_RUNNING && USED_AFTER_THE_END_ALONE) }

/* A stop that reached the event and was not taken by a try ends the service; and the dispatcher
 * always comes back once the service has ended. These two need a search that is fair. */
ltl delivered_stop_ends { [] (delivered -> <> (serviceEnded || takenByATry)) }
ltl dispatcher_comes_back { [] (serviceEnded -> <> processEnded) }

#endif
