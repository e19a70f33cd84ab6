// Our own code alone, over a platform that costs next to nothing (see BarePlatform.cpp).

#include "bench/Ratios.h"

int main(int argc, char** argv) {
  return ratios::run(argc, argv);
}
