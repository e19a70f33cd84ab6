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
 * How many stops may come is given when a program is made of it: STOPS.
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

#ifndef STOPS
#define STOPS 1
#endif

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
byte signalRefusalsLeft; /* signals of the stop event that the platform refuses */
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
bool endedByStop;     /* the wait of the loop has seen a stop */
bool hasBegun;        /* the run has begun, whether or not it has ended */
bool foundNoRun;      /* a handler returned because the run had not begun */
bool polls;           /* a handler has seen the run and goes on asking */
bool handlerGaveUp;   /* a handler's report was refused ahead of the signal */
bool signalRefused;   /* the event was there, and the platform refused to signal it */
bool mixedRecord;     /* a report told another state than its caller filled in */
bool toldTwice;       /* STOPPED after STOPPED */
bool pendingAfterStopped;
byte stoppedTries;    /* reports of STOPPED that the service's thread began */
bool stoppedRefused;
bool closedEventUsed;
bool deadObjectUsed;
bool tooEarly;        /* a handler ran before RUNNING was told */

#include "handshake_turns.pml"

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
  atomic {
    stopTried = true;
    if
    :: stopEvent == OPEN && signalRefusalsLeft > 0 ->
       signalRefusalsLeft--;
       signalRefused = true;
       OUTCOME(0)
#ifdef REPLAY
    :: stopEvent == OPEN && signalRefusalsLeft == 0 ->
#else
    :: stopEvent == OPEN ->
#endif
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
     :: wokenBy == BY_STOP -> endedByStop = true; break
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

#include "handshake_outside.pml"

/* --- the runs -------------------------------------------------------------------------------- */

#ifdef REPLAY
#include "handshake_printing.pml"
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
       /* With a second stop there are many more orders, so one pre-emption has to do. */
       :: publishing = 0; failuresLeft = 1; stopsLeft = 2; preemptions = 1
       :: publishing = 1; failuresLeft = 1; stopsLeft = 1; signalRefusalsLeft = 1
       fi
    fi;
    tpmThere = (publishing == 1);
    drawnPublishing = publishing;
    drawnFailures = failuresLeft;
    drawnRefusals = refusalsLeft;
    drawnSignalRefusals = signalRefusalsLeft;
#else
    stopsLeft = STOPS;
    refusalsLeft = 1;
    signalRefusalsLeft = 1;
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
#include "handshake_claims.pml"
#endif
