/* --- what the replay prints ------------------------------------------------------------------ */

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
    printf("RUN publishing=%d failures=%d init=%d create=%d load=%d refusals=%d signals=%d dead=%d:",
           now.drawnPublishing, now.drawnFailures, !now.initFails, !now.createFails,
           !now.loadFails, now.drawnRefusals, now.drawnSignalRefusals, now.deadObjectUsed);
    for (i = 0; i < now.length; i += 3) {
      printf(" %s %s;", kThreads[now.steps[i]], callText(now.steps[i + 1], now.steps[i + 2]));
    }
    printf("\n");
  }
};

byte drawnPublishing, drawnFailures, drawnRefusals, drawnSignalRefusals;
