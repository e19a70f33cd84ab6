/* --- the turn: at which steps it passes ------------------------------------------------------ */

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

#define MOST_STEPS 180
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
