#include "tools/mutate/ProcessTree.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

namespace {

namespace fs = std::filesystem;

struct Status {
  char state = 'X';  // what is gone by now
  pid_t parent = 0;
  unsigned long long ticks = 0;
};

// The system's line about a process or a thread. A name in brackets, which may hold anything,
// stands ahead of the fields.
Status statusIn(const fs::path& folder) {
  std::ifstream file(folder / "stat");
  std::string line;
  std::getline(file, line);
  Status status;
  const std::size_t name = line.rfind(')');
  if (name == std::string::npos) return status;
  std::istringstream fields(line.substr(name + 1));
  fields >> status.state >> status.parent;
  constexpr int kFieldsBetween = 9;
  std::string skipped;
  for (int i = 0; i < kFieldsBetween; ++i) fields >> skipped;
  unsigned long long own = 0;
  unsigned long long system = 0;
  fields >> own >> system;
  status.ticks = own + system;
  return status;
}

// The folders that are named by numbers.
template <class Visit>
void eachNumber(const fs::path& folder, Visit visit) {
  std::error_code gone;
  for (fs::directory_iterator i(folder, gone), end; !gone && i != end; i.increment(gone)) {
    const std::string name = i->path().filename().string();
    if (name.find_first_not_of("0123456789") == std::string::npos) visit(std::stoi(name));
  }
}

}  // namespace

ProcessTree::ProcessTree(pid_t root) : root_(root) {
  std::multimap<pid_t, pid_t> children;
  eachNumber("/proc", [&](pid_t process) {
    children.emplace(statusIn(fs::path("/proc") / std::to_string(process)).parent, process);
  });
  std::vector<pid_t> known = {root};
  for (std::size_t i = 0; i < known.size(); ++i) {
    const auto [first, last] = children.equal_range(known[i]);
    for (auto child = first; child != last; ++child) known.push_back(child->second);
  }
  below_.assign(known.begin() + 1, known.end());
}

ProcessTree::Activity ProcessTree::activity() const {
  Activity activity;
  const auto look = [&](pid_t process) {
    const fs::path tasks = fs::path("/proc") / std::to_string(process) / "task";
    eachNumber(tasks, [&](pid_t thread) {
      const Status status = statusIn(tasks / std::to_string(thread));
      activity.isRunning = activity.isRunning || status.state == 'R' || status.state == 'D';
      activity.ticks += status.ticks;
    });
  };
  look(root_);
  for (const pid_t process : below_) look(process);
  return activity;
}
