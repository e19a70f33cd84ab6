#include "standins/recertification/Ending.h"

int endWith(int failed) {
  return failed;
}
