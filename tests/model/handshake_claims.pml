/* --- claims ---------------------------------------------------------------------------------- */

/* A handler has come to the signal, or has given up ahead of it, and the service waits all the
 * same: with no signal pending, because one that is pending ends the wait. */
#define LOST ((stopTried || handlerGaveUp) && waiting)

/* What docs/oddities.md lists must be found: each of these is to be violated. */
ltl stop_before_the_run { [] !(LOST && hitNothing && foundNoRun) }
ltl stop_before_the_stop_event { [] !(LOST && hitNothing && polls) }
ltl stop_in_the_tries { [] !(LOST && takenByATry) }
ltl stop_whose_report_is_refused { [] !(LOST && handlerGaveUp && !stopTried) }
ltl stop_whose_signal_is_refused { [] !(LOST && signalRefused && !delivered && !hitNothing &&
                                        !handlerGaveUp) }
/* Found only with a second stop: the first was lost, and this one ends the service all the same. */
ltl stop_after_a_lost_one { [] !(endedByStop && (hitNothing || handlerGaveUp)) }
ltl stop_pending_after_stopped { [] !(pendingAfterStopped && !mixedRecord) }
ltl stopped_tried_twice { [] !(stoppedTries == 2) }
ltl stopped_told_twice { [] !(toldTwice && !stoppedRefused) }
ltl stopped_never_told { [] !(processEnded && told == STOP_PENDING && !pendingAfterStopped &&
                              !stoppedRefused) }
ltl signal_to_a_closed_event { [] !closedEventUsed }
ltl question_to_a_dead_object { [] !deadObjectUsed }

/* Nothing else may be: this is to hold. */
#define LOST_AS_LISTED (!LOST || hitNothing || takenByATry || handlerGaveUp || signalRefused)
#define TAKEN_WITH_A_METHOD_OPEN (!LOST || !takenByATry || (!method2Done && arranged && !tpmOpen))
#define GIVEN_UP_BY_REFUSAL_ALONE (!handlerGaveUp || refusalsLeft == 0)
#define TRIED_TWICE_BY_REFUSAL_ALONE (stoppedTries < 2 || (stoppedTries == 2 && stoppedRefused))
#define TOLD_TWICE_BY_MIXING_ALONE (!toldTwice || mixedRecord)
#define NOT_STOPPED_AS_LISTED \
  (!processEnded || told == STOPPED || mixedRecord || pendingAfterStopped || stoppedRefused)
#define NONE_AHEAD_OF_RUNNING (!tooEarly)
#define USED_AFTER_THE_END_ALONE \
  ((!deadObjectUsed || !alive) && (!closedEventUsed || stopEvent == CLOSED))
#define NOTHING_ELSE \
  (LOST_AS_LISTED && TAKEN_WITH_A_METHOD_OPEN && GIVEN_UP_BY_REFUSAL_ALONE && \
   TRIED_TWICE_BY_REFUSAL_ALONE && TOLD_TWICE_BY_MIXING_ALONE && NOT_STOPPED_AS_LISTED && \
   NONE_AHEAD_OF_RUNNING && USED_AFTER_THE_END_ALONE)
#ifdef WATCHED
/* Found in the search for somebody who is left waiting: one search for both. */
active proctype Watch() {
end_watch:
  atomic { !NOTHING_ELSE -> assert(false) }
}
#else
ltl nothing_else { [] NOTHING_ELSE }
#endif

/* A stop that reached the event and was not taken by a try ends the service; and the dispatcher
 * always comes back once the service has ended. These two need a search that is fair. */
ltl delivered_stop_ends { [] (delivered -> <> (serviceEnded || takenByATry)) }
ltl dispatcher_comes_back { [] (serviceEnded -> <> processEnded) }
