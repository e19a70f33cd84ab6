// The configuration file beside general libraries for such files, over file calls that cost next to
// nothing of our own (see BareFiles.cpp).

#include "bench/Ratios.h"

int main(int argc, char** argv) {
  return ratios::run(argc, argv);
}
