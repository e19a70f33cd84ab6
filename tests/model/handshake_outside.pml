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
