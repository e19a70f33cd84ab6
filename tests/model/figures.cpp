// Searches the model of the control handshake through all its orders and writes how many states it
// has into the row that a page has for them: model_figures FILE

#include <cstdlib>
#include <exception>
#include <iostream>
#include <string>

#include "tests/model/ModelProgram.h"
#include "tools/runner/FigureTable.h"

int main(int argc, char** argv) {
  if (argc != 2) {
    std::cerr << "Usage: model_figures FILE\n";
    return EXIT_FAILURE;
  }
  try {
    const handshake::Search found = handshake::search(HANDSHAKE_TWO_STOPS, "-m1000000 ");
    std::cout << found.states << " states, " << found.errors << " errors\n";
    const std::string wrong = runner::writeFigures(
        argv[1], {{"states of the model", runner::inThrees(found.states)}}, "./dev proof");
    if (!wrong.empty()) {
      std::cerr << "model_figures: " << wrong << '\n';
    }
    return wrong.empty() && found.complete && found.errors == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
  } catch (const std::exception& error) {
    std::cerr << "model_figures: " << error.what() << '\n';
    return EXIT_FAILURE;
  }
}
