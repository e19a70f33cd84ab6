#include "tests/model/Replay.h"

#include <cstdio>
#include <stdexcept>

namespace handshake {

ModelRun parseRun(const std::string& line) {
  ModelRun run;
  int init = 0;
  int create = 0;
  int load = 0;
  int dead = 0;
  int headLength = 0;
  const int read = std::sscanf(
      line.c_str(),
      "RUN publishing=%d failures=%d init=%d create=%d load=%d refusals=%d signals=%d dead=%d:%n",
      &run.publishing, &run.failures, &init, &create, &load, &run.refusals, &run.signalRefusals,
      &dead, &headLength);
  if (read != 8 || headLength == 0) throw std::runtime_error("no run of the model: " + line);
  run.initWorks = init != 0;
  run.createWorks = create != 0;
  run.loadWorks = load != 0;
  run.usesTheDead = dead != 0;
  std::string_view rest = std::string_view(line).substr(static_cast<std::size_t>(headLength));
  for (std::size_t end = 0; (end = rest.find(';')) != std::string_view::npos;) {
    const std::string_view step = rest.substr(1, end - 1);
    const std::size_t blank = step.find(' ');
    run.steps.push_back({std::string(step.substr(0, blank)), std::string(step.substr(blank + 1))});
    rest.remove_prefix(end + 1);
  }
  if (run.steps.empty()) throw std::runtime_error("a run without steps: " + line);
  return run;
}

std::string textOf(const std::vector<Step>& steps) {
  std::string text;
  for (const Step& step : steps) text += step.thread + " " + step.call + "; ";
  return text;
}

}  // namespace handshake
