// The stand-in for the recertification program: notes in its own folder that it was started.

#include <stdio.h>

#include "standins/recertification/Ending.h"
#include "standins/recertification/OpenLog.h"

int main(int argc, char** argv) {
  FILE* const log = openBesideProgram(argc > 0 ? argv[0] : "", "recertification.log");
  if (log == NULL) return 1;
  const int written = fputs("started\n", log);
  const int closed = fclose(log);
  return endWith(written < 0 || closed != 0);
}
